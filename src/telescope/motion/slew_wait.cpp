#include "telescope/motion/slew_wait.h"

namespace kestrane {
namespace {

constexpr std::int32_t kWaitBeforeSupervisionMs = 1000;
constexpr std::int32_t kSlewRoundMs = 20;

}  // namespace

bool SlewWait::Aborted() const {
    return driver_.state.g_bAbortSlew || driver_.state.g_nAborts != aborts_;
}

bool SlewWait::Replaced(std::uint32_t slew, std::string_view who) const {
    if (driver_.state.g_nSlewsBegun == slew) {
        return false;
    }
    driver_.log.LogMessage(who, LogLevel::Warning, "This slew gives way to one that was asked for later");
    return true;
}

void SlewWait::ForEnd() {
    const Tick start = driver_.clock.GetTickCount();
    while (driver_.clock.GetTickCount() - start < kWaitBeforeSupervisionMs && !Aborted()) {
        driver_.waits.PumpOnce();
        driver_.clock.Sleep(1);
    }
    if (Aborted()) {
        return;
    }
    needs_.motion.SupervisionBegins();
    if (driver_.state.g_bGosActive) {
        needs_.queries.QueryGos();
    }
    WhileSlewing();
}

void SlewWait::WhileSlewing() {
    while (!Aborted() && needs_.poll.CheckSlewing() && !Aborted()) {
        PumpRound();
    }
}

void SlewWait::PumpRound() {
    if (driver_.state.g_bInPoll) {
        needs_.poll.UpdateMountInfo();  // the timer cannot fire inside a poll step
    }
    driver_.waits.PumpOnce();
    needs_.door.Pause(kSlewRoundMs);
}

}  // namespace kestrane
