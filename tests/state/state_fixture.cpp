#include "state/state_fixture.h"

#include <algorithm>

#include "kernel/base/conversions.h"

namespace kestrane {

void ScriptedCommands::CommandClearInternal() {
    sent.emplace_back("<clear>");
    state_.g_bResync = false;
}

int ScriptedCommands::Times(std::string_view command) const {
    return static_cast<int>(std::ranges::count(sent, command));
}

std::string ScriptedCommands::Answer(std::string_view command) {
    sent.emplace_back(command);
    std::deque<std::string>& next = inTurn[std::string(command)];
    if (!next.empty()) {
        const std::string reply = next.front();
        next.pop_front();
        return reply;
    }
    return replies[std::string(command)];
}

void RecordingTelescope::ParseGOS(std::string_view status) {
    calls.push_back("ParseGOS " + std::string(status));
    state_.g_bGosActive = status.size() >= 11;
    if (state_.g_bGosActive) {
        motion_.MountReportsSlewing(status[3] == 'S');
    }
}

void RecordingTelescope::StartSecondLeg(double rightAscension, double declination) {
    calls.push_back("StartSecondLeg " + FormatUs(rightAscension, "0.00") + " " + FormatUs(declination, "0.00"));
    if (duringSecondLeg) {
        duringSecondLeg();
    }
    if (secondLegFails) {
        motion_.SlewRefused();
        throw DriverError(ErrorNumber::SlewFailed);
    }
}

SiteAnswer RecordingTelescope::ReadSiteLatitude() {
    calls.emplace_back("ReadSiteLatitude");
    if (latitudeSilent) {
        return SiteAnswer::Silent;
    }
    state_.g_dSiteLatitude = 47.0;
    return SiteAnswer::Read;
}

int RecordingTelescope::Times(std::string_view call) const {
    return static_cast<int>(
        std::ranges::count_if(calls, [&](const std::string& made) { return made.starts_with(call); }));
}

void RecordingPanel::SetParkStatus(std::string_view text, std::string_view origin) {
    calls.push_back("SetParkStatus " + std::string(text) + " " + std::string(origin));
}

void RecordingPanel::ShowTrackingRate(std::int16_t rate, RateCorrection correction) {
    calls.push_back("ShowTrackingRate " + std::to_string(rate) +
                    (correction == RateCorrection::On ? " corrected" : ""));
}

void RecordingPanel::SlewFlashDisplay() {
    calls.emplace_back("SlewFlashDisplay");
    if (slewFlashFails) {
        throw DriverError(ErrorNumber::SlewFailed);
    }
}

StateFixture::StateFixture(Tick firstTick) : machine(firstTick) {
    state.g_bDebugLog = true;
    log.SetListener([this](std::string_view origin, int level, std::string_view message) {
        logged.push_back(std::string(origin) + "|" + std::to_string(level) + "|" + std::string(message));
    });
    handBox.EnsureLoaded();
    handBox.tmrQueryRaDecAltAz.OnTick([this] { poll.OnTimer(); });
    handBox.tmrQueryRaDecAltAz.Interval(150);
    queries.ResetQueryTimes();
    state.g_nScopeObjects = 2;
    state.g_sVersion = "VKC4-P02-08";
}

int StateFixture::Times(std::string_view line) const {
    return static_cast<int>(std::ranges::count(logged, line));
}

bool StateFixture::LoggedPart(std::string_view part) const {
    return std::ranges::any_of(logged, [&](const std::string& line) { return line.find(part) != std::string::npos; });
}

}  // namespace kestrane
