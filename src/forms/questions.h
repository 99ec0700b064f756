#pragma once

#include <cstdint>
#include <functional>
#include <optional>

namespace kestrane {

/// What becomes of a question that nobody can be asked, since no view shows windows.
enum class Unasked { IsCancelled, IsAccepted };

enum class SwappedAxes { EastWest, NorthSouth };

/// A place to park at, as a person is asked whether to keep it.
struct ParkPlace {
    double altitude = 0;  ///< degrees
    double azimuth = 0;   ///< degrees
    bool counterweightUp = false;
    bool eastSide = false;
    double hourAngle = 0;    ///< hours, -12 to 12
    double declination = 0;  ///< degrees
};

/// What the driver asks a person before it does something. Each question shows its window and pumps until it is
/// answered; the poll and other calls go on meanwhile, also those that wait long. Whoever asks from a call that a
/// client waits for holds that client, and the calls in whose pump the question opens are held too: so a button asks
/// from a long call of its own. A long call that runs under the question in turn holds whoever asked. A question whose
/// window is open already counts as cancelled, with a warning in the log. Logic thread only.
class Questions {
public:
    virtual ~Questions() = default;

    /// Whether to unpark, and from which position, an index of `cbxUnparkFrom` from 0 to 6. Nothing: do not.
    /// `proposed` is selected at first, without one the position of the settings, and what is selected is the answer of
    /// a question that `IsAccepted`.
    virtual std::optional<std::int16_t> AskUnpark(std::optional<std::int16_t> proposed, Unasked unasked) = 0;
    /// The same for the button, from the position of the settings. `accepted` is called as soon as the person accepts
    /// one, as that of `AskPark`.
    virtual void AskUnpark(std::function<void(std::int16_t index)> accepted) = 0;
    /// Whether a view could show that question to somebody.
    virtual bool CanAskUnpark() const = 0;
    /// The same question for a caller that does not wait: shows the window and returns. `answered` is called once, with
    /// the position that a person accepted, or with nothing. Without a view it is called at once, with a warning in the
    /// log.
    virtual void OfferUnpark(std::int16_t proposed,
                             std::function<void(std::optional<std::int16_t> index)> answered) = 0;
    /// Whether an offer still waits for its answer. A window that a person has closed waits for none.
    virtual bool OfferIsOpen() const = 0;
    /// Takes such an offer back, which counts as cancelled; nothing without one.
    virtual void WithdrawUnpark() = 0;
    /// Whether to park, and where. `accepted` is called as soon as the person accepts a position, an index of
    /// `cbxParkTo` from 0 to 6, whose text is then kept in the settings: a stop before that moment does not mean this
    /// park, and one after it does. Not called otherwise.
    virtual void AskPark(std::function<void(std::int16_t index)> accepted) = 0;
    /// Whether the mount is to swap its directions.
    virtual bool AskSwap(SwappedAxes axes) = 0;
    /// Asks whether to stop the slew, or the park; shows the window and returns. OK stops the mount at once: a stop
    /// must not wait for the calls that run while a question pumps. Without a view nothing is stopped, with a warning
    /// in the log.
    virtual void AskAbort(bool parking) = 0;
    /// Whether to keep the place as the user's own.
    virtual bool AskSetPark(const ParkPlace& place) = 0;
    /// Whether to end the process although clients are connected.
    virtual bool AskCloseDriver() = 0;
    /// Says that a parked mount does not move.
    virtual void WarnParked() = 0;
};

}  // namespace kestrane
