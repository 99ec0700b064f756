#include "kernel/driver.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "catalogue/wire_commands.h"
#include "catalogue/wire_texts.h"
#include "kernel/base/application_info.h"
#include "kernel/base/conversions.h"
#include "kernel/base/os_info.h"
#include "kernel/base/text.h"
#include "telescope/motion/east_slew.h"

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
      logPanel(LogPanelNeeds{
          .state = state,
          .persist = persist,
          .log = log,
          .handBox = handBox,
          .logWindow = logWindow,
      }),
      panel(HandBoxPanelNeeds{
          .driver = essentials,
          .messageBoxes = messageBoxes,
          .systemInfo = platform_.systemInfo,
          .pump = platform_.pump,
          .processes = platform_.processes,
          .sites = sites,
          .mount = mount,
          .queries = queries,
          .rates = rates,
          .tracking = tracking,
          .focusMotor = focusMotor,
          .handBox = handBox,
          .statusWindow = statusWindow,
          .initialSetup = initialSetup,
          .initMount = initMount,
          .questions = questions,
          .askForPlainSyncs = [this] { return rcalSyncWarning.AskForPlainSyncs(); },
          .telescope = [this] { return internalInstance_.get(); },
          .linkConnected = [this] { return link && link->Connected(); },
          .readMountSite = [this](
                               Notice notice,
                               AfterSilence afterSilence) { return connections.ReadMountSite(notice, afterSilence); },
          .resetCommCounters = [this] { connections.ResetCommCounters(); },
          .applyWindowsPriority = [this](int index) { ApplyWindowsPriority(platform_.processes, index); },
      }),
      tracking(TrackingOperationsNeeds{
          .driver = essentials,
          .panel = panel,
          .telescope = [this] { return internalInstance_.get(); },
      }),
      modal(waits, log),
      rcalSyncWarning(rcalSyncWarningForm, modal, log),
      questions(QuestionWindowsNeeds{
          .modal = modal,
          .persist = persist,
          .log = log,
          .windows = windows,
          .eastSlewHours = [this] { return EastSlewHours(essentials); },
          .abortSlew = [this] { panel.AbortSlew(); },
          .clientCount =
              [this] { return std::max(state.g_nScopeObjects - 1, 0) + std::max(state.g_nFocuserObjects - 1, 0); },
      }),
      parkButtons(ParkButtonsNeeds{
          .driver = essentials,
          .messageBoxes = messageBoxes,
          .questions = questions,
          .handBox = handBox,
          .panel = panel,
          .queries = queries,
          .telescope = [this] { return internalInstance_.get(); },
      }),
      focusMotor(FocusMotorNeeds{
          .driver = essentials,
          .pump = platform_.pump,
          .door = door,
          .link = link,
          .commands = [this]() -> MountCommands& { return InternalInstance().Commands(); },
      }),
      focuserSetup(FocuserSetupNeeds{
          .driver = essentials,
          .modal = modal,
          .messageBoxes = messageBoxes,
          .serialPorts = platform_.serialPorts,
          .form = setupFocuser,
          .linkConnected = [this] { return link && link->Connected(); },
          .readTimeout = [this] { return connections.ReadTimeout(); },
          .checkConnection =
              [this](std::int16_t port, std::int16_t timeoutMs, std::string& version) {
                  return connections.CheckConnection(port, timeoutMs, version);
              },
      }),
      rates(MountRatesNeeds{
          .driver = essentials,
          .mount = mount,
          .handBox = handBox,
          .initialSetup = initialSetup,
          .initMount = initMount,
      }),
      controller(ControllerFeaturesNeeds{
          .driver = essentials,
          .mount = mount,
          .rates = rates,
          .handBox = handBox,
          .initialSetup = initialSetup,
          .initMount = initMount,
          .panel = panel,
      }),
      journal(EventJournalNeeds{
          .driver = essentials,
          .motion = motion,
          .panel = panel,
      }),
      queries(MountQueriesNeeds{
          .driver = essentials,
          .door = door,
          .astronomy = platform_.astronomy,
          .handBox = handBox,
          .statusWindow = statusWindow,
          .panel = panel,
          .journal = journal,
          .receiveOne = [this] { return link ? link->ReceiveCounted(1) : std::string{}; },
          .telescope = [this]() -> TelescopeActions* { return internalInstance_.get(); },
      }),
      poll(PollLoopNeeds{
          .driver = essentials,
          .motion = motion,
          .door = door,
          .sounds = platform_.sounds,
          .handBox = handBox,
          .askAbortSlew = askAbortSlew,
          .panel = panel,
          .queries = queries,
          .telescope = [this]() -> TelescopeActions* { return internalInstance_.get(); },
          .periodicQuayCheck = [this] { return connections.PeriodicQuayCheck(); },
          .restoreTrackingRate = [this](std::int16_t rate) { tracking.ChooseRate(rate); },
      }),
      guidePulses(GuidePulsesNeeds{
          .driver = essentials,
          .motion = motion,
          .door = door,
          .link = link,
          .pump = platform_.pump,
          .handBox = handBox,
          .panel = panel,
          .journal = journal,
          .queries = queries,
          .commands = [this]() -> MountCommands& { return InternalInstance().Commands(); },
      }),
      companion(platform_.registry, platform_.processes, waits, log),
      connections(ConnectionManagerNeeds{
          .driver = essentials,
          .link = link,
          .door = door,
          .pump = platform_.pump,
          .queries = queries,
          .rates = rates,
          .systemInfo = platform_.systemInfo,
          .applicationSettings = platform_.applicationSettings,
          .handBox = handBox,
          .statusWindow = statusWindow,
          .panel = panel,
          .companion = companion,
          .serialPorts = platform_.serialPorts,
          .internalInstance = [this]() -> Telescope& { return InternalInstance(); },
          .ensureUtil = [this] { startup.EnsureUtil(); },
          .checkForUpdate = [] {},
          .stopWhatWasLeft = [this] { SendWhatWasLeft(left_); },
          .endRuns = [this] { EndRuns(); },
          .unloadWindows = [this] { windows.UnloadAtShutdown(); },
          .endProcess = [this] { platform_.processes.EndThisProcess(); },
      }),
      driverCommands(DriverCommandsNeeds{
          .driver = essentials,
          .door = door,
          .journal = journal,
          .handBox = handBox,
          .fillHandBox =
              [this] {
                  if (!handBox.m_bFormLoaded) {
                      panel.UpdateControls();
                  }
              },
          .maximize = [this] { panel.Maximize(); },
          .minimize = [this] { panel.Minimize(); },
          .resetErrorCounts = [this] { connections.ResetCommCounters(); },
          .internalInstance = [this] { return internalInstance_.get(); },
          .enableDebugLog = [this](bool enable) { logPanel.Enable(enable); },
          .connectFailure = [this] { return connections.ConnectFailure(); },
          .checkMount = [this] { return connections.CheckMount(); },
      }),
      startup(StartupNeeds{
          .driver = essentials,
          .platform = platform_,
          .messageBoxes = messageBoxes,
          .alarmFilter = alarmFilter,
          .link = link,
          .showMountInfo = [this] { connections.ShowMountInfo(""); },
      }) {
    log.SetFacts(FactsOfLog());
    counters.SetView(&panel);
    alarmFilter.SetActions(this);
    mount.SetSendCommand(
        [this](std::string_view command, bool raw) { InternalInstance().CommandBlindInternal(command, raw); });
    handBox.tmrQueryRaDecAltAz.OnTick([this] {
        poll.OnTimer();
        connections.HealWhenDue();
        connections.ExitAfterPark();
    });
    handBox.mPopFocuser.OnClick([this] {
        if (!setupFocuser.Visible()) {
            focuserSetup.ShowModal();
            focusMotor.UpdateValues();
        }
    });
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

TelescopeNeeds Driver::NeedsOfTelescope() {
    return TelescopeNeeds{
        .driver = essentials,
        .motion = motion,
        .sites = sites,
        .link = link,
        .door = door,
        .handBox = handBox,
        .statusWindow = statusWindow,
        .panel = panel,
        .sounds = platform_.sounds,
        .mount = mount,
        .rateLists = rateLists,
        .rates = rates,
        .controller = controller,
        .journal = journal,
        .queries = queries,
        .poll = poll,
        .axisMotions = axisMotions,
        .guidePulses = guidePulses,
        .connections = connections,
        .registration = startup,
        .setKingRateState = [this] { tracking.SetKingRateState(); },
        .warnAboutSync = [this] { rcalSyncWarning.ShowAtConnect(); },
        .questions = questions,
        .offerUnpark = [this](std::int16_t index) { panel.OfferUnpark(index); },
        .readMountSite = [this] { connections.ReadMountSite(Notice::LogOnly); },
        .internalInstance = [this] { return internalInstance_.get(); },
        .noteOpenMotion = [this](std::string_view text) { NoteOpenMotion(text); },
        .executeDriverCommand = [this](Telescope& object,
                                       std::string_view command) { return driverCommands.Execute(object, command); },
    };
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
    guidePulses.EndAll();
    StopRunningAxes();
    focusMotor.EndRun();
    if (link && link->Connected()) {
        InternalInstance().MaxSerialRetries(0);  // what a connect under way still asks finds a closed link
    }
}

void Driver::StopRunningAxes() {
    if (!AxisMayRun() || !link || !link->Connected()) {
        return;
    }
    ResumeNext errors{ledger, "ShutdownDriver"};
    errors.Step(
        [&] { Sequence(InternalInstance().Commands(), door, procedure::StopPair).CommandBlindInternal(wire::Stop); });
    axisMotions.StopAll("The driver ends: its axes are stopped");
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
    const bool endMayBeLost = axisMotions.EndMayBeLost(state) && !SlewOrParkGoesOn();
    return axisMotions.AnyStillRuns() || state.g_bMoveSent || endMayBeLost || stopMayBeLost_ || poll.StopIsOwed();
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

LogFileFacts Driver::FactsOfLog() {
    return LogFileFacts{
        .logFileDir = [this] { return persist.Read(setting::LogFileDir); },
        .controller = [this] { return persist.Read(setting::Controller); },
        .mountTypeName =
            [this] {
                // A number too large for any model is clamped, so that it stays a number without a name.
                using Limits = std::numeric_limits<std::int16_t>;
                const double number = persist.ReadNumber(setting::MountType);
                auto type =
                    static_cast<std::int16_t>(RoundHalfEven(std::clamp<double>(number, Limits::min(), Limits::max())));
                return std::string(mount.GetMountType(type));
            },
        .osName = [this] { return GetOsName(platform_.systemInfo); },
        .isAdmin = [this] { return IsAdmin(platform_.systemInfo); },
        .commonAppData = [this] { return platform_.folders.CommonAppData(); },
        .limits = [this] { return LimitsOfLog(); },
        .reportMissingFolder =
            [this](const std::string& folder) {
                messageBoxes.Show("The log folder of the setting LogFileDir cannot be used: " + folder +
                                      ". No log file is written. Make the folder, or empty the setting, and turn "
                                      "logging off and on.",
                                  application::kTitle, MessageIcon::Information);
            },
    };
}

/// A setting that is no plain decimal number, or below 1, counts as its default.
LogLimits Driver::LimitsOfLog() {
    constexpr double kBytesOfAMByte = 1e6;
    static constexpr double kMost = 1e9;
    const auto number = [this](const SettingKey& key) {
        const double value = PlainDecimal(persist.ReadQuietly(key), log).value_or(0.0);
        return std::min(value >= 1.0 ? value : Val_Global(key.fallback, log), kMost);
    };
    return LogLimits{.keptBytes = static_cast<std::uintmax_t>(number(setting::LogKeepMBytes) * kBytesOfAMByte),
                     .keptDays = static_cast<int>(number(setting::LogKeepDays))};
}

}  // namespace kestrane
