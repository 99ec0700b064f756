#include <algorithm>

#include "kernel/driver.h"
#include "telescope/motion/east_slew.h"

/// What the classes with the most surroundings need, each entry under its name: several have the same type.
namespace kestrane {

HandBoxNeeds Driver::NeedsOfPanel() {
    return HandBoxNeeds{
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
        .shellIcon = shellIcon,
        .showMenuOptions =
            [this] {
                tray.ShowOptions();
                logPanel.ShowWhereWanted();
            },
        .noticeTakesClick = [this] { return versionNotice.TakesClick(); },
        .askForPlainSyncs = [this] { return rcalSyncWarning.AskForPlainSyncs(); },
        .telescope = OwnTelescope(),
        .linkConnected = LinkConnected(),
        .readMountSite = [this](Notice notice,
                                AfterSilence afterSilence) { return connections.ReadMountSite(notice, afterSilence); },
        .resetCommCounters = [this] { connections.ResetCommCounters(); },
        .applyWindowsPriority = [this](int index) { ApplyWindowsPriority(platform_.processes, index); },
    };
}

ConnectionManagerNeeds Driver::NeedsOfConnections() {
    return ConnectionManagerNeeds{
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
        .channel = channel,
        .companion = companion,
        .serialPorts = platform_.serialPorts,
        .internalInstance = [this]() -> Telescope& { return InternalInstance(); },
        .ensureUtil = [this] { startup.EnsureUtil(); },
        .checkForUpdate = [this] { updateCheck.Run(); },
        .stopWhatWasLeft = [this] { SendWhatWasLeft(left_); },
        .endRuns = [this] { EndRuns(); },
        .unloadWindows = [this] { windows.UnloadAtShutdown(); },
        .endProcess = [this] { platform_.processes.EndThisProcess(); },
    };
}

DriverCommandsNeeds Driver::NeedsOfCommands() {
    return DriverCommandsNeeds{
        .driver = essentials,
        .door = door,
        .journal = journal,
        .channel = channel,
        .handBox = handBox,
        .fillHandBox =
            [this] {
                if (!handBox.m_bFormLoaded) {
                    panel.UpdateControls();
                }
            },
        .maximize = [this] { shellIcon.ShowAndDeleteShellIcon(); },
        .minimize = [this] { shellIcon.HideAndAddShellIcon(); },
        .resetErrorCounts = [this] { connections.ResetCommCounters(); },
        .internalInstance = OwnTelescope(),
        .enableDebugLog = [this](bool enable) { logPanel.Enable(enable); },
        .connectFailure = [this] { return connections.ConnectFailure(); },
        .checkMount = [this] { return connections.CheckMount(); },
    };
}

PortCheckNeeds Driver::NeedsOfPortCheck() {
    return PortCheckNeeds{
        .driver = essentials,
        .links = links,
        .link = link,
        .readTimeout = [this] { return connections.ReadTimeout(); },
        .checkConnection = [this](
                               std::int16_t port, std::int16_t timeoutMs,
                               std::string& version) { return connections.CheckConnection(port, timeoutMs, version); },
    };
}

FocuserSetupNeeds Driver::NeedsOfFocuserSetup() {
    return FocuserSetupNeeds{
        .driver = essentials,
        .modal = modal,
        .messageBoxes = messageBoxes,
        .serialPorts = platform_.serialPorts,
        .form = setupFocuser,
        .linkConnected = LinkConnected(),
        .portCheck = portCheck,
    };
}

StatusWindowNeeds Driver::NeedsOfStatusPanel() {
    return StatusWindowNeeds{
        .ledger = ledger,
        .pump = platform_.pump,
        .form = statusWindow,
        .telescope = OwnTelescope(),
        .stopFocuser = [this] { focusMotor.StopRun(); },
        .endHeldMotion =
            [this] {
                panel.WithdrawMoves();
                heldButtons.ReleaseAll();
            },
    };
}

TrayNeeds Driver::NeedsOfTray() {
    return TrayNeeds{
        .ledger = ledger,
        .log = log,
        .persist = persist,
        .windows = windows,
        .icon = platform_.trayIcon,
        .shellIcon = shellIcon,
        .statusWindow = statusPanel,
        .questions = questions,
        .panel = panel,
        .telescope = OwnTelescope(),
        .showLogWindow = [this](bool show) { logPanel.ShowLogWindow(show); },
        .openSetup = [this] { setupDialog.ShowModal(); },
        .openFocuserSetup = [this] { OpenFocuserSetup(); },
        .openLogZipper = [this] { sideTools.Start(SideTool::LogZipper); },
        .openTimer = [this] { sideTools.Start(SideTool::Timer); },
        .openJog = [this] { sideTools.Start(SideTool::Jog); },
        .openPolarAlignment = [this] { sideTools.Start(SideTool::PolarAlignment); },
        .openHelp = [this] { helpWindow.Open(HelpTopic::Status); },
        .shutDown =
            [this] {
                motion.StopAskedFor();
                connections.ShutdownDriver();
            },
    };
}

SetupNeeds Driver::NeedsOfSetup() {
    return SetupNeeds{
        .driver = essentials,
        .modal = modal,
        .messageBoxes = messageBoxes,
        .serialPorts = platform_.serialPorts,
        .applicationSettings = platform_.applicationSettings,
        .processes = platform_.processes,
        .links = links,
        .link = link,
        .sites = sites,
        .mount = mount,
        .rates = rates,
        .controller = controller,
        .panel = panel,
        .handBox = handBox,
        .form = initialSetup,
        .rcalSyncWarning = rcalSyncWarning,
        .portCheck = portCheck,
        .linkConnected = LinkConnected(),
        .readTimeout = [this] { return connections.ReadTimeout(); },
        .getMountLongLat =
            [this](std::int16_t port, std::int16_t timeoutMs, double& longitude, double& latitude) {
                return connections.GetMountLongLat(port, timeoutMs, longitude, latitude);
            },
        .setMountLongLat =
            [this](std::int16_t port, std::int16_t timeoutMs, std::string_view longitude, std::string_view latitude) {
                return connections.SetMountLongLat(port, timeoutMs, longitude, latitude);
            },
        .followAlwaysOnTop = [this] { shellIcon.FollowAlwaysOnTop(); },
        .showQuaySettings = [this] { quaySettings.ShowModal(); },
        .newerVersion = [this] { return state.g_bNewVersion ? state.g_sLatestVersion : std::string(); },
        .startLogZipper = [this] { sideTools.Start(SideTool::LogZipper); },
        .openHelp = [this](HelpTopic topic) { helpWindow.Open(topic); },
        .openAscomSite = [this] { sideTools.OpenStandardsSite(); },
        .openDownloadPage = [this] { sideTools.OpenDownloadPage(); },
    };
}

QuestionWindowsNeeds Driver::NeedsOfQuestions() {
    return QuestionWindowsNeeds{
        .state = state,
        .modal = modal,
        .persist = persist,
        .log = log,
        .windows = windows,
        .eastSlewHours = [this] { return EastSlewHours(essentials); },
        .abortSlew = [this] { platform_.pump.Post(CallKind::Stop, [this] { panel.AbortSlew(); }); },
        .warnOfPark1 = [this] { panel.Press(ButtonAction::WarnOfPark1); },
    };
}

GotoDialogNeeds Driver::NeedsOfGotos() {
    return GotoDialogNeeds{
        .driver = essentials,
        .messageBoxes = messageBoxes,
        .folders = platform_.folders,
        .queries = queries,
        .panel = panel,
        .telescope = OwnTelescope(),
    };
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
        .channel = channel,
        .registration = startup,
        .setKingRateState = [this] { tracking.SetKingRateState(); },
        .warnAboutSync = [this] { rcalSyncWarning.ShowAtConnect(); },
        .questions = questions,
        .offerUnpark = [this](std::int16_t index) { panel.OfferUnpark(index); },
        .readMountSite = [this] { connections.ReadMountSite(Notice::LogOnly); },
        .internalInstance = OwnTelescope(),
        .noteOpenMotion = [this](std::string_view text) { NoteOpenMotion(text); },
        .executeDriverCommand = [this](Telescope& object,
                                       std::string_view command) { return driverCommands.Execute(object, command); },
    };
}

std::function<Telescope*()> Driver::OwnTelescope() {
    return [this] { return internalInstance_.get(); };
}

std::function<MountCommands&()> Driver::OwnCommands() {
    return [this]() -> MountCommands& { return InternalInstance().Commands(); };
}

std::function<bool()> Driver::LinkConnected() {
    return [this] { return link && link->Connected(); };
}

}  // namespace kestrane
