#pragma once

#include <array>
#include <memory>
#include <string>
#include <string_view>

#include "behaviour/night_plan.h"
#include "kernel/driver.h"
#include "simulator/mount_simulator.h"
#include "support/virtual_platform.h"

namespace kestrane {

/// One night of a whole driver on virtual time, written down line by line: what went over the wire in both directions,
/// each line of the log, each answer of the driver to its three clients, each with its millisecond.
class Night {
public:
    explicit Night(std::uint32_t seed);
    ~Night();

    /// The record, after the whole night.
    std::string Run();

private:
    class TapedLine;

    void Start();
    void Note(char mark, std::string_view text);
    void PlanCalls();
    void PlanFaults();
    void Call(const PlannedCall& planned);
    std::string Answer(const PlannedCall& planned);
    void Press(const PlannedPress& press);
    void Strike(const PlannedFault& fault);
    void OnExchange(std::size_t exchange);
    void StopWhatStillMoves();
    std::string Flags() const;

    NightPlan plan_;
    std::string record_;
    VirtualPlatform machine_;
    MountSimulator mount_;
    std::unique_ptr<Driver> driver_;
    std::array<TelescopeObject, 3> clients_;
    std::unique_ptr<PumpTimer> patience_;
};

}  // namespace kestrane
