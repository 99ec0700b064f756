#include "ui/question_windows.h"

#include <algorithm>
#include <utility>

#include "kernel/base/conversions.h"
#include "settings/park_settings.h"
#include "telescope/motion/park_geometry.h"
#include "ui/fixed_lists.h"
#include "ui/kept_controls.h"

namespace kestrane {
namespace {

constexpr std::int16_t kPark1Index = 1;
constexpr std::string_view kCounterweightUp = "WARNING: Counter-weight is in the up position!!";
constexpr std::string_view kSetPark = "Are you sure you want to set this Alt/Az Park Position?";

std::string BelowALine(std::string_view line) {
    return std::string(line) + "\r\n" + std::string(kSetPark);
}

/// Accepts the selected entry; a list without a selection keeps its question open.
void Accept(Form& form, const ComboBox& box, bool& accepted, std::int16_t& index) {
    if (box.ListIndex() >= 0) {
        index = static_cast<std::int16_t>(box.ListIndex());
        accepted = true;
        form.Hide();
    }
}

/// The driver's own object counts too, once there is one.
std::string Clients(std::int16_t objects) {
    return std::to_string(std::max(0, objects - 1));
}

void WireYesOrNo(Form& form, Button& yes, Button& no, bool& answer) {
    yes.OnClick([&form, &answer] {
        answer = answer || form.Visible();  // a press that comes too late answers nothing
        form.Hide();
    });
    no.OnClick([&form] { form.Hide(); });
}

}  // namespace

QuestionWindows::QuestionWindows(QuestionWindowsNeeds needs) : needs_(std::move(needs)) {
    Windows& windows = needs_.windows;
    WirePositions();
    WireAbort();
    WireYesOrNo(windows.askSwapEWNS, windows.askSwapEWNS.btnOK, windows.askSwapEWNS.btnCancel,
                windows.askSwapEWNS.UserPressedOK);
    WireYesOrNo(windows.askCustomParkOK, windows.askCustomParkOK.btnOK, windows.askCustomParkOK.btnCancel,
                windows.askCustomParkOK.UserPressedOK);
    WireYesOrNo(windows.askUserCloseDriver, windows.askUserCloseDriver.btnOK, windows.askUserCloseDriver.btnCancel,
                windows.askUserCloseDriver.UserPressedOK);
    windows.askCustomParkOK.tmrBlink.OnTick([&form = windows.askCustomParkOK] {
        const bool shown = form.lblMessage.Text().starts_with(kCounterweightUp);
        form.lblMessage.Text(shown ? BelowALine("") : BelowALine(kCounterweightUp));
    });
    windows.askAndWarnParked.btnOK.OnClick([&form = windows.askAndWarnParked] { form.Hide(); });
}

void QuestionWindows::WirePositions() {
    frmAskUnpark& unpark = needs_.windows.askUnpark;
    unpark.btnOK.OnClick([this] { AcceptUnpark(); });
    unpark.btnCancel.OnClick([this, &unpark] {
        unpark.Hide();
        EndOffer();
    });
    frmAskPark& park = needs_.windows.askPark;
    park.btnOK.OnClick([this] { AcceptPark(); });
    park.btnCancel.OnClick([&park] { park.Hide(); });
    park.tmrWarning.OnTick([&park] { park.lblEastSlewWarning.Visible(!park.lblEastSlewWarning.Visible()); });
}

void QuestionWindows::WireAbort() {
    frmAskAbortSlew& abort = needs_.windows.askAbortSlew;
    abort.btnOK.OnClick([this, &abort] {
        abort.UserPressedOK = true;
        abort.Hide();
        needs_.abortSlew();
    });
    abort.btnCancel.OnClick([&abort] { abort.Hide(); });
}

bool QuestionWindows::IsOpenAlready(const Form& form) {
    if (form.IsInUse()) {
        needs_.log.LogMessage(form.Name(), LogLevel::Warning,
                              "The question is open already: this one counts as cancelled");
    }
    return form.IsInUse();
}

bool QuestionWindows::NobodyCanSee(const Form& form) {
    if (!form.HasPerson()) {
        needs_.log.LogMessage(form.Name(), LogLevel::Warning,
                              "No window can be shown: the question counts as cancelled");
    }
    return !form.HasPerson();
}

/// Where the last view goes while the question is open, what the person was looking at is no answer: the list goes back
/// to what was proposed.
std::optional<std::int16_t> QuestionWindows::AskUnpark(std::optional<std::int16_t> proposed, Unasked unasked) {
    frmAskUnpark& form = needs_.windows.askUnpark;
    EndOffer();  // a person may just have closed its window
    if (IsOpenAlready(form)) {
        return std::nullopt;
    }
    FillUnpark(proposed);
    const auto acceptProposed = [&] {
        form.UserUnparkIndex = FillUnpark(proposed);
        form.UserOk = form.cbxAskUnparkFrom.ListIndex() >= 0;
    };
    needs_.modal.ShowModal(form, unasked == Unasked::IsAccepted ? acceptProposed : std::function<void()>());
    form.Unload();
    return form.UserOk ? std::optional(form.UserUnparkIndex) : std::nullopt;
}

void QuestionWindows::AskUnpark(std::function<void(std::int16_t index)> accepted) {
    if (!IsOpenAlready(needs_.windows.askUnpark)) {
        unparkAccepted_ = std::move(accepted);
        AskUnpark(std::nullopt, Unasked::IsCancelled);
        unparkAccepted_ = nullptr;
    }
}

/// Gives the position that is asked about. "Don't Unpark" is none that the list has: it shows as the first entry.
std::int16_t QuestionWindows::FillUnpark(std::optional<std::int16_t> proposed) {
    frmAskUnpark& form = needs_.windows.askUnpark;
    form.UserOk = false;
    form.cbxAskUnparkFrom.ListItems(fixed_list::PlacesToUnparkFrom(UserPlace()));
    const std::int16_t asked = proposed.value_or(StoredUnparkIndex(needs_.persist, needs_.log));
    const bool none = asked == park_index::DontUnpark;
    const std::int16_t shown = none ? std::int16_t{0} : asked;
    if (proposed) {
        form.cbxAskUnparkFrom.ListIndex(shown);
    } else {
        SelectParkPosition(form.cbxAskUnparkFrom, needs_.persist.Read(setting::cbxUnparkFromText), shown);
    }
    return asked;
}

/// A press that comes late, from a view that still shows the window, answers nothing.
void QuestionWindows::AcceptUnpark() {
    frmAskUnpark& form = needs_.windows.askUnpark;
    if (!form.Visible()) {
        return;
    }
    Accept(form, form.cbxAskUnparkFrom, form.UserOk, form.UserUnparkIndex);
    if (form.UserOk && unparkAccepted_) {
        std::exchange(unparkAccepted_, nullptr)(form.UserUnparkIndex);
    }
    if (form.UserOk && form.UserUnparkIndex == kPark1Index) {
        needs_.warnOfPark1();
    }
    EndOffer();
}

void QuestionWindows::OfferUnpark(std::int16_t proposed,
                                  std::function<void(std::optional<std::int16_t> index)> answered) {
    frmAskUnpark& form = needs_.windows.askUnpark;
    EndOffer();
    if (IsOpenAlready(form) || NobodyCanSee(form)) {
        answered(std::nullopt);
        return;
    }
    FillUnpark(proposed);
    offered_ = std::move(answered);
    form.Show();
}

bool QuestionWindows::OfferIsOpen() const {
    return offered_ && needs_.windows.askUnpark.Visible();
}

void QuestionWindows::WithdrawUnpark() {
    if (offered_) {
        needs_.windows.askUnpark.Hide();
        EndOffer();
    }
}

/// The window of an offer has a caller that gets the answer here; that of a question has one that waits for it.
void QuestionWindows::EndOffer() {
    frmAskUnpark& form = needs_.windows.askUnpark;
    if (offered_ && !form.Visible()) {
        const std::optional<std::int16_t> answer = form.UserOk ? std::optional(form.UserUnparkIndex) : std::nullopt;
        const auto answered = std::exchange(offered_, nullptr);
        form.Unload();
        answered(answer);
    }
}

void QuestionWindows::AskPark(std::function<void(std::int16_t index)> accepted) {
    frmAskPark& form = needs_.windows.askPark;
    if (IsOpenAlready(form)) {
        return;
    }
    parkAccepted_ = std::move(accepted);
    form.UserOk = false;
    form.cbxAskParkTo.ListItems(fixed_list::PlacesToParkAt(UserPlace()));
    SelectParkPosition(form.cbxAskParkTo, needs_.persist.Read(setting::cbxParkToText),
                       StoredParkIndex(needs_.persist, needs_.log));
    ShowEastSlewWarning();
    needs_.modal.ShowModal(form);
    form.tmrWarning.Enabled(false);
    form.Unload();
    parkAccepted_ = nullptr;
}

/// A press that comes late, from a view that still shows the window, answers nothing.
void QuestionWindows::AcceptPark() {
    frmAskPark& form = needs_.windows.askPark;
    if (!form.Visible()) {
        return;
    }
    Accept(form, form.cbxAskParkTo, form.UserOk, form.UserParkIndex);
    if (form.UserOk && parkAccepted_) {
        needs_.persist.Write(setting::cbxParkToText, form.cbxAskParkTo.Text());
        std::exchange(parkAccepted_, nullptr)(form.UserParkIndex);
        if (form.UserParkIndex == kPark1Index) {
            needs_.warnOfPark1();
        }
    }
}

void QuestionWindows::ShowEastSlewWarning() {
    frmAskPark& form = needs_.windows.askPark;
    const std::optional<double> hours = needs_.eastSlewHours();
    form.lblEastSlewWarning.Text(
        hours ? "WARNING: Mount will slew EAST in RA " + FormatUs(*hours, "0.0") + " Hours before parking..." : "");
    form.lblEastSlewWarning.Visible(hours.has_value());
    form.tmrWarning.Enabled(hours.has_value());
}

bool QuestionWindows::AskSwap(SwappedAxes axes) {
    frmAskSwapEWNS& form = needs_.windows.askSwapEWNS;
    if (IsOpenAlready(form)) {
        return false;
    }
    form.UserPressedOK = false;
    form.DoNS = axes == SwappedAxes::NorthSouth;
    form.lblCaptionNS.Visible(form.DoNS);
    form.lblCaptionEW.Visible(!form.DoNS);
    return AskYesOrNo(form, form.UserPressedOK);
}

void QuestionWindows::AskAbort(bool parking) {
    frmAskAbortSlew& form = needs_.windows.askAbortSlew;
    if (NobodyCanSee(form)) {
        return;
    }
    form.UserPressedOK = false;
    form.Label1.Text(parking ? "ABORT PARK?" : "ABORT SLEW?");
    form.Show();
}

bool QuestionWindows::AskSetPark(const ParkPlace& place) {
    frmAskCustomParkOK& form = needs_.windows.askCustomParkOK;
    if (IsOpenAlready(form)) {
        return false;
    }
    form.UserPressedOK = false;
    form.Alt = place.altitude;
    form.Az = place.azimuth;
    form.IsCwUp = place.counterweightUp;
    form.IsOnEastSide = place.eastSide;
    form.lblAlt.Text(FormatUs(form.Alt, "0.0000"));
    form.lblAz.Text(FormatUs(form.Az, "0.0000"));
    form.lblMessage.Text(form.IsCwUp ? BelowALine(kCounterweightUp) : std::string(kSetPark));
    form.tmrBlink.Enabled(form.IsCwUp);
    return AskYesOrNo(form, form.UserPressedOK);
}

bool QuestionWindows::AskCloseDriver() {
    frmAskUserCloseDriver& form = needs_.windows.askUserCloseDriver;
    if (IsOpenAlready(form)) {
        return false;
    }
    form.UserPressedOK = false;
    form.lblMessage.Text("Clients connected: " + Clients(needs_.state.g_nScopeObjects) + " of the telescope, " +
                         Clients(needs_.state.g_nFocuserObjects) +
                         " of the focuser. They lose the mount when the driver is closed. Close it?");
    return AskYesOrNo(form, form.UserPressedOK);
}

bool QuestionWindows::AskYesOrNo(Form& form, const bool& accepted) {
    needs_.modal.ShowModal(form);
    form.Unload();
    return accepted;
}

void QuestionWindows::WarnParked() {
    frmAskAndWarnParked& form = needs_.windows.askAndWarnParked;
    if (!form.IsInUse()) {
        needs_.modal.ShowModal(form);
        form.Unload();
    }
}

std::string QuestionWindows::UserPlace() {
    const auto angle = [&](const SettingKey& key) {
        return FormatUs(Val_Global(needs_.persist.Read(key), needs_.log), "0.00");
    };
    return "Alt/Az (" + angle(setting::txtUserParkAlt) + "... / " + angle(setting::txtUserParkAz) + "...)";
}

}  // namespace kestrane
