#include "state/mount_queries.h"

#include <algorithm>
#include <limits>

#include "catalogue/vocabulary.h"
#include "catalogue/wire_commands.h"
#include "kernel/base/conversions.h"
#include "state/mount_replies.h"
#include "state/position_text.h"

namespace kestrane {
namespace {

constexpr std::int32_t kDrainLimitMs = 2000;
constexpr std::int32_t kOldestKeptMs = 600'000;  // of a reading; keeps the ticks far from their wrap

constexpr std::string_view kFirmwareThatDropsADigit = "D";
constexpr std::size_t kLongFormLength = 9;  // sDD*MM:SS

/// The first character, "0" and the last eight characters, unless the degrees begin with a digit from 0 to 3.
std::string WithDroppedDigit(const std::string& reply) {
    if (std::string_view("0123").find(reply[1]) != std::string_view::npos) {
        return reply;
    }
    return reply.substr(0, 1) + "0" + reply.substr(reply.size() - 8);
}

}  // namespace

bool MountQueries::IsDue(Tick stamp, std::int32_t interval) const {
    return (driver_.clock.GetTickCount() - interval) - stamp > 0;
}

void MountQueries::MakeDue(Tick& stamp, std::int32_t interval) const {
    stamp = driver_.clock.GetTickCount() - interval;
}

void MountQueries::ResetQueryTimes() {
    const Tick now = driver_.clock.GetTickCount();
    state_.g_tickLastRa = state_.g_tickLastDec = state_.g_tickLastAlt = state_.g_tickLastAz = now;
    for (Tick* stamp : {&state_.g_tickLastTime, &state_.g_tickLastLst, &state_.g_tickLastGos}) {
        MakeDue(*stamp, kSlowIntervalMs);
    }
    // A time that was read from the mount runs on from the moment of its reading.
    lstBase_ = lstKnown_ ? lstBase_ : state_.g_tickLastLst;
    mountTimeBase_ = mountTimeKnown_ ? mountTimeBase_ : state_.g_tickLastTime;
    MakeDue(state_.g_tickLastTimeZone, kTimeZoneIntervalMs);
    MakeDue(state_.g_tickLastSide, kSideIntervalMs);
}

std::string MountQueries::Ask(const TextCommand& question, Leftovers leftovers, SilenceIs silence) {
    Sequence mount(needs_.telescope()->Commands(), needs_.door, procedure::Picture);
    if (leftovers == Leftovers::Cleared) {
        mount.ClearIfOutOfStep();
    }
    std::string reply = mount.CommandStringInternal(question);
    if (reply.empty()) {
        NoteUnanswered(silence);
    } else {
        unanswered_ = 0;
        silences_ = silences_ == kLostAfter ? 0 : silences_;
    }
    return reply;
}

/// Computed values count as answers elsewhere, and hide no silence here. Nor do refused replies between the silences
/// hide a loss: the driver does not know the position.
void MountQueries::NoteUnanswered(SilenceIs silence) {
    silent_ = true;
    if (silence != SilenceIs::News) {
        return;
    }
    ++questions_.unanswered;
    unanswered_ = static_cast<std::int16_t>(std::min(unanswered_ + 1, int{kLostAfter}));
    if (silences_ < kLostAfter && ++silences_ == kLostAfter) {
        ++state_.g_nLinkLosses;
    }
}

bool MountQueries::MayAsk() const {
    return !state_.g_bPollSuspended && !TickIsSilent();
}

/// Stamps a query that may be asked now. False for one that may not, and where nobody is there to ask: what it would
/// show is blanked then.
bool MountQueries::Begins(Tick& stamp, Label& shown) {
    if (!MayAsk()) {
        return false;
    }
    stamp = driver_.clock.GetTickCount();
    if (!needs_.telescope()) {
        shown.Text("");
        return false;
    }
    return true;
}

void MountQueries::TickBegins() {
    inTick_ = true;
    silent_ = false;
    const Tick oldest = driver_.clock.GetTickCount() - kOldestKeptMs;
    for (std::optional<Tick>* readAt : {&readAt_.ra, &readAt_.dec, &readAt_.az}) {
        if (*readAt && oldest - **readAt > 0) {
            *readAt = oldest;
        }
    }
}

/// For what a query sends besides its question.
Sequence MountQueries::Talk(const CompletingProcedure& procedure) {
    return {needs_.telescope()->Commands(), needs_.door, procedure};
}

bool MountQueries::QueryRa() {
    if (!Begins(state_.g_tickLastRa, needs_.handBox.lblRA)) {
        return false;
    }
    const std::string reply = Ask(wire::GetRa);
    double ra = 0.0;
    if (reply.empty()) {
        NoteNoResponse();
        LogNoResponse("RA Query", "RA");
    } else if (reply.find(':') != 2) {
        ClearReceiveBuffer();
        RecoverSlippedExchange("RA Query", "RA Query possibly out of sequence... trying to recover...");
    } else if (!ParseProtocolHours(reply, ra, driver_.log)) {
        // The mount is in short format: toggle it, and let the next tick ask again. Intentional: this counts as an
        // answer.
        driver_.log.LogMessage("RA Query", LogLevel::Error,
                               "Detected corrupted or short format response... sending long format command...");
        Talk(procedure::Recovery).CommandBlindInternal(wire::ToggleFormat);
        state_.g_tickLastRa = driver_.clock.GetTickCount() - 2 * kCoordinateIntervalMs;
        return true;
    } else if (KeepRa(reply)) {
        return true;
    } else {
        RecoverSlippedExchange("RA Query", "RA value out of range - command possibly out of sequence...");
        ClearReceiveBuffer();
    }
    UpdateHourAngle();
    state_.g_tickLastRa = driver_.clock.GetTickCount();
    return false;
}

bool MountQueries::KeepRa(const std::string& reply) {
    const double ra = ProtocolHours(reply, driver_.log);
    if (ra < 0.0 || ra >= 24.0) {
        return false;
    }
    state_.g_dRa = ra;
    state_.g_bRaRead = true;
    ++reads_.ra;
    readAt_.ra = driver_.clock.GetTickCount();
    needs_.journal.AddRaDecEvent(state_.g_dRa, state_.g_dDec);
    lastRaText_ = HoursText(ra);
    needs_.statusWindow.lblRA.Text(lastRaText_);
    if (PositionLabelsShown()) {
        needs_.handBox.lblRA.Text(lastRaText_);
    }
    NoteAnswered();
    return true;
}

bool MountQueries::QueryDec() {
    if (!Begins(state_.g_tickLastDec, needs_.handBox.lblDEC)) {
        return false;
    }
    std::string reply = Ask(wire::GetDec);
    if (reply.empty()) {
        NoteNoResponse();
        LogNoResponse("Dec Query", "Dec");
        ClearReceiveBuffer();
        state_.g_tickLastDec = driver_.clock.GetTickCount();
        return false;
    }
    // This firmware drops a digit of the degrees; the form of its replies is not checked.
    const bool dropsDigit = reply.size() > kLongFormLength && state_.g_sVersion == kFirmwareThatDropsADigit;
    if (dropsDigit) {
        reply = WithDroppedDigit(reply);
    }
    const auto dec = dropsDigit ? ReadDegrees(reply, driver_.log) : ReadDecReply(reply, driver_.log);
    if (!dec && !dropsDigit) {
        LogIgnored("Dec Query");
        return false;
    }
    if (dec && KeepDec(*dec)) {
        return true;
    }
    RecoverSlippedExchange("Dec Query", "Declination out of range - command possibly out of sequence...");
    ClearReceiveBuffer();
    state_.g_tickLastDec = driver_.clock.GetTickCount();
    return false;
}

bool MountQueries::KeepDec(double dec) {
    if (dec < -90.0 || dec > 90.0) {
        return false;
    }
    state_.g_dDec = dec;
    state_.g_bDecRead = true;
    ++reads_.dec;
    readAt_.dec = driver_.clock.GetTickCount();
    needs_.journal.AddRaDecEvent(state_.g_dRa, state_.g_dDec);
    lastDecText_ = DegreesText(dec, ForcedSign::Yes);
    needs_.statusWindow.lblDEC.Text(lastDecText_);
    if (PositionLabelsShown()) {
        needs_.handBox.lblDEC.Text(lastDecText_);
    }
    NoteAnswered();
    return true;
}

bool MountQueries::MountIsAskedForAltAz() {
    return !needs_.handBox.chkCalcAzAlt.Checked() || needs_.channel.IsProved() || !state_.g_bTracking;
}

bool MountQueries::QueryAlt() {
    if (!Begins(state_.g_tickLastAlt, needs_.handBox.lblAlt)) {
        return false;
    }
    if (!MountIsAskedForAltAz()) {
        CalcAltAz();
        NoteQuerySuccess();  // intentional: a computed value counts
        return true;
    }
    const std::string reply = Ask(wire::GetAltitude);
    if (reply.empty()) {
        NoteNoResponse();
        LogNoResponse("Alt Query", "Alt");
        state_.g_tickLastAlt = driver_.clock.GetTickCount();
        return false;
    }
    const auto altitude = ReadDecReply(reply, driver_.log);
    if (!altitude) {
        LogIgnored("Alt Query");
        return false;
    }
    ShowAlt(*altitude);
    NoteAnswered();
    return true;
}

bool MountQueries::QueryAz() {
    if (!Begins(state_.g_tickLastAz, needs_.handBox.lblAz)) {
        return false;
    }
    if (!MountIsAskedForAltAz()) {
        CalcAltAz();
        NoteQuerySuccess();  // intentional: a computed value counts
        return true;
    }
    // Intentional: no clear before this query; its clear comes after a failed exchange.
    const std::string reply = Ask(wire::GetAzimuth, Leftovers::Kept);
    if (reply.empty()) {
        NoteNoResponse();
        LogNoResponse("Az Query", "Az");
        state_.g_tickLastAz = driver_.clock.GetTickCount();
        if (state_.g_bResync) {
            Talk(procedure::Recovery).CommandClearInternal();
        }
        return false;
    }
    const auto azimuth = ReadAzReply(reply, driver_.log);
    if (!azimuth) {
        LogIgnored("Az Query");
        return false;
    }
    ShowAz(*azimuth);
    readAt_.az = driver_.clock.GetTickCount();
    NoteAnswered();
    return true;
}

void MountQueries::ShowAlt(double altitude) {
    state_.g_dAlt = altitude;
    ++reads_.alt;
    lastAltText_ = DegreesText(altitude, ForcedSign::Yes);
    needs_.statusWindow.lblAlt.Text(lastAltText_);
    if (PositionLabelsShown()) {
        needs_.handBox.lblAlt.Text(lastAltText_);
    }
}

void MountQueries::ShowAz(double azimuth) {
    azimuth -= azimuth >= 360.0 ? 360.0 : 0.0;  // a computed one may be a full turn by rounding
    state_.g_dAz = azimuth;
    ++reads_.az;
    lastAzText_ = DegreesText(azimuth, ForcedSign::No);
    needs_.statusWindow.lblAz.Text(lastAzText_);
    if (PositionLabelsShown()) {
        needs_.handBox.lblAz.Text(lastAzText_);
    }
}

void MountQueries::CalcAltAz() {
    double altitude = 0.0;
    double azimuth = 0.0;
    RaDecToAltAz(state_.g_dSiteLatitude, GetLst(), state_.g_dRa, state_.g_dDec, altitude, azimuth);
    ShowAz(azimuth);
    ShowAlt(altitude);
    readAt_.az = !readAt_.ra || !readAt_.dec ? std::nullopt : *readAt_.ra - *readAt_.dec > 0 ? readAt_.dec : readAt_.ra;
}

bool MountQueries::QueryGos() {
    if (!MayAsk()) {
        return false;
    }
    state_.g_tickLastGos = driver_.clock.GetTickCount();
    if (needs_.telescope() && state_.g_bGosSupported) {
        const std::string reply = Ask(wire::Status, Leftovers::Cleared, SilenceOf(statusSilences_));
        if (reply.empty()) {
            NoteSilence(statusSilences_, state_.g_tickLastGos);
        } else {
            statusSilences_ = 0;
        }
        if (!MayBeStatusText(reply)) {
            // A coordinate or a time may have the length of a status text, and would be read as motion or stillness.
            state_.g_bGosActive = false;
            RecoverSlippedExchange("GOS Query", kIgnored);
            ClearReceiveBuffer();
            return false;
        }
        if (!reply.empty()) {
            state_.g_sStatus = reply;
            needs_.telescope()->ParseGOS(reply);
            return true;
        }
    }
    state_.g_bGosActive = false;
    return false;
}

bool MountQueries::IsAtPowerOnPosition() const {
    return state_.g_bRaRead && state_.g_bDecRead && state_.g_dRa == kPowerOnRa && state_.g_dDec == kPowerOnDec;
}

void MountQueries::CheckInitialPosition() {
    if (!IsAtPowerOnPosition()) {
        state_.g_bInitUiDone = state_.g_bUnparkConfirmOpen = false;
        if (state_.g_bRaRead && state_.g_bDecRead) {
            state_.g_bPowerOnInitDone = false;
        }
        return;
    }
    if (state_.g_bInitUiDone) {
        // Intentional: no time has to pass; the hand box is filled again on every second report.
        state_.g_bInitUiDone = state_.g_bUnparkConfirmOpen;
        return;
    }
    if (fillingHandBox_) {
        return;  // a report that came in during a wait, while the hand box is being filled
    }
    fillingHandBox_ = true;
    ResumeNext errors{driver_.ledger, "CheckInitialPosition"};
    errors.Step([&] {
        if (TelescopeActions* telescope = needs_.telescope()) {
            telescope->InitUI();
        }
    });
    fillingHandBox_ = false;
    state_.g_bInitUiDone = true;
}

void MountQueries::NoteNoResponse() {
    if (state_.g_nNoResponse < std::numeric_limits<std::int16_t>::max()) {
        ++state_.g_nNoResponse;
    }
    ++state_.g_nSilences;
    if (state_.g_nNoResponse >= kLostAfter) {
        state_.g_bLostComms = true;
        BlankPosition();
        needs_.handBox.lblLST.Text("");
    }
}

/// A query that the mount has stopped answering costs each time what all tries of an exchange cost: it is asked less
/// often.
void MountQueries::NoteSilence(std::int16_t& silences, Tick& stamp) {
    silences = static_cast<std::int16_t>(std::min(silences + 1, int{kSilentAfter}));
    if (silences == kSilentAfter) {
        stamp = driver_.clock.GetTickCount() + kSlowIntervalMs;
    }
}

void MountQueries::NoteQuerySuccess() {
    state_.g_nNoResponse = 0;
    state_.g_bLostComms = false;
    state_.g_bLowPower = false;
    ++state_.g_nAnsweredQueries;
    ++state_.g_nAnsweredQueriesTotal;
}

void MountQueries::NoteAnswered() {
    unanswered_ = silences_ = 0;
    ++questions_.answered;
    NoteQuerySuccess();
}

void MountQueries::ShowLowPower() {
    state_.g_bLostComms = true;
    state_.g_bLowPower = true;
    BlankPosition();
    constexpr std::string_view kFirstWord = "LOW";
    constexpr std::string_view kSecondWord = "POWER";
    needs_.handBox.lblRA.Text(kFirstWord);
    needs_.handBox.lblDEC.Text(kSecondWord);
    needs_.statusWindow.lblRA.Text(kFirstWord);
    needs_.statusWindow.lblDEC.Text(kSecondWord);
    needs_.statusWindow.lblAlt.Text("");
    needs_.statusWindow.lblAz.Text("");
}

void MountQueries::BlankPosition() {
    needs_.handBox.lblRA.Text("");
    needs_.handBox.lblDEC.Text("");
    needs_.handBox.lblAlt.Text("");
    needs_.handBox.lblAz.Text("");
}

void MountQueries::ClearReceiveBuffer() {
    ResumeNext errors{driver_.ledger, "ClearReceiveBuffer"};
    const Tick start = driver_.clock.GetTickCount();
    int count = 0;
    std::string byte;
    do {
        byte.clear();
        errors.Assign(byte, [&] { return needs_.receiveOne(); });
        count += byte.empty() ? 0 : 1;
        // A line that never falls silent must not hold up the driver: the same limit as the drain of the transport.
    } while (!byte.empty() && driver_.clock.GetTickCount() - start < kDrainLimitMs);
    driver_.log.LogMessage("ClearReceiveBuffer", LogLevel::Info, "Cleared " + std::to_string(count) + " Bytes");
}

void MountQueries::RecoverSlippedExchange(std::string_view origin, std::string_view text) {
    driver_.log.LogMessage(origin, LogLevel::Error, text);
    driver_.counters.CountRetransmit();
    state_.g_bResync = true;
}

void MountQueries::LogNoResponse(std::string_view origin, std::string_view what) {
    driver_.log.LogMessage(origin, LogLevel::Error,
                           "No response querying " + std::string(what) + " - " + std::to_string(state_.g_nNoResponse));
}

void MountQueries::LogIgnored(std::string_view origin) {
    driver_.log.LogMessage(origin, LogLevel::Error, kIgnored);
}

bool MountQueries::PositionLabelsShown() const {
    return !state_.g_bSlewing && !state_.g_bParking && !state_.g_bFlashShowing;
}

}  // namespace kestrane
