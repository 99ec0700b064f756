#include <algorithm>
#include <optional>

#include "catalogue/vocabulary.h"
#include "catalogue/wire_commands.h"
#include "kernel/base/conversions.h"
#include "state/mount_replies.h"
#include "telescope/motion/custom_rates.h"
#include "telescope/telescope.h"

namespace kestrane {
namespace {

constexpr std::size_t kUsableLength = 11;
constexpr std::int32_t kParkShownMs = 2000;      // after a park or its end was sent
constexpr std::int32_t kTooEarlyMs = 900;        // after a goto
constexpr std::int32_t kPlansWayMs = 3000;       // the same for one that the companion has, which plans its way first
constexpr std::int32_t kAskedAgainMs = 100;      // after that
constexpr std::int32_t kLookedAtAgainMs = 1000;  // after the end of an axis motion was sent again
constexpr std::int32_t kRateHoldMs = 1500;       // a status sent before a rate command must not undo it on the display

/// Positions of the fields, from 0. All fields after the fault are optional.
enum Field : std::size_t {
    kPark = 0,
    kTracking = 1,
    kSlew = 3,
    kGuideRate = 6,
    kMoveRate = 7,
    kSlewRate = 8,
    kPem = 9,
    kFault = 10,
    kSwappedRa = 11,
    kSwappedDec = 12,
    kRateType = 13,
};

/// What a tracking character means.
struct TrackingRow {
    char character;
    bool tracking;
    std::int16_t displayedRate;
    RateCorrection correction;
};

constexpr std::array<TrackingRow, 7> kTrackingRows{{
    {'0', true, displayed_rate::Lunar, RateCorrection::Off},
    {'1', true, displayed_rate::Solar, RateCorrection::Off},
    {'2', true, displayed_rate::Sidereal, RateCorrection::Off},
    {'C', true, displayed_rate::Custom, RateCorrection::Off},
    {'T', true, displayed_rate::Sidereal, RateCorrection::On},
    {'c', true, displayed_rate::Custom, RateCorrection::On},
    {'9', false, displayed_rate::Off, RateCorrection::Off},
}};

/// What a PEM character means. The PEM buttons are of no use while an encoder is active.
struct PemRow {
    char character;
    std::string_view text;
    bool buttons;
    std::int16_t state;  ///< 1 enabled, 2 disabled, 3 recording; -1 leaves it as it is
};

constexpr std::array<PemRow, 4> kPemRows{{
    {'O', "Disabled", true, 2},
    {'P', "Enabled", true, 1},
    {'R', "Recording", true, 3},
    {'E', "Encoder", false, -1},
}};

struct FaultBit {
    int bit;
    std::int32_t CounterState::*counter;
    void (Counters::*count)();
};

constexpr std::array<FaultBit, 3> kFaultBits{{
    {4, &CounterState::g_nServoFaults, &Counters::CountServoFault},
    {2, &CounterState::g_nLowPower, &Counters::CountLowPower},
    {1, &CounterState::g_nMotorStalls, &Counters::CountMotorStall},
}};

template <typename Table>
auto RowOf(const Table& table, char character) {
    return std::ranges::find_if(table, [=](const auto& row) { return row.character == character; });
}

/// The entry of a list that a status character from "0" up selects; nothing for another character or a shorter list.
const std::string* ListEntry(const ComboBox& list, char character, char highest) {
    const auto index = static_cast<std::size_t>(character - '0');
    const bool known = character >= '0' && character <= highest && index < list.ListItems().size();
    return known ? &list.ListItems()[index] : nullptr;
}

std::string SwappedToolTip(std::string_view axis) {
    return "WARNING: " + std::string(axis) +
           " Move direction is swapped... this can causes issues with autoguider calibration";
}

class StatusSteps : TelescopeSteps {
public:
    using TelescopeSteps::TelescopeSteps;

    void ParseParkState(char park);
    bool IsAskedTooEarly(std::optional<Tick> sent);
    std::int32_t TooEarlyMs() const { return state_.g_bGotoPlanned ? kPlansWayMs : kTooEarlyMs; }
    bool IsAskedJustAfterGoto() const;
    void ParseSlew(char slew);
    void ParseTracking(char tracking);
    std::optional<AxisEnd> LostEndOfAxis(bool isCustomRate);
    void EndAxisMotionAgain(AxisEnd end);
    void ParseRates(char guide, char move, char slew);
    void ParsePem(char pem);
    void ParseFault(char fault);
    void ShowSwapped(Button& button, bool swapped, std::string_view warning, std::string_view normal);

private:
    const Tick askedAt_ = state_.g_tickLastGos;  ///< of this text; the next one may be made due before it is read whole
};

}  // namespace

void Telescope::ParseGOS(std::string_view status) {
    StatusSteps steps(*this);
    const auto at = [&](Field field) { return field < status.size() ? status[field] : '\0'; };
    state_.g_bGosActive = status.size() >= kUsableLength && MayBeStatusText(status);
    if (!state_.g_bGosActive) {
        return;
    }
    const char park = at(kPark);
    const char tracking = park == 'P' ? '9' : at(kTracking);  // a parked mount does not move, whatever the text says
    ResumeNext errors{driver_.ledger, "ParseGOS"};
    errors.Step([&] { steps.ParseParkState(park); });
    errors.Step([&] { steps.ParseTracking(tracking); });
    steps.ParseSlew(at(kSlew));
    errors.Step([&] { steps.ParseRates(at(kGuideRate), at(kMoveRate), at(kSlewRate)); });
    errors.Step([&] { steps.ParsePem(at(kPem)); });
    errors.Step([&] { steps.ParseFault(at(kFault)); });
    errors.Step([&] { steps.ShowSwapped(needs_.handBox.btnSwapEW, at(kSwappedRa) == '1', SwappedToolTip("RA"), ":"); });
    errors.Step(
        [&] { steps.ShowSwapped(needs_.handBox.btnSwapNS, at(kSwappedDec) == '1', SwappedToolTip("Dec"), ""); });
    if (status.size() > kRateType) {
        errors.Step([&] { needs_.rates.UpdateMountRates(status.substr(kRateType, 1)); });
    }
}

void StatusSteps::ParseParkState(char park) {
    if (park == 'P') {
        if (IsAskedTooEarly(state_.g_tickUnparkSent) || (state_.g_bParking && IsAskedJustAfterGoto())) {
            return;
        }
        needs_.panel.SetParkStatus("Parked", "ParseGOS");
        needs_.panel.SetParkToolTip("");
        needs_.motion.MountReportsParked(true);
        if (state_.g_tickParkedSince == Tick{}) {
            state_.g_tickParkedSince = driver_.clock.GetTickCount();
        } else if (!InPark(state_) && needs_.axisMotions.AnyRuns()) {
            needs_.axisMotions.ForgetAll(state_);  // a park that the driver does not know of; two texts agree
        }
        return;
    }
    if (state_.g_bParking && (park == '0' || park == '1')) {
        needs_.motion.MountReportsParked(false);  // what an earlier text has said was wrong
    }
    if (state_.g_bParking || (state_.g_bParked && IsAskedTooEarly(state_.g_tickParkSent))) {
        return;
    }
    if (park == '0' || park == '1') {
        if (state_.g_bParked && state_.g_tickParkSent) {
            driver_.log.LogMessage("ParseGOS", LogLevel::Warning, "The mount reports that it is not parked any more");
        }
        needs_.panel.SetParkStatus(park == '0' ? "Unparked" : "Unparked*", park == '0' ? "ParseGOS0" : "ParseGOS*");
        needs_.panel.SetParkToolTip(park == '0' ? "" : "Auto-Park enabled");
        needs_.motion.MountReportsParked(false);
    }
    state_.g_tickParkedSince = Tick{};
}

/// A mount takes a moment to report a park or its end: what it was asked before then says nothing, and it is asked
/// again soon.
bool StatusSteps::IsAskedTooEarly(std::optional<Tick> sent) {
    if (!sent) {
        return false;
    }
    const std::int32_t asked = askedAt_ - *sent;
    const bool tooEarly = asked >= 0 && asked < kParkShownMs;
    if (tooEarly) {
        state_.g_tickLastGos = *sent + kParkShownMs - MountQueries::kSlowIntervalMs;
    }
    return tooEarly;
}

bool StatusSteps::IsAskedJustAfterGoto() const {
    const std::int32_t asked = askedAt_ - state_.g_tickLastGoto;
    return asked >= 0 && asked < TooEarlyMs();
}

/// A mount takes a moment to report a goto that it has just accepted, and a companion one to begin it: an early "0"
/// would end a slew that has not begun, or one whose acceptance was garbled on its way.
void StatusSteps::ParseSlew(char slew) {
    if (slew == 'S') {
        needs_.motion.MountReportsSlewing(true);
        state_.g_bGotoPlanned = state_.g_bGotoPlanned && state_.g_bMovedWhenPlanned;
    } else if (slew == '0') {
        state_.g_bMovedWhenPlanned = false;
        if (!state_.g_bGotoSent || !IsAskedJustAfterGoto()) {
            needs_.motion.MountReportsSlewing(false);
        } else if (!state_.g_bStandAwaited) {  // else it is asked for each second
            state_.g_tickLastGos = state_.g_tickLastGoto + TooEarlyMs() + kAskedAgainMs - MountQueries::kSlowIntervalMs;
        }
    }
}

void StatusSteps::ParseTracking(char tracking) {
    const auto row = RowOf(kTrackingRows, tracking);
    if (row == kTrackingRows.end()) {
        return;
    }
    const bool isCustom = row->displayedRate == displayed_rate::Custom;
    if (const std::optional<AxisEnd> end = LostEndOfAxis(isCustom)) {
        EndAxisMotionAgain(*end);
        return;
    }
    // Not below zero: after 24 days with one rate the difference of the ticks becomes negative.
    const std::int32_t elapsed = driver_.clock.GetTickCount() - state_.g_tickDisplayedRate;
    if (elapsed >= 0 && elapsed <= kRateHoldMs && state_.g_nDisplayedRate != displayed_rate::NoneYet) {
        return;
    }
    state_.g_bTracking = row->tracking;
    if (state_.g_bOwnSlew) {
        // The driver itself has put the mount on the sidereal rate for its slew; the rate that is shown is the one to
        // come back to.
        needs_.panel.EnableRateControls();
        return;
    }
    needs_.panel.ShowTrackingRate(row->displayedRate, row->correction);
}

/// Not during a pulse: it would be cut.
std::optional<AxisEnd> StatusSteps::LostEndOfAxis(bool isCustomRate) {
    return needs_.guidePulses.MayMove() ? std::nullopt : needs_.axisMotions.LostEnd(isCustomRate, state_);
}

/// An axis that nobody runs any more would turn until somebody sees it.
void StatusSteps::EndAxisMotionAgain(AxisEnd end) {
    driver_.log.LogMessage("MoveAxis", LogLevel::Warning,
                           "The mount still runs at the rate of an axis that has ended: the end is sent again");
    state_.g_tickMotionStopped = driver_.clock.GetTickCount();
    state_.g_bMotionStopped = true;
    switch (end) {
        case AxisEnd::RateOfSecondary:
            if (CustomRates(core_).SendCustomRate(wire::CustomDecRate, 0.0)) {
                needs_.axisMotions.EndIsHeard();
            }
            break;
        case AxisEnd::StopPair:
            core_.SendStopPair();
            break;
        case AxisEnd::TrackingOff:
        case AxisEnd::TrackingOn:
            telescope_.Tracking(end == AxisEnd::TrackingOn);
            break;
    }
    state_.g_tickLastGos = driver_.clock.GetTickCount() + kLookedAtAgainMs - MountQueries::kSlowIntervalMs;
}

void StatusSteps::ParseRates(char guide, char move, char slew) {
    const auto guideRow = std::ranges::find(kGuideRates, guide, &GuideRateRow::status);
    if (guideRow != kGuideRates.end()) {
        needs_.statusWindow.lblGuidingRate.Text(guideRow->text);
    }
    Sequence mount = Talk(procedure::Picture);
    const auto show = [&](Label& label, const std::string* entry, const TextCommand& question) {
        label.Text(entry ? *entry : mount.CommandStringInternal(question) + "x");
    };
    show(needs_.statusWindow.lblCenteringRate, ListEntry(needs_.handBox.cbxMoveRate, move, '3'),
         wire::GetCenteringRate);
    show(needs_.statusWindow.lblSlewRate, ListEntry(needs_.handBox.cbxInitSlewRate, slew, '2'), wire::GetSlewRate);
}

void StatusSteps::ParsePem(char pem) {
    const auto row = RowOf(kPemRows, pem);
    if (row == kPemRows.end()) {
        return;
    }
    if (row->state >= 0) {
        state_.g_nPemState = row->state;
    }
    if (!state_.g_bPemAvailable) {
        return;
    }
    needs_.handBox.btnEnablePEM.Enabled(row->buttons);
    needs_.handBox.btnDisablePEM.Enabled(row->buttons);
    needs_.handBox.btnPEMRecord.Enabled(row->buttons);
    needs_.handBox.framePemSettings.Caption("PEM: " + std::string(row->text));
    needs_.statusWindow.lblPECState.Text(row->text);
}

void StatusSteps::ParseFault(char fault) {
    const std::string code(1, fault);
    const bool isNew = state_.g_sFaultCode != code;
    state_.g_sFaultCode = code;
    if (IsAllDigits(code)) {
        for (const FaultBit& row : kFaultBits) {
            // Each fault once, until the counters are reset: the status text repeats a fault as long as it lasts.
            if (((fault - '0') & row.bit) != 0 && driver_.counters.Values().*row.counter == 0) {
                (driver_.counters.*row.count)();
            }
        }
    }
    if (isNew) {
        needs_.panel.UpdateErrorCounts();
    }
}

void StatusSteps::ShowSwapped(Button& button, bool swapped, std::string_view warning, std::string_view normal) {
    button.BackColour(swapped ? kYellow : kButtonFaceColour);
    button.ToolTip(swapped ? warning : normal);
}

}  // namespace kestrane
