#include "long_runs/slew_world.h"

#include "simulator/protocol_text.h"
#include "support/seed_settings.h"

namespace kestrane {
namespace {

constexpr std::int64_t kPatienceMs = 300'000;
constexpr std::int32_t kLookMs = 5'000;
constexpr std::int64_t kClientPauseMs = 230;  // the member itself takes 20 ms

}  // namespace

SlewWorld::SlewWorld(const MountSimulatorOptions& options, const Settings& settings) : mount(machine.clock, options) {
    machine.ConnectMount(1, mount);
    SeedSettings(machine, {{"chkEnableDebugLog", "0"},
                           {"DisableSafeSlew", settings.safeSlew ? "0" : "1"},
                           {"chkAutoCalibrateOnFirstSlew", settings.calibrates ? "1" : "0"}});
    driver = Main(machine.Services(), true);
    telescope = driver->CreateTelescope();
    telescope->Connected(true);
    if (!telescope->Tracking()) {
        telescope->Tracking(true);
    }
    machine.AdvanceTime(5'000);
    mount.WatchAxes([this](double hourAxis, double) { watch.See(hourAxis); });
    patience_ = machine.pump.CreateTimer([this] { StopWhatNeverEnds(); });
    patience_->SetInterval(kLookMs);
    patience_->SetEnabled(true);
}

SlewWorld::~SlewWorld() {
    mount.WatchAxes({});
    patience_.reset();
    telescope = {};
    driver.reset();
}

void SlewWorld::StopWhatNeverEnds() {
    if (machine.clock.Elapsed() - slewBegan_ > kPatienceMs && driver->state.g_bSlewing) {
        wasStuck = true;
        telescope->AbortSlew();
    }
}

void SlewWorld::BeginSlew(bool isShort) {
    slewBegan_ = machine.clock.Elapsed();
    commandsBefore_ = mount.Commands().size();
    watch.Begin(mount.Picture().hourAxis, isShort);
}

bool SlewWorld::WaitForEnd() {
    const std::int64_t patienceEnds = machine.clock.Elapsed() + kPatienceMs;
    while (telescope->Slewing()) {
        if (machine.clock.Elapsed() > patienceEnds) {
            return false;
        }
        machine.AdvanceTime(kClientPauseMs);
    }
    return !wasStuck;
}

std::vector<double> SlewWorld::GotosSoFar() const {
    std::vector<double> gotos;
    double told = -1;
    const std::vector<std::string>& commands = mount.Commands();
    for (std::size_t i = commandsBefore_; i < commands.size(); ++i) {
        if (commands[i].starts_with("Sr")) {
            told = simulator::ParseHours(std::string_view(commands[i]).substr(2)).value_or(-1);
        } else if (commands[i] == "MS") {
            gotos.push_back(told);
        }
    }
    return gotos;
}

std::string SlewWorld::UnexpectedSwallows() const {
    std::string text;
    for (const SwallowedError& error : driver->ledger.Entries()) {
        // A refused goto, of either leg.
        if (error.procedure != "SafeSlew" && error.procedure != "CheckSlewing") {
            text += std::string(error.procedure) + ": " + std::string(error.message) + "\n";
        }
    }
    return text;
}

}  // namespace kestrane
