#include "telescope/motion/slew_wait.h"

namespace kestrane {
namespace {

constexpr std::int32_t kWaitBeforeSupervisionMs = 1000;
constexpr std::int32_t kSlewRoundMs = 20;

}  // namespace

bool SlewWait::Aborted() const {
    return needs_.state.g_bAbortSlew || needs_.state.g_nAborts != aborts_;
}

bool SlewWait::Replaced(std::uint32_t slew, std::string_view who) const {
    if (needs_.state.g_nSlewsBegun == slew) {
        return false;
    }
    needs_.log.LogMessage(who, LogLevel::Warning, "This slew gives way to one that was asked for later");
    return true;
}

void SlewWait::ForEnd() {
    const Tick start = needs_.clock.GetTickCount();
    while (needs_.clock.GetTickCount() - start < kWaitBeforeSupervisionMs && !Aborted()) {
        needs_.waits.PumpOnce();
        needs_.clock.Sleep(1);
    }
    if (Aborted()) {
        return;
    }
    needs_.motion.SupervisionBegins();
    if (needs_.state.g_bGosActive) {
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
    if (needs_.state.g_bInPoll) {
        needs_.poll.UpdateMountInfo();  // the timer cannot fire inside a poll step
    }
    needs_.waits.PumpOnce();
    needs_.door.Pause(kSlewRoundMs);
}

}  // namespace kestrane
