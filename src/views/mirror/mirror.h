#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "forms/held_buttons.h"
#include "forms/windows.h"
#include "platform/clock.h"
#include "platform/message_pump.h"

namespace kestrane::mirror {

class MirrorView;

/// Carries whole messages to a view, in their order. Its members are called on the logic thread.
class Transport {
public:
    virtual ~Transport() = default;
    virtual void Send(std::string message) = 0;
    /// Bytes that were sent and that the view has not taken yet.
    virtual std::size_t Unsent() const = 0;
    /// False as soon as the view has gone.
    virtual bool IsOpen() const = 0;
    virtual void Close() = 0;
};

/// What a view may do besides being shown everything.
enum class May { All, OnlyStop };

/// Whether the driver goes on for a view when its last client has gone.
enum class Keeps { Driver, Nothing };

/// Why the driver ends.
enum class EndReason { Person, Clients, Stopped };

struct MirrorNeeds {
    MessagePump& pump;
    Clock& clock;
    Windows& windows;
    HeldButtons& heldButtons;
    std::function<void()> stopAll;                           ///< posts a call that stops all that moves
    std::function<void(std::int32_t message)> passOnToIcon;  ///< what a person does with the icon of the hand box
    std::function<void(const ScreenArea& tray, const ScreenArea& screen)> noteTray;  ///< where a view has its tray
    std::string version;                                                             ///< of the driver
    std::string process;  ///< another text in each run of the driver
};

/// Mirrors all windows of the driver to any number of views, and performs what the persons at them do; the protocol is
/// told in docs/mirror.md. It knows no transport. Logic thread only.
///
/// `Open`, `Received` and `Tick` send nothing to the mount and change no window: they are made for calls of the kind
/// Read, which get in while the driver waits for the mount. What a view reports is posted from there, as a call of the
/// kind that it needs. `Closed` is a stop, since the view may hold a button.
class Mirror {
public:
    static constexpr std::int32_t kBatchMs = 50;    ///< between two messages of changes
    static constexpr std::int32_t kBeatMs = 250;    ///< between two beats
    static constexpr std::int32_t kFreshMs = 1000;  ///< how old the beat may be that a report quotes
    static constexpr std::size_t kMostUnsent = std::size_t{256} * 1024;
    static constexpr std::int32_t kLongestJamMs = 30'000;  ///< a view that takes nothing for so long is closed
    static constexpr int kMostBadReports = 100;
    static constexpr std::size_t kLinesAtOnce = 500;

    explicit Mirror(MirrorNeeds needs);
    ~Mirror();
    Mirror(const Mirror&) = delete;
    Mirror& operator=(const Mirror&) = delete;

    using ViewId = std::uint64_t;
    /// A new view; it gets its welcome and a snapshot.
    ViewId Open(std::shared_ptr<Transport> transport, May may, Keeps keeps = Keeps::Driver);
    /// A message of the view; one that is not there any more is nobody's.
    void Received(ViewId id, std::string_view message);
    /// The view has gone: what it holds is released.
    void Closed(ViewId id);
    /// Sends what is due. To be called each `kBatchMs` while there are views; what comes earlier does nothing.
    void Tick();
    /// Stops all that moves, as a view's stop does, and then runs `done`.
    void Stop(std::function<void()> done);
    /// Tells all views that the driver ends.
    void SayEnd(EndReason reason);

    std::size_t ViewCount() const { return views_.size(); }
    /// Whether the driver goes on for one of them.
    bool AnyKeepsDriver() const;

private:
    MirrorNeeds needs_;
    std::vector<std::shared_ptr<MirrorView>> views_;
    std::vector<std::shared_ptr<MirrorView>> closing_;  ///< their end has yet to come to its turn
    ViewId lastId_ = 0;
    std::optional<kestrane::Tick> lastTick_;
};

}  // namespace kestrane::mirror
