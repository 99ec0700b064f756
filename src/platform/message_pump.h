#pragma once

#include <cstdint>
#include <functional>
#include <memory>

namespace kestrane {

/// How long a call on the logic thread may run; this decides where it may start.
enum class CallKind {
    /// Ends soon by itself; may start inside any pump.
    Brief,
    /// Pumps while it waits (a synchronous slew, a connect). Starts from the outermost loop or inside the pump of
    /// another long call, never inside the pump of a brief one: otherwise the brief call could not end until this one
    /// has.
    WaitsLong,
    /// What a person does at a window; it may ask a question. Starts where a long call starts, so that no brief call of
    /// a client waits below a person. From there on it is a brief one, but while it waits for the person.
    Press,
    /// Stops motion, and is brief. Goes ahead of all calls that wait, and starts in every pump, also in `PumpStops`,
    /// and however deep calls are nested.
    Stop,
    /// Reads what the driver knows already and writes log lines, nothing else: no exchange with the mount, no pump, no
    /// setting. Starts wherever stops get in, and also while the logic thread waits for a reply: an exchange with the
    /// mount stays whole.
    Read,
    /// As `Stop`, but of one motion: calls that it goes ahead of are not overtaken by it. Whoever posts it looks after
    /// those that would undo it.
    StopsOne,
};

/// A repeating timer of the pump. Fires in a pump when its time is due; a timer that was due several times while nobody
/// pumped fires once. It keeps its rhythm as long as no tick was missed, and starts again after one was. After a tick
/// that took longer than the interval, the next one is due a whole interval after its end, so that slow ticks leave
/// room for calls. A tick that pumps may be entered by the next tick of its own timer. An interval of 0 never fires.
/// Destroying the timer ends it, also from its own callback.
class PumpTimer {
public:
    virtual ~PumpTimer() = default;

    /// Milliseconds from 0 up. Changing it while enabled begins a new interval.
    virtual void SetInterval(std::int32_t milliseconds) = 0;
    /// Enabling an enabled timer changes nothing; enabling a disabled one begins a new interval.
    virtual void SetEnabled(bool enabled) = 0;
};

/// The only door into the logic thread. Calls from other threads, timers and window events are run one at a time by
/// whoever pumps: stops first, the rest in the order in which they became due. Running a call may pump again: that is
/// how an abort gets in during a slew. An exception that escapes a call or a tick goes to a fault handler of the pump
/// and never to whoever pumps.
class MessagePump {
public:
    /// Brief calls and ticks nested deeper than this wait for their turn. Stops and reads never do.
    static constexpr int kMaxNesting = 64;
    /// The same for calls that wait long: a crowd of them must leave room for the ticks that end them.
    static constexpr int kMaxLongNesting = 16;

    virtual ~MessagePump() = default;

    /// Queues a call. The only member that other threads may use.
    virtual void Post(CallKind kind, std::function<void()> call) = 0;

    /// Runs what is due now and was queued before this pump began, once each, as far as the nesting rules let it start;
    /// then returns. What arrives during the pump waits for the next one, so that a pump always ends; but stops and
    /// reads are let in before each of its calls.
    virtual void PumpMessages() = 0;
    /// The same, but starts no further call once `milliseconds` have passed: for a caller that has to answer soon. A
    /// caller that was due more than 150 ms before lets in stops and reads only: it has waited for others already, and
    /// what waits was queued after it.
    virtual void PumpBriefly(std::int32_t milliseconds) = 0;
    /// As `PumpMessages`, for a call that waits for a person, who may never answer. It and the calls below it count as
    /// calls that wait long, whatever their kind: those of clients may start, as far as their own limit lets them.
    virtual void PumpForPerson() = 0;

    /// Runs the stops and reads that were queued before, and nothing else. For use between two steps of a procedure
    /// that only a stop may enter.
    virtual void PumpStops() = 0;

    /// Runs the ticks of prompt timers that are due, and nothing else, not even stops.
    virtual void PumpPromptTicks() = 0;

    /// Whether a stop has run that was queued after the call which is running now. Motion that this call has not
    /// started yet must not start: whoever stopped the mount meant it too. False outside any call.
    virtual bool OvertakenByStop() const = 0;

    /// Makes a disabled timer that calls `onTick` on the logic thread; its tick counts as a brief call.
    virtual std::unique_ptr<PumpTimer> CreateTimer(std::function<void()> onTick) = 0;
    /// The same for what must happen at its time: the tick goes ahead of all calls but stops, and starts wherever a
    /// stop may start, however deep calls are nested. It is brief, counts as `CallKind::StopsOne`, and must send
    /// nothing that the mount answers.
    virtual std::unique_ptr<PumpTimer> CreatePromptTimer(std::function<void()> onTick) = 0;
};

}  // namespace kestrane
