#include "kernel/driver.h"

#include <utility>

#include "catalogue/wire_commands.h"
#include "catalogue/wire_texts.h"
#include "kernel/log_facts.h"
#include "link/link_choice.h"

namespace kestrane {
namespace {

constexpr std::int32_t kStopLeftAgainMs = 1000;
constexpr std::string_view kLeftMoving = "The last driver ended while something moved that only it would have ended: ";

}  // namespace

std::unique_ptr<Driver> Main(const Platform& platform, bool startedByClient) {
    if (!startedByClient) {
        RefuseStandAloneStart(platform.messageBoxes);
        return nullptr;
    }
    return std::make_unique<Driver>(platform);
}

Driver::Driver(Platform platform)
    : platform_(platform),
      log(state, platform_.clock),
      openMotionFile(platform_.folders.CommonAppData() / "Kestrane" / "ASCOM" / "OpenMotion", log),
      messageBoxes(platform_.messageBoxes, log),
      counters(state, log),
      alarmFilter(counters),
      waits(platform_.clock, platform_.pump),
      door(waits, log, state),
      windows(platform_.pump),
      persist(PersistNeeds{state, log, platform_.clock, platform_.folders, messageBoxes, ledger}),
      sites(SitesNeeds{persist, log, ledger}),
      logPanel(LogPanelNeeds{state, persist, log, handBox, logWindow}),
      portCheck(NeedsOfPortCheck()),
      sideTools(SideToolsNeeds{persist, platform_.processes, platform_.folders, messageBoxes, handBox}),
      shellIcon(ShellIconNeeds{platform_.trayIcon, persist, log, handBox, statusWindow, logWindow}),
      versionNotice(VersionNoticeNeeds{state, handBox.lblMain, handBox.tmrVersionDifferent,
                                       [this] { sideTools.OpenDownloadPage(); }}),
      updateCheck(UpdateCheckNeeds{essentials, platform_.webPages, mount, [this] { versionNotice.Begin(); }}),
      panel(NeedsOfPanel()),
      tracking(TrackingOperationsNeeds{essentials, panel, OwnTelescope()}),
      modal(waits, log, [this] { return InParkMove(state); }),
      rcalSyncWarning(rcalSyncWarningForm, modal, log),
      questions(NeedsOfQuestions()),
      initMountWindow(InitMountNeeds{essentials, modal, sites, initMount, panel, OwnTelescope()}),
      park1Warning(windows.park1Warning, modal, persist),
      gotoRaDec(NeedsOfGotos(), windows.askGotoRaDec),
      gotoAltAz(NeedsOfGotos(), windows.askGtoAltAz),
      focusMotor(FocusMotorNeeds{essentials, platform_.pump, door, link, OwnCommands()}),
      focuserSetup(NeedsOfFocuserSetup()),
      quaySettings(QuaySettingsNeeds{ledger, modal, channel, quaySettingsForm}),
      statusPanel(NeedsOfStatusPanel()),
      tray(NeedsOfTray()),
      rates(MountRatesNeeds{essentials, mount, handBox, initialSetup, initMount}),
      controller(ControllerFeaturesNeeds{essentials, mount, rates, handBox, initialSetup, initMount, panel}),
      journal(EventJournalNeeds{
          essentials, motion, panel,
          [this](std::int32_t durationMs, std::int16_t direction) { nightJournal.AddPulse(durationMs, direction); }}),
      channel(CompanionChannelNeeds{essentials, door, platform_.applicationSettings, handBox, OwnCommands(),
                                    [this] { return LinkIsOverIp(link.get(), persist, log); }}),
      queries(MountQueriesNeeds{essentials, door, platform_.astronomy, handBox, statusWindow, panel, journal, channel,
                                [this] { return link ? link->DrainOne() : std::string{}; }, OwnTelescope()}),
      poll(PollLoopNeeds{essentials, motion, door, platform_.sounds, handBox, askAbortSlew, panel, queries,
                         OwnTelescope(), [this] { return channel.PeriodicQuayCheck(); },
                         [this](std::int16_t rate) { tracking.ChooseRate(rate); }}),
      guidePulses(GuidePulsesNeeds{essentials, motion, door, link, platform_.pump, handBox, panel, journal, queries,
                                   OwnCommands()}),
      companion(platform_.registry, platform_.processes, waits, log),
      connections(NeedsOfConnections()),
      setupDialog(NeedsOfSetup()),
      driverCommands(NeedsOfCommands()),
      startup(StartupNeeds{essentials, platform_, messageBoxes, links, link, [this] { channel.ShowMountInfo(""); }}) {
    log.SetFacts(FactsOfLog(
        {.persist = persist, .mount = mount, .log = log, .platform = platform_, .messageBoxes = messageBoxes}));
    messageBoxes.ShowIn(messageWindows);
    counters.SetView(&panel);
    alarmFilter.SetActions(this);
    mount.SetSendCommand(
        [this](std::string_view command, bool raw) { InternalInstance().CommandBlindInternal(command, raw); });
    handBox.tmrQueryRaDecAltAz.OnTick([this] {
        poll.OnTimer();
        connections.HealWhenDue();
        connections.ExitAfterPark();
    });
    panel.OnAction(ButtonAction::WarnOfPark1, [this] { park1Warning.Show(); });
    startup.Run();
    left_ = openMotionFile.Left();
    if (left_.Any()) {
        stopLeftTimer_ = platform_.pump.CreateTimer([this] { StopWhatWasLeft(); });
        stopLeftTimer_->SetInterval(1);
        stopLeftTimer_->SetEnabled(true);
    }
}

Driver::~Driver() {
    if (!left_.Any()) {
        NoteOpenMotion("");
    }
    counters.SetView(nullptr);
    alarmFilter.SetActions(nullptr);
}

void Driver::OpenFocuserSetup() {
    if (!setupFocuser.Visible()) {
        focuserSetup.ShowModal();
        focusMotor.UpdateValues();
    }
}

Telescope& Driver::InternalInstance() {
    if (!internalInstance_) {
        internalInstance_ = std::make_unique<Telescope>(NeedsOfTelescope());
        internalInstance_->Class_Initialize();
    }
    return *internalInstance_;
}

TelescopeObject Driver::CreateTelescope() {
    InternalInstance();
    TelescopeObject object{new Telescope(NeedsOfTelescope())};
    object->Class_Initialize();
    return object;
}

FocuserObject Driver::CreateFocuser() {
    FocuserObject object{new Focuser(FocuserNeeds{
        .driver = essentials,
        .link = link,
        .connections = connections,
        .registration = startup,
        .motor = focusMotor,
        .runFirstConnection = [this] { InternalInstance().InitUI(); },
        .showSetup = [this] { focuserSetup.ShowModal(); },
    })};
    object->Class_Initialize();
    return object;
}

void Driver::EndOnRequest() {
    log.LogMessage("ShutdownDriver", LogLevel::Info, "The process was asked to end");
    motion.StopAskedFor();
    connections.ShutdownDriver();
}

void Driver::EndRuns() {
    heldButtons.ReleaseAll();
    guidePulses.EndAll();
    StopRunningAxes();
    focusMotor.EndRun();
    if (link && link->Connected()) {
        channel.EnableSafeSlewIfOwed();
        InternalInstance().MaxSerialRetries(0);  // what a connect under way still asks finds a closed link
    }
}

void Driver::StopRunningAxes() {
    if (!AxisMayRun() || !link || !link->Connected()) {
        return;
    }
    ResumeNext errors{ledger, "ShutdownDriver"};
    const auto stop = [&] {
        errors.Step([&] {
            Sequence(InternalInstance().Commands(), door, procedure::StopPair).CommandBlindInternal(wire::Stop);
        });
    };
    const bool gotoGoesOn = GotoGoesOn();
    if (!gotoGoesOn) {
        stop();
    }
    const bool taken = axisMotions.StopAll("The driver ends: its axes are stopped");
    if (gotoGoesOn && (!taken || state.g_bMoveSent)) {
        stop();  // an axis that does not take its end must not go on
    }
    if (link->CanSend() && !queries.LineIsSilent()) {
        axisMotions.EndIsHeard();
        motion.MoveEnded();
    } else {
        stopMayBeLost_ = true;
    }
}

bool Driver::SlewOrParkGoesOn() const {
    return state.g_bSlewing || state.g_bParking || state.g_bGotoSent;
}

bool Driver::AxisMayRun() const {
    return axisMotions.AnyStillRuns() || OtherMoveMayRun();
}

bool Driver::OtherMoveMayRun() const {
    const bool endMayBeLost = axisMotions.EndMayBeLost(state) && !SlewOrParkGoesOn();
    return state.g_bMoveSent || endMayBeLost || stopMayBeLost_ || poll.StopIsOwed();
}

/// A goto under which nothing but axes runs that would not end by itself: these are ended by their rates.
bool Driver::GotoGoesOn() const {
    const bool runs = state.g_bSlewing || GotoMayRun(state, platform_.clock.GetTickCount());
    return runs && !state.g_bParking && !OtherMoveMayRun();
}

void Driver::NoteOpenMotion(std::string_view text) {
    const bool begins = wire::EndlessMoveAfter(text) == wire::EndlessMove::Begins;
    focusMotor.NoteSent(text);
    openMotionFile.Note({.mount = left_.mount || begins || AxisMayRun() || guidePulses.MayMove(),
                         .focuser = left_.focuser || focusMotor.MayRun()});
}

/// True when it has gone out.
bool Driver::SendWhatWasLeft(OpenMotion stopped) {
    if (!stopped.Any() || !connections.SendStop(stopped)) {
        return false;
    }
    log.LogMessage("Motion", LogLevel::Error, std::string(kLeftMoving) + "the stop has gone out");
    left_.mount = left_.mount && !stopped.mount;
    left_.focuser = left_.focuser && !stopped.focuser;
    NoteOpenMotion("");
    return true;
}

/// Without a client, or after a connect that could not do it.
void Driver::StopWhatWasLeft() {
    if (state.g_nSlewsTaken != 0) {
        left_.mount = false;  // a goto has ended in the mount what was left of it
        NoteOpenMotion("");
    }
    const bool sent = !state.g_bOpeningLink &&
                      SendWhatWasLeft({.mount = left_.mount && !SlewOrParkGoesOn(), .focuser = left_.focuser});
    stopLeftTimer_->SetEnabled(left_.Any());
    if (!sent && left_.Any() && !std::exchange(stopLeftDelayed_, true)) {
        log.LogMessage("Motion", LogLevel::Error,
                       std::string(kLeftMoving) + "the stop goes out once the port can be opened");
        stopLeftTimer_->SetInterval(kStopLeftAgainMs);
    }
}

void Driver::ShowLowPower() {
    queries.ShowLowPower();
}

}  // namespace kestrane
