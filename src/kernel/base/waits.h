#pragma once

#include <cstdint>

#include "platform/clock.h"
#include "platform/message_pump.h"

namespace kestrane {

/// The only wait of the driver: in pieces of 100 ms with one pump after each piece while 101 ms or more remain. Waits
/// of 100 ms or less never pump, which keeps an exchange with the mount in one piece; cached reads of clients run in
/// all of them.
class Waits {
public:
    Waits(Clock& clock, MessagePump& pump) : clock_(clock), pump_(pump) {}

    /// Values of 0 and below return at once.
    void WaitForMilliseconds(std::int32_t milliseconds);
    /// The same for the short pauses of a procedure that waits for the mount: pumps nothing, but a stop gets in at
    /// once.
    void PauseForStops(std::int32_t milliseconds);
    /// Pumps messages once. What another call raises goes to the pump's fault handler and never to the caller.
    void PumpOnce();
    /// The same for a call that has to answer soon: starts nothing any more once one call has talked to the mount.
    /// Inside such a pump it does nothing: what waits is run by the outer one.
    void PumpBriefly();
    /// Pumps messages once for a call that waits for a person: see `MessagePump`.
    void PumpForPerson();
    /// Lets stops and cached reads in, and nothing else. For use between two exchanges of one procedure.
    void PumpStops();
    /// Runs the prompt ticks that are due, and nothing else: see `MessagePump`.
    void PumpPromptTicks();
    Tick GetTickCount() const { return clock_.GetTickCount(); }
    /// Whether a stop has run that was asked for after the call that is running: see `MessagePump`.
    bool OvertakenByStop() const { return pump_.OvertakenByStop(); }

private:
    Clock& clock_;
    MessagePump& pump_;
    bool inBriefPump_ = false;
};

}  // namespace kestrane
