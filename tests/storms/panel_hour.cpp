#include "storms/panel_hour.h"

#include <algorithm>
#include <cmath>

#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "storms/seed_mount.h"
#include "storms/storm_times.h"
#include "support/seed_settings.h"

namespace kestrane {
namespace {

using storm::kMinute, storm::kSecond;

constexpr std::int32_t kTickMs = 200;
constexpr std::int64_t kLongestOutliving = 2 * kSecond;
constexpr std::int64_t kLongestClosing = 10 * kMinute;
constexpr std::int64_t kLongestSettling = 40 * kMinute;  // a park on virtual time, and the waits before and after it
constexpr std::int64_t kRest = 20 * kSecond;

bool IsMove(std::string_view bytes) {
    return std::ranges::any_of(std::array{":Mn#", ":Ms#", ":Me#", ":Mw#"},
                               [&](std::string_view move) { return bytes.find(move) != std::string_view::npos; });
}

}  // namespace

PanelHour::PanelHour(const Plan& plan)
    : plan_(plan), choice_(plan.seed + 3'000'000, 0.0), mount_(machine_.clock, storm::MountOfSeed(plan.seed)) {
    auto line = std::make_unique<StormyLine>(mount_, line_);
    stormy_ = line.get();
    if (plan_.tail) {
        stormy_->KeepTail(machine_.clock);
    }
    stormy_->onWrite = [this](std::string_view bytes) {
        if (IsMove(bytes)) {
            holds_ += padMoves_ ? 0 : 1;
            lastHold_ = machine_.clock.Elapsed();
        }
        padMoves_ = bytes.rfind(":Q") == std::string_view::npos && (padMoves_ || IsMove(bytes));
    };
    machine_.serialPorts.Connect(1, std::move(line));
    SeedSettings(machine_, {{"chkEnableDebugLog", plan_.tail ? "1" : "0"},
                            {"cbxParkTo", std::to_string(Below(7))},
                            {"cbxUnparkFrom", std::to_string(Below(8))}});
    driver_ = Main(machine_.Services(), true);
    if (plan_.tail) {
        driver_->log.SetListener([this](std::string_view origin, int level, std::string_view message) {
            stormy_->Mark("L" + std::to_string(level) + " " + std::string(origin) + " | " + std::string(message));
        });
    }
    for (TelescopeObject& client : clients_) {
        client = driver_->CreateTelescope();
        client->Connected(true);
    }
    focuser_ = driver_->CreateFocuser();
    focuser_->Link(true);
    machine_.AdvanceTime(20 * kSecond);
    for (auto& person : persons_) {
        person = std::make_unique<Person>(*driver_, machine_.clock, choice_,
                                          [this](CallKind kind, const std::string& name,
                                                 const std::function<void()>& call) { Post(kind, name, call); });
        person->Arrive();
    }
    timer_ = machine_.pump.CreateTimer([this] { Tick(); });
    timer_->SetInterval(kTickMs);
}

PanelHour::~PanelHour() {
    timer_.reset();
    for (auto& person : persons_) {
        person->Leave();
    }
    machine_.AdvanceTime(kSecond);  // without a view no dialog waits, and what was posted runs while all live
    persons_ = {};
    focuser_ = {};
    clients_ = {};
    driver_.reset();
    machine_.serialPorts.Disconnect(1);
}

std::vector<std::string> PanelHour::Run() {
    const std::int64_t end = machine_.clock.Elapsed() + plan_.lengthMs;
    phaseEnds_ = machine_.clock.Elapsed() + kMinute;
    timer_->SetEnabled(true);
    while (wrong_.empty() && (machine_.clock.Elapsed() < end || phase_ != Phase::Busy)) {
        machine_.AdvanceTime(kSecond);
    }
    timer_->SetEnabled(false);
    for (const std::string& fault : machine_.pump.TakeFaults()) {
        Wrong("a call ended with: " + fault);
    }
    return wrong_;
}

void PanelHour::Post(CallKind kind, const std::string& name, const std::function<void()>& call) {
    ++open_;
    machine_.pump.Post(kind, [this, name, call] {
        stormy_->Mark("* " + name);
        try {
            call();
        } catch (const DriverError& error) {
            stormy_->Mark("! " + name + ": " + error.Message());
        }
        stormy_->Mark("= " + name);
        --open_;
    });
}

void PanelHour::Tick() {
    if (!wrong_.empty()) {
        HideDialogs();
        return;
    }
    const std::int64_t now = machine_.clock.Elapsed();
    for (auto& person : persons_) {
        person->Tick();
    }
    WatchPad();
    switch (phase_) {
        case Phase::Busy:
            if (now >= phaseEnds_) {
                Rest();
            } else if (now >= nextAct_) {
                nextAct_ = now + (Below(3) == 0 ? Below(15'000) : Below(2'000));
                Act();
            }
            break;
        case Phase::Closing:
            Close();
            break;
        case Phase::Settling:
            Settle();
            break;
        case Phase::Comparing:
            Compare();
            break;
        case Phase::Opening:
            LookAtDialog();
            break;
    }
}

/// So that the calls below them end, whatever went wrong.
void PanelHour::HideDialogs() {
    for (Form* form : driver_->windows.All()) {
        if (IsOpenDialog(*driver_, *form)) {
            form->Hide();
        }
    }
}

bool PanelHour::AnyDialogIsOpen() const {
    return std::ranges::any_of(driver_->windows.All(), [&](Form* form) { return IsOpenDialog(*driver_, *form); });
}

void PanelHour::Close() {
    const std::int64_t now = machine_.clock.Elapsed();
    if (open_ == 0 && !AnyDialogIsOpen()) {
        phase_ = Phase::Settling;
        phaseEnds_ = now + kLongestSettling;
        nextAct_ = now + kRest;
    } else if (now >= phaseEnds_) {
        Wrong("calls or dialogs do not end");
    } else {
        persons_[0]->CloseDialogs();
    }
}

void PanelHour::Settle() {
    const std::int64_t now = machine_.clock.Elapsed();
    if (AnyDialogIsOpen()) {
        persons_[0]->CloseDialogs();  // a press that waited for a park asks its question late
        nextAct_ = now + kRest;
    } else if (!IsQuiet()) {
        nextAct_ = now + kRest;
    }
    if (now >= nextAct_ || now >= phaseEnds_) {
        Look();
        disagreement_ = "nothing compared";
        phase_ = Phase::Comparing;
        phaseEnds_ = now + kRest;
    }
}

/// The initialization of the mount is left out: its controls depend on what was ticked last.
void PanelHour::OpenADialog() {
    Windows& windows = driver_->windows;
    struct Row {
        Control* opener;
        const Form* dialog;
    };
    const std::array rows{
        Row{&windows.handBox.mPopSetup, &windows.initialSetup},
        Row{&windows.handBox.mPopFocuser, &windows.setupFocuser},
        Row{&windows.handBox.btnSlewRaDec, &windows.askGotoRaDec},
        Row{&windows.handBox.btnSlewAltAz, &windows.askGtoAltAz},
        Row{&windows.handBox.mPopExit, &windows.askUserCloseDriver},
    };
    const Row& row = rows[Below(rows.size())];
    dialog_ = row.dialog;
    phase_ = Phase::Opening;
    phaseEnds_ = machine_.clock.Elapsed() + kSecond;
    Post(CallKind::Press, "open " + row.dialog->Name(),
         [opener = row.opener] { static_cast<VisibleControl*>(opener)->FireClick(); });
}

/// The dialog opens as it did at first; then the next busy time begins above it.
void PanelHour::LookAtDialog() {
    if (machine_.clock.Elapsed() < phaseEnds_) {
        return;
    }
    if (!dialog_->Visible()) {
        Wrong(dialog_->Name() + " does not open");
    }
    std::set<std::string> disabled;
    for (const Control* control : dialog_->Controls()) {
        if (control->Kind() != ControlKind::Timer && !control->Values().enabled) {
            disabled.insert(control->Name());
        }
    }
    const auto [first, isFirst] = firstDisabled_.emplace(dialog_, disabled);
    if (first->second != disabled) {
        Wrong(dialog_->Name() + " opens with other controls disabled than at first");
    }
    phase_ = Phase::Busy;
    phaseEnds_ = machine_.clock.Elapsed() + kMinute + Below(5 * kMinute);
}

void PanelHour::Act() {
    const std::uint32_t who = Below(10);
    if (who < 8) {
        Person& person = *persons_[who % 2];
        ++uses_;
        if (Below(60) == 0) {
            person.Leave();
        }
        person.Arrive();
        if (Below(4) == 0) {
            person.Hold(driver_->handBox.btnMove[Below(9)]);
        } else {
            person.DoSomething();
        }
    } else {
        CallSomething(*clients_[who % 2]);
    }
}

void PanelHour::CallSomething(Telescope& client) {
    struct Call {
        std::string_view name;
        CallKind kind;
        std::function<void()> make;
    };
    const double ra = NormalizeHours(mount_.Picture().siderealTime - 4.0 + 0.1 * Below(80));
    const double dec = -10.0 + Below(90);
    const std::array calls{
        Call{"slew", CallKind::Brief, [&client, ra, dec] { client.SlewToCoordinatesAsync(ra, dec); }},
        Call{"slew and wait", CallKind::WaitsLong, [&client, ra, dec] { client.SlewToCoordinates(ra, dec); }},
        Call{"abort", CallKind::Stop, [&client] { client.AbortSlew(); }},
        Call{"park", CallKind::WaitsLong, [&client] { client.Park(); }},
        Call{"unpark", CallKind::WaitsLong, [&client] { client.Unpark(); }},
        Call{"tracking on", CallKind::Brief, [&client] { client.Tracking(true); }},
        Call{"tracking off", CallKind::StopsOne, [&client] { client.Tracking(false); }},
        Call{"focuser", CallKind::Brief, [this] { focuser_->Move(static_cast<std::int32_t>(Below(2000)) - 1000); }},
        Call{"reconnect", CallKind::WaitsLong,
             [&client] {
                 client.Connected(false);
                 client.Connected(true);
             }},
    };
    const Call& call = calls[Below(calls.size())];
    Post(call.kind, std::string(call.name), call.make);
}

/// Everybody lets go; half of the time everything is stopped.
void PanelHour::Rest() {
    for (auto& person : persons_) {
        person->LetGo();
    }
    persons_[0]->Arrive();
    if (Below(2) == 0) {
        Post(CallKind::Stop, "stop all", [this] { driver_->statusWindow.cmdStopAll.FireClick(); });
    }
    phase_ = Phase::Closing;
    phaseEnds_ = machine_.clock.Elapsed() + kLongestClosing;
}

bool PanelHour::IsQuiet() {
    const DriverState& state = driver_->state;
    return open_ == 0 && !storm::Moves(mount_.Picture()) && !state.g_bSlewing;
}

/// Moves without a time come from the pad, or from a park that goes east first: nobody here calls `MoveAxis` or guides.
void PanelHour::WatchPad() {
    const std::int64_t now = machine_.clock.Elapsed();
    if (std::ranges::any_of(persons_, [](const auto& person) { return person->Holds(); })) {
        lastHold_ = now;
    }
    const bool parkMoves = driver_->state.g_bSlewingEast || driver_->state.g_bLeavingCwUp;
    if (padMoves_ && !parkMoves && now - lastHold_ > kLongestOutliving) {
        Wrong("a button of the pad was let go of, and the mount moves on");
    }
}

void PanelHour::Look() {
    ++rests_;
    LookAtControls();
    LookAtFlags();
}

void PanelHour::LookAtControls() {
    const frmHandBox& handBox = driver_->handBox;
    const DriverState& state = driver_->state;
    const bool userPlace = handBox.txtUserParkAlt.Enabled();
    const bool pem = handBox.btnEnablePEM.Enabled();
    const std::map<std::string_view, bool> expected{
        {"txtUserParkAlt", handBox.cbxParkTo.Text() == "Alt/Az" || handBox.cbxUnparkFrom.Text() == "Alt/Az"},
        {"txtUserParkAz", userPlace},
        {"btnRateCustom", state.g_bTracking},
        {"txtRaCustom", state.g_bTracking},
        {"txtDecCustom", state.g_bTracking},
        {"chkEnableKingRate", state.g_bKingRateAvailable},
        {"btnEnablePEM", pem},
        {"btnDisablePEM", pem},
        {"btnPEMRecord", pem},
        {"txtSiteName", false},
        {"txtLatitude", false},
        {"txtLongitude", false},
        {"txtElevation", false},
        {"txtActualLatitude", false},
        {"txtActualLongitude", false},
    };
    for (const Control* control : handBox.Controls()) {
        const auto row = expected.find(control->Name());
        const bool enabled = row == expected.end() || row->second;
        if (control->Kind() != ControlKind::Timer && control->Values().enabled != enabled) {
            Wrong(control->Name() + (enabled ? " is disabled" : " is enabled"));
        }
    }
}

void PanelHour::LookAtFlags() {
    const DriverState& state = driver_->state;
    struct Flag {
        std::string_view name;
        bool value;
    };
    const std::array flags{
        Flag{"g_bSlewing", state.g_bSlewing},
        Flag{"g_bMoveSent", state.g_bMoveSent},
        Flag{"g_bSafeSlewPending", state.g_bSafeSlewPending},
        Flag{"g_bPollSuspended", state.g_bPollSuspended},
        Flag{"g_bUnparkConfirmOpen", state.g_bUnparkConfirmOpen},
        Flag{"g_bOpeningLink", state.g_bOpeningLink},
        Flag{"g_bLostComms", state.g_bLostComms},
        Flag{"chosenByCommand", driver_->handBox.chosenByCommand},
        Flag{"padMoves", padMoves_},
    };
    for (const Flag& flag : flags) {
        if (flag.value) {
            Wrong(std::string(flag.name) + " is still set");
        }
    }
    for (const Form* form : driver_->windows.All()) {
        if (form->IsFilling()) {
            Wrong(form->Name() + " is still being filled");
        }
    }
}

/// Again and again, since the driver may just have begun anew with a mount that has no position yet.
void PanelHour::Compare() {
    if (disagreement_.empty()) {
        OpenADialog();
    } else if (machine_.clock.Elapsed() >= phaseEnds_) {
        Wrong(disagreement_);
    } else if (open_ == 0) {
        Post(CallKind::Brief, "look", [this] { disagreement_ = Disagreement(); });
    }
}

std::string PanelHour::Disagreement() {
    const MountPicture picture = mount_.Picture();
    Telescope& client = *clients_[0];
    if (client.Slewing()) {
        return "Slewing is True";
    }
    // One that has no position yet stands, and does not say so without a status text.
    const bool saysWhetherItTracks = picture.initialised || driver_->state.g_bGosActive;
    if (saysWhetherItTracks && client.Tracking() != (picture.tracking != '9')) {
        return "Tracking is " + std::string(TrueFalse(client.Tracking()));
    }
    // Without a status text a park can be left unseen.
    if (driver_->state.g_bGosActive && client.AtPark() != (picture.parked || !picture.initialised)) {
        return "AtPark is " + std::string(TrueFalse(client.AtPark()));
    }
    return {};
}

void PanelHour::Wrong(const std::string& text) {
    if (wrong_.empty() && plan_.tail) {
        for (const std::string& line : stormy_->Tail()) {
            *plan_.tail << line << "\n";
        }
        *plan_.tail << text << "\n";
    }
    wrong_.push_back("seed " + std::to_string(plan_.seed) + ", " + std::to_string(machine_.clock.Elapsed() / kSecond) +
                     " s: " + text);
}

}  // namespace kestrane
