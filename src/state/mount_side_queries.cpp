#include "catalogue/vocabulary.h"
#include "catalogue/wire_commands.h"
#include "kernel/base/conversions.h"
#include "state/mount_queries.h"
#include "state/position_text.h"

/// Side of the pier, hour angle and counterweight.
namespace kestrane {
namespace {

/// Firmware with a version text that sorts after this one reports its side of the pier.
constexpr std::string_view kLastWithoutPierSide = "C";

double FoldHourAngle(double hours) {
    if (hours > 12.0) {
        return hours - 24.0;
    }
    return hours < -12.0 ? hours + 24.0 : hours;
}

std::int16_t SideByHourAngle(double hourAngle) {
    return hourAngle < 0.0 || hourAngle >= 12.0 ? pier_side::West : pier_side::East;
}

}  // namespace

bool MountQueries::SideIsToldByMount() const {
    return state_.g_sVersion > kLastWithoutPierSide;
}

bool MountQueries::PlanUsesLstOfMount() const {
    const bool isComputed = needs_.handBox.chkCalcLST.Checked() && !state_.g_bHasMeridianQuery;
    return lstKnown_ && !isComputed;
}

double MountQueries::PlanLst(double longitude) {
    return PlanUsesLstOfMount() ? GetLst() : LocalSiderealTime(longitude, needs_.astronomy);
}

std::int16_t MountQueries::PlanSide(double hourAngle) {
    if (!SideIsToldByMount()) {
        return PlanUsesLstOfMount() ? state_.g_nSideOfPier : SideByHourAngle(hourAngle);
    }
    if (!sideTold_) {
        QuerySideOfMount();
    }
    return sideTold_ ? state_.g_nSideOfPier : lastToldSide_.value_or(SideByHourAngle(hourAngle));
}

bool MountQueries::QuerySideOfMount() {
    if (!Begins(state_.g_tickLastSide, needs_.handBox.lblPierSide)) {
        return false;
    }
    state_.g_dHourAngle = FoldHourAngle(GetLst() - state_.g_dRa);
    // Kept only together with what follows from it: a stop may end the query while it asks.
    std::int16_t sideOfPier = SideByHourAngle(state_.g_dHourAngle);
    if (SideIsToldByMount()) {
        const std::string reply = Ask(wire::GetPierSide);
        sideTold_ = reply == pier_side::kEastText || reply == pier_side::kWestText;
        if (sideTold_) {
            sideOfPier = reply == pier_side::kEastText ? pier_side::East : pier_side::West;
            lastToldSide_ = sideOfPier;
        }
        if (reply.empty()) {
            NoteNoResponse();
            LogNoResponse("SideOfMount Query", "SideOfMount");
            state_.g_tickLastSide = driver_.clock.GetTickCount() + kSlowIntervalMs;
        } else {
            NoteAnswered();
        }
    }
    state_.g_nSideOfPier = sideOfPier;
    state_.g_bWestSide = state_.g_nSideOfPier == pier_side::West;
    const std::string_view side = state_.g_bWestSide ? pier_side::kWestText : pier_side::kEastText;
    needs_.handBox.lblPierSide.Text(side);
    UpdateCounterweightState();
    driver_.log.LogMessage("Counterweight", LogLevel::Info,
                           state_.g_bCounterweightUp ? "Counterweight UP" : "Counterweight Down");
    needs_.statusWindow.lblPierSide.Text(side);
    return true;
}

void MountQueries::UpdateHourAngle() {
    if (state_.g_bLostComms || state_.g_bLowPower) {
        return;
    }
    const double lst = GetLst();
    state_.g_dHourAngle = FoldHourAngle(lst - state_.g_dRa);
    const std::string hourAngleText = HoursText(state_.g_dHourAngle, ForcedSign::Yes);
    const std::string lstText = HoursText(lst);
    needs_.statusWindow.lblHourAngle.Text(hourAngleText);
    needs_.statusWindow.lblLST.Text(lstText);
    needs_.handBox.lblLST.Text(needs_.handBox.m_bShowHA ? hourAngleText : lstText);
    UpdateCounterweightState();
}

void MountQueries::UpdateCounterweightState() {
    const double ha = state_.g_dHourAngle;
    const bool east = state_.g_nSideOfPier == pier_side::East;
    const bool west = state_.g_nSideOfPier == pier_side::West;
    state_.g_bCounterweightUp = (east && ha > -11.999 && ha < -0.001) || (west && ha > 0.001 && ha < 11.999);
    needs_.handBox.lblCwUp.Visible(state_.g_bCounterweightUp);
}

}  // namespace kestrane
