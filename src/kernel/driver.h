#pragma once

#include <functional>
#include <memory>

#include "catalogue/client_rates.h"
#include "catalogue/ks_mount.h"
#include "commands/driver_commands.h"
#include "focuser/focus_motor.h"
#include "forms/held_buttons.h"
#include "forms/windows.h"
#include "kernel/base/counters.h"
#include "kernel/base/errors.h"
#include "kernel/base/log.h"
#include "kernel/base/waits.h"
#include "kernel/companion.h"
#include "kernel/connection_manager.h"
#include "kernel/device_objects.h"
#include "kernel/logged_message_boxes.h"
#include "kernel/open_motion_file.h"
#include "kernel/startup.h"
#include "link/link_factory.h"
#include "periphery/side_tools.h"
#include "periphery/update_check.h"
#include "periphery/version_notice.h"
#include "platform/platform.h"
#include "settings/persist.h"
#include "settings/sites.h"
#include "state/companion_channel.h"
#include "state/controller_features.h"
#include "state/driver_state.h"
#include "state/event_journal.h"
#include "state/motion.h"
#include "state/mount_queries.h"
#include "state/mount_rates.h"
#include "state/poll_loop.h"
#include "state/sequence.h"
#include "telescope/motion/tracking_operations.h"
#include "ui/clients_window.h"
#include "ui/focuser_setup.h"
#include "ui/goto_alt_az.h"
#include "ui/goto_ra_dec.h"
#include "ui/hand_box/hand_box_panel.h"
#include "ui/help_window.h"
#include "ui/init_mount.h"
#include "ui/log_panel.h"
#include "ui/message_windows.h"
#include "ui/night_journal.h"
#include "ui/park1_warning.h"
#include "ui/port_check.h"
#include "ui/quay_settings.h"
#include "ui/question_windows.h"
#include "ui/rcal_sync_warning.h"
#include "ui/setup/setup_dialog.h"
#include "ui/shell_icon.h"
#include "ui/sky.h"
#include "ui/status_window.h"
#include "ui/tray.h"

namespace kestrane {

/// The whole driver of one process, put together top to bottom in the order of its members. Two of them can live in
/// one test program. Logic thread only.
class Driver final : public AlarmActions {
public:
    /// Opens the settings and runs the start-up; the platform must outlive the driver. What a killed driver has left
    /// moving is stopped, as soon as the pump runs and the port can be opened.
    explicit Driver(Platform platform);
    ~Driver() override;
    Driver(const Driver&) = delete;
    Driver& operator=(const Driver&) = delete;

    /// A client's object. The first one of the process registers its class.
    TelescopeObject CreateTelescope();
    FocuserObject CreateFocuser();

    /// Whether a stop is still to go out, once the port can be opened, takes bytes or brings answers again: of what an
    /// earlier driver has left moving, of an axis or another move without a goto, of a guide pulse, or of the focus
    /// motor.
    bool StopIsOwed() const {
        return left_.Any() || poll.StopIsOwed() || guidePulses.EndIsOwed() || focusMotor.StopIsOwed();
    }

    /// Whether the process may end by itself, so many milliseconds after its last client left: no stop is owed, and no
    /// park is under way whose end nobody else would see to. A park holds it for 30 minutes at most.
    bool MayEnd(std::int32_t withoutClientsMs) { return !connections.AwaitsPark(withoutClientsMs) && !StopIsOwed(); }

    /// The driver's own telescope object, counted among the objects; made when first needed.
    Telescope& InternalInstance();

    /// Ends the process in order, as an operating system wishes that shuts down: what only the driver would end is
    /// stopped, as at each end of the process, the link is closed, calls that wait return. A slew or a park goes on in
    /// the mount, but a slew gets no second leg. To be run as a stop, so that it gets into every call that waits;
    /// settings and log are closed by the destructor.
    void EndOnRequest();

    // AlarmActions
    void ShowLowPower() override;

private:
    Platform platform_;

public:
    DriverState state;
    Motion motion{state};
    SwallowLedger ledger;
    Log log;
    OpenMotionFile openMotionFile;
    LoggedMessageBoxes messageBoxes;
    Counters counters;
    AlarmFilter alarmFilter;
    Waits waits;
    StopDoor door;
    Windows windows;
    HeldButtons heldButtons{platform_.clock, platform_.pump};  ///< views press the pad and the focuser through it
    frmHandBox& handBox = windows.handBox;
    frmStatus& statusWindow = windows.statusWindow;
    frmLogWindow& logWindow = windows.logWindow;
    frmInitialSetup& initialSetup = windows.initialSetup;
    frmInitMount& initMount = windows.initMount;
    frmSetupFocuser& setupFocuser = windows.setupFocuser;
    frmQuaySettings& quaySettingsForm = windows.quaySettings;
    frmRcalSyncWarning& rcalSyncWarningForm = windows.rcalSyncWarning;
    frmAskAbortSlew& askAbortSlew = windows.askAbortSlew;
    Persist persist;
    const Essentials essentials{state, persist, log, platform_.clock, waits, ledger, counters};
    const LinkFactory links{.ports = platform_.serialPorts,
                            .http = platform_.http,
                            .applicationSettings = platform_.applicationSettings,
                            .messageBoxes = messageBoxes,
                            .clock = platform_.clock,
                            .log = log,
                            .counters = counters,
                            .alarmFilter = alarmFilter,
                            .ledger = ledger,
                            .persist = persist};
    Sites sites;
    LogPanel logPanel;
    KsMount mount;
    ClientRateLists rateLists;
    std::unique_ptr<MountLink> link;
    PortCheck portCheck;
    SideTools sideTools;
    ShellIcon shellIcon;
    VersionNotice versionNotice;
    UpdateCheck updateCheck;
    HandBoxPanel panel;
    TrackingOperations tracking;
    Modal modal;
    Sky sky{SkyNeeds{state, platform_.astronomy, log, handBox, windows.sky, LinkConnected()}};
    NightJournal nightJournal{NightJournalNeeds{state, platform_.clock, windows.sky, LinkConnected()}};
    MessageWindows messageWindows{windows.message, windows.askMessage, modal};
    RcalSyncWarning rcalSyncWarning;
    QuestionWindows questions;
    InitMount initMountWindow;
    Park1Warning park1Warning;
    GotoRaDecDialog gotoRaDec;
    GotoAltAzDialog gotoAltAz;
    HelpWindow helpWindow{HelpWindowNeeds{handBox, windows.help}};
    ClientsWindow clientsWindow{ClientsWindowNeeds{handBox, windows.clients, messageBoxes}};
    FocusMotor focusMotor;
    FocuserSetup focuserSetup;
    QuaySettings quaySettings;
    StatusWindow statusPanel;
    Tray tray;
    MountRates rates;
    ControllerFeatures controller;
    EventJournal journal;
    CompanionChannel channel;
    MountQueries queries;
    PollLoop poll;
    AxisMotions axisMotions;
    GuidePulses guidePulses;
    Companion companion;
    ConnectionManager connections;
    SetupDialog setupDialog;
    DriverCommands driverCommands;
    Startup startup;

private:
    HandBoxNeeds NeedsOfPanel();
    QuestionWindowsNeeds NeedsOfQuestions();
    PortCheckNeeds NeedsOfPortCheck();
    FocuserSetupNeeds NeedsOfFocuserSetup();
    SetupNeeds NeedsOfSetup();
    StatusWindowNeeds NeedsOfStatusPanel();
    TrayNeeds NeedsOfTray();
    GotoDialogNeeds NeedsOfGotos();
    ConnectionManagerNeeds NeedsOfConnections();
    DriverCommandsNeeds NeedsOfCommands();
    TelescopeNeeds NeedsOfTelescope();
    std::function<Telescope*()> OwnTelescope();  ///< null while there is none
    std::function<MountCommands&()> OwnCommands();
    std::function<bool()> LinkConnected();
    bool SlewOrParkGoesOn() const;
    bool AxisMayRun() const;
    bool OtherMoveMayRun() const;
    bool GotoGoesOn() const;
    void OpenFocuserSetup();
    void EndRuns();
    void StopRunningAxes();
    void NoteOpenMotion(std::string_view text);
    bool SendWhatWasLeft(OpenMotion stopped);
    void StopWhatWasLeft();

    std::unique_ptr<Telescope> internalInstance_;
    OpenMotion left_;  ///< by the process before this one
    std::unique_ptr<PumpTimer> stopLeftTimer_;
    bool stopLeftDelayed_ = false;  ///< the port could not be opened at once
    bool stopMayBeLost_ = false;    ///< that of the end of the process
};

/// Process start: refuses a start that no client asked for, with one message, and makes nothing (null); otherwise
/// returns the running driver.
std::unique_ptr<Driver> Main(const Platform& platform, bool startedByClient);

}  // namespace kestrane
