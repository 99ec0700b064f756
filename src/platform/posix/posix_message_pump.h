#pragma once

#include <functional>
#include <memory>
#include <utility>

#include "platform/posix/posix_pump_time.h"
#include "platform/pump_engine.h"

namespace kestrane {

/// The pump of the real programs: the pump engine on the steady clock. `Post` and `Quit` may be called from any thread,
/// everything else only from the thread that calls `Run`.
class PosixMessagePump final : public MessagePump {
public:
    using FaultHandler = PumpEngine::FaultHandler;

    explicit PosixMessagePump(FaultHandler onFault) : engine_(time_, std::move(onFault)) {}

    void Post(CallKind kind, std::function<void()> call) override { engine_.Post(kind, std::move(call)); }
    void PumpMessages() override { engine_.PumpMessages(); }
    void PumpBriefly(std::int32_t milliseconds) override { engine_.PumpBriefly(milliseconds); }
    void PumpForPerson() override { engine_.PumpForPerson(); }
    void PumpStops() override { engine_.PumpStops(); }
    void PumpPromptTicks() override { engine_.PumpPromptTicks(); }
    /// Runs the cached reads that wait: for what the logic thread waits in.
    void PumpReads() { engine_.PumpReads(); }
    bool OvertakenByStop() const override { return engine_.OvertakenByStop(); }
    std::unique_ptr<PumpTimer> CreateTimer(std::function<void()> onTick) override {
        return engine_.CreateTimer(std::move(onTick));
    }
    std::unique_ptr<PumpTimer> CreatePromptTimer(std::function<void()> onTick) override {
        return engine_.CreatePromptTimer(std::move(onTick));
    }

    /// The outermost loop, until `Quit`: see `PumpEngine`.
    void Run() { engine_.Run(); }
    void Quit() { engine_.Quit(); }

private:
    PosixPumpTime time_;
    PumpEngine engine_;
};

}  // namespace kestrane
