#include "ui/tray.h"

#include <string>
#include <vector>

#include "support/driver_fixture.h"
#include "support/onlooker.h"

namespace kestrane {
namespace {

constexpr std::int32_t kPointerOver = 512;
constexpr std::int32_t kLeftDown = 513;
constexpr std::int32_t kLeftUp = 514;
constexpr std::int32_t kDoubleClick = 515;
constexpr std::int32_t kRightUp = 517;

/// What is announced of a window itself, or of one of its controls.
class Announced final : public FormView {
public:
    Announced(Form& form, std::string control) : form_(form), control_(std::move(control)) { form_.Attach(*this); }
    ~Announced() override { form_.Detach(*this); }
    Announced(const Announced&) = delete;
    Announced& operator=(const Announced&) = delete;

    void Changed(Form&, std::string_view control, Property property) override {
        if (control == control_) {
            seen.push_back(property);
        }
    }
    int Times(Property property) const { return static_cast<int>(std::ranges::count(seen, property)); }

    std::vector<Property> seen;

private:
    Form& form_;
    std::string control_;
};

class TrayTest : public DriverFixture {
protected:
    TrayTest() {
        Start();
        HandBox().EnsureLoaded();
        Calls().clear();
    }
    void TearDown() override {
        timer_.reset();
        DriverFixture::TearDown();
    }

    frmHandBox& HandBox() { return driver->handBox; }
    frmStatus& Status() { return driver->statusWindow; }
    std::vector<std::string>& Calls() { return machine.trayIcon.calls; }
    std::string Setting(std::string_view key) { return driver->persist.ReadIniValue(key, "no such setting"); }
    void Tell(std::int32_t message) { machine.trayIcon.Tell(message); }
    /// A person does this in a second, while the call waits for an answer.
    void InASecond(const std::function<void()>& does) {
        timer_ = machine.pump.CreateTimer([this, does] {
            timer_->SetEnabled(false);
            does();
        });
        timer_->SetInterval(1'000);
        timer_->SetEnabled(true);
    }
    using Texts = std::vector<std::string>;

private:
    std::unique_ptr<PumpTimer> timer_;
};

// --- the icon

TEST_F(TrayTest, HideAndAdd_HidesTheHandBoxBehindAnIcon) {
    HandBox().Show();
    driver->shellIcon.HideAndAddShellIcon();
    EXPECT_FALSE(HandBox().Visible());
    EXPECT_TRUE(HandBox().inTray);
    EXPECT_EQ(Calls(), Texts{"add"});
}

TEST_F(TrayTest, HandBoxThatAPersonHides_GoesBehindAnIconToo) {
    for (const bool works : {true, false}) {
        HandBox().Show();
        machine.trayIcon.works = works;
        HandBox().Hide();
        EXPECT_EQ(Calls(), Texts{works ? "add" : "add fails"});
        machine.trayIcon.works = true;
        machine.AdvanceTime(1'000);
        EXPECT_TRUE(HandBox().inTray);
        Tell(kDoubleClick);
        EXPECT_TRUE(HandBox().Visible());
        Calls().clear();
    }
}

TEST_F(TrayTest, IconThatCannotBeAdded_IsTriedAgainEachSecond) {
    machine.trayIcon.works = false;
    driver->shellIcon.HideAndAddShellIcon();
    EXPECT_FALSE(HandBox().inTray);
    EXPECT_EQ(HandBox().tmrMinimize.Interval(), 1000);
    machine.AdvanceTime(2'100);
    EXPECT_EQ(Calls(), (Texts{"add fails", "add fails", "add fails"}));
    machine.trayIcon.works = true;
    machine.AdvanceTime(1'000);
    EXPECT_TRUE(HandBox().inTray);
    machine.AdvanceTime(4'000);
    EXPECT_EQ(std::ranges::count(Calls(), "add"), 1) << "success stops the timer";
}

TEST_F(TrayTest, IconThatFailsAtTheStart_IsTriedAgainEachSecond) {
    machine.trayIcon.works = false;
    driver->persist.Write(setting::MinimizeStatusWindow, "1");
    driver->panel.UserShow();
    machine.AdvanceTime(3'100);
    EXPECT_EQ(Calls().size(), 4U);
    EXPECT_FALSE(HandBox().Visible());
    machine.trayIcon.works = true;
    machine.AdvanceTime(1'000);
    EXPECT_TRUE(HandBox().inTray);
}

TEST_F(TrayTest, ForcedMinimize_HidesAShownWindowAtTheTick_AndOnlyOnce) {
    HandBox().Show();
    HandBox().bForceMinimize = true;
    HandBox().tmrMinimize.Interval(1000);
    machine.AdvanceTime(1'000);
    EXPECT_FALSE(HandBox().Visible());
    EXPECT_TRUE(HandBox().inTray);
    driver->shellIcon.ShowAndDeleteShellIcon();
    machine.AdvanceTime(5'000);
    EXPECT_TRUE(HandBox().Visible());
}

TEST_F(TrayTest, ShowAndDelete_WithinTheSecond_EndsTheTries) {
    machine.trayIcon.works = false;
    driver->shellIcon.HideAndAddShellIcon();
    driver->shellIcon.ShowAndDeleteShellIcon();
    machine.trayIcon.works = true;
    machine.AdvanceTime(4'000);
    EXPECT_TRUE(HandBox().Visible());
    EXPECT_FALSE(machine.trayIcon.there);
}

TEST_F(TrayTest, ShowAndDelete_WithinTheSecondOfAStartInTheTray_KeepsTheHandBoxShown) {
    driver->persist.Write(setting::MinimizeStatusWindow, "1");
    driver->panel.UserShow();
    driver->shellIcon.ShowAndDeleteShellIcon();
    machine.AdvanceTime(4'000);
    EXPECT_TRUE(HandBox().Visible());
    EXPECT_EQ(Calls(), (Texts{"add", "delete"}));
}

TEST_F(TrayTest, ShowAndDelete_HidesTheStatusWindow_EvenAKeptOne) {
    driver->shellIcon.HideAndAddShellIcon();
    Tell(kPointerOver);
    Status().chkKeepOn.Checked(true);
    driver->shellIcon.ShowAndDeleteShellIcon();
    EXPECT_TRUE(HandBox().Visible());
    EXPECT_FALSE(Status().Visible());
    EXPECT_EQ(Calls(), (Texts{"add", "delete"}));
}

TEST_F(TrayTest, IconIsCheckedEachFiveSeconds_AndPutBackWhenItHasGone) {
    driver->shellIcon.HideAndAddShellIcon();
    machine.AdvanceTime(5'000);
    EXPECT_EQ(Calls(), (Texts{"add", "modify"}));
    machine.trayIcon.there = false;
    machine.AdvanceTime(6'000);
    EXPECT_EQ(Calls(), (Texts{"add", "modify", "modify fails", "add"}));
    EXPECT_TRUE(HandBox().inTray);
}

TEST_F(TrayTest, EndOfTheProcess_DeletesTheIcon_AndSaysSo) {
    driver->shellIcon.HideAndAddShellIcon();
    driver->connections.ShutdownDriver();
    EXPECT_EQ(Calls(), (Texts{"add", "delete"}));
    EXPECT_TRUE(LoggedAs("Driver", 0, "Driver closing..."));
}

TEST_F(TrayTest, EndOfTheProcess_DeletesTheIcon_AlsoWhileTheHandBoxIsShown) {
    HandBox().Show();
    driver->connections.ShutdownDriver();
    EXPECT_EQ(Calls(), Texts{"delete fails"}) << "asked for all the same";
}

TEST_F(TrayTest, AfterTheEnd_NoIconIsAdded) {
    driver->connections.ShutdownDriver();
    Calls().clear();
    driver->shellIcon.HideAndAddShellIcon();
    EXPECT_EQ(Calls(), Texts{});
}

struct TopmostRow {
    const char* ticked;
    bool visible;
    const char* onTop;
    bool announced;
};

TEST_F(TrayTest, Topmost_IsReappliedEachFiveSecondsToAShownWindow) {
    for (const TopmostRow& row : {TopmostRow{"1", true, "1", true}, TopmostRow{"1", true, "0", true},
                                  TopmostRow{"1", false, "1", false}, TopmostRow{"0", true, "1", false}}) {
        SCOPED_TRACE(std::string(row.ticked) + row.onTop);
        driver->persist.Write(setting::mPopTopmost, row.ticked);
        driver->persist.Write(setting::chkAlwaysOnTop, row.onTop);
        driver->tray.ShowOptions();
        HandBox().Visible(row.visible);
        const Announced announced(HandBox(), "");
        machine.AdvanceTime(5'000);
        EXPECT_EQ(announced.Times(Property::Stacked), row.announced ? 1 : 0);
        if (row.announced) {
            EXPECT_EQ(HandBox().AlwaysOnTop(), std::string(row.onTop) != "0");
            EXPECT_EQ(driver->logWindow.AlwaysOnTop(), std::string(row.onTop) != "0");
        }
    }
}

// --- what a person does with the icon

struct HoverRow {
    const char* setting;
    bool handBoxShown;
    bool pops;
};

TEST_F(TrayTest, PointerOverTheIcon_ShowsTheStatusWindowAsTheSettingSays) {
    for (const HoverRow& row : {HoverRow{"0", true, false}, HoverRow{"0", false, false}, HoverRow{"1", true, true},
                                HoverRow{"1", false, true}, HoverRow{"2", true, false}, HoverRow{"2", false, true}}) {
        SCOPED_TRACE(std::string(row.setting) + (row.handBoxShown ? " shown" : " hidden"));
        driver->persist.Write(setting::PopupShowStatus, row.setting);
        HandBox().Visible(row.handBoxShown);
        Tell(kPointerOver);
        EXPECT_EQ(Status().Visible(), row.pops);
        EXPECT_EQ(Status().tmrDisappear.Enabled(), row.pops);
        machine.AdvanceTime(Status().tmrDisappear.Interval());
        EXPECT_FALSE(Status().Visible());
    }
}

TEST_F(TrayTest, Dialogs_KeepTheStatusWindowAwayIfTheyAreModal_AndTheMenuInAnyCase) {
    const std::vector<std::string> noDialogs{"frmHandBox", "frmStatus", "frmLogWindow", "frmHelp", "frmClients"};
    const std::vector<std::string> notModal{"frmAskGotoRaDec", "frmAskGtoAltAz", "frmAskAbortSlew"};
    for (Form* const form : driver->windows.All()) {
        SCOPED_TRACE(form->Name());
        const bool isDialog = std::ranges::find(noDialogs, form->Name()) == noDialogs.end();
        const bool isModal = isDialog && std::ranges::find(notModal, form->Name()) == notModal.end();
        Status().Hide();
        HandBox().mPopupSys.Visible(false);
        form->Show();
        if (form != &Status()) {
            Tell(kPointerOver);
            EXPECT_EQ(Status().Visible(), !isModal);
        }
        Tell(kRightUp);
        EXPECT_EQ(HandBox().mPopupSys.Visible(), !isDialog);
        form->Hide();
    }
}

struct PlaceRow {
    const char* edge;
    ScreenArea tray;
    std::int32_t left, top;
};

TEST_F(TrayTest, StatusWindow_StandsBesideTheTray) {
    Status().Moved({10, 20, 210, 320});  // a view has shown it and tells its size
    const ScreenArea screen{0, 0, 1920, 1080};
    for (const PlaceRow& row :
         {PlaceRow{"bottom", {0, 1040, 1920, 1080}, 1720, 740}, PlaceRow{"top", {0, 0, 1920, 40}, 1720, 40},
          PlaceRow{"left", {0, 0, 60, 1080}, 60, 780}, PlaceRow{"right", {1860, 0, 1920, 1080}, 1660, 780}}) {
        SCOPED_TRACE(row.edge);
        machine.trayIcon.place = TrayIcon::Place{row.tray, screen};
        Tell(kPointerOver);
        EXPECT_EQ(Status().Place(), (Corner{row.left, row.top}));
    }
    machine.trayIcon.place.reset();
    Tell(kPointerOver);
    EXPECT_FALSE(Status().Place()) << "the view knows better";
}

TEST_F(TrayTest, LeftButton_BringsTheHandBoxBack) {
    for (const auto& [message, calls] :
         {std::pair{kLeftUp, Texts{"modify", "delete"}}, std::pair{kDoubleClick, Texts{"delete"}}}) {
        driver->shellIcon.HideAndAddShellIcon();
        Calls().clear();
        Tell(message);
        EXPECT_TRUE(HandBox().Visible());
        EXPECT_FALSE(HandBox().inTray);
        EXPECT_EQ(Calls(), calls);
    }
}

TEST_F(TrayTest, RightButton_OpensTheMenu_EachTime) {
    Tell(kPointerOver);
    const Announced window(HandBox(), "");
    Tell(kRightUp);
    EXPECT_TRUE(HandBox().mPopupSys.Visible());
    EXPECT_FALSE(Status().Visible());
    EXPECT_EQ(window.Times(Property::Front), 1);
    const Announced menu(HandBox(), "mPopupSys");
    Tell(kRightUp);
    EXPECT_EQ(menu.Times(Property::Visible), 2) << "a view that kept it open is told anew";
}

TEST_F(TrayTest, OtherMessages_DoNothing) {
    driver->shellIcon.HideAndAddShellIcon();
    for (const std::int32_t message : {0, 511, kLeftDown, 516, 518}) {
        Tell(message);
    }
    EXPECT_FALSE(HandBox().Visible());
    EXPECT_FALSE(Status().Visible());
    EXPECT_FALSE(HandBox().mPopupSys.Visible());
}

// --- the menu

TEST_F(TrayTest, Menu_HasTheseEntries) {
    const std::pair<const char*, const char*> entries[] = {
        {"mPopRestore", "&Driver Handbox..."},
        {"mPopSetup", "Setup &Telescope..."},
        {"mPopFocuser", "Setup &Focuser..."},
        {"mPopupLogZipper", "Log File &Zipper Utility"},
        {"mPopTimerUtility", "T&imer Utility"},
        {"mPopupJogUtility", "&Jog Utility"},
        {"mPopupPAS", "&Polar Alignment Scope"},
        {"mPopPark", "Park..."},
        {"mPopUnpark", "Unpark..."},
        {"mPopEnableTracking", "Enable Tracking"},
        {"mPopDisableTracking", "Disable Tracking"},
        {"mPopInitializeMount", "Initialize Mount..."},
        {"mPopupShowStatus", "Show Status Window..."},
        {"mPopupShowStatusAlways", "When hovering over system tray icon"},
        {"mPopupShowStatusWhenDriverHidden", "When hovering over system tray icon when driver window hidden"},
        {"mPopShowLogWindow", "Show Log Window"},
        {"mPopTopmost", "&Force driver handbox window to top every 5 seconds"},
        {"mPopHelp", "&Help..."},
    };
    for (const auto& [name, caption] : entries) {
        const Menu* const entry = HandBox().Find<Menu>(name);
        ASSERT_TRUE(entry) << name;
        EXPECT_EQ(entry->Text(), caption);
    }
    EXPECT_TRUE(HandBox().Find<Menu>("mPopupShowStatusNever"));
    EXPECT_TRUE(HandBox().Find<Menu>("mPopExit"));
}

TEST_F(TrayTest, Restore_BringsTheHandBoxToTheFront) {
    driver->shellIcon.HideAndAddShellIcon();
    const Announced announced(HandBox(), "");
    HandBox().mPopRestore.FireClick();
    EXPECT_TRUE(HandBox().Visible());
    EXPECT_EQ(announced.Times(Property::Front), 1);
}

TEST_F(TrayTest, EntriesOfButtons_RestoreTheHandBox_AndPressTheButton) {
    const std::pair<Menu*, ButtonAction> rows[] = {{&HandBox().mPopPark, ButtonAction::Park},
                                                   {&HandBox().mPopUnpark, ButtonAction::Unpark},
                                                   {&HandBox().mPopInitializeMount, ButtonAction::InitNow}};
    for (const auto& [entry, action] : rows) {
        SCOPED_TRACE(entry->Name());
        bool ran = false;
        driver->panel.OnAction(action, [&ran] { ran = true; });
        driver->shellIcon.HideAndAddShellIcon();
        entry->FireClick();
        EXPECT_TRUE(HandBox().Visible());
        machine.AdvanceTime(100);
        EXPECT_TRUE(ran);
    }
}

/// A person may fill in a setup for an hour, and must not hold the call in whose pump the entry was chosen.
TEST_F(TrayTest, SetupEntries_OpenTheirWindows_EachAsALongCallOfItsOwn) {
    driver->InternalInstance();
    struct Row {
        Menu* entry;
        Form* form;
    };
    for (const Row& row :
         {Row{&HandBox().mPopSetup, &driver->initialSetup}, Row{&HandBox().mPopFocuser, &driver->setupFocuser}}) {
        SCOPED_TRACE(row.entry->Name());
        Onlooker view;
        row.form->Attach(view);
        bool otherCallRuns = false;
        bool opened = false;
        InASecond([&] {
            opened = row.form->Visible();
            EXPECT_FALSE(otherCallRuns);
            row.form->Hide();
        });
        machine.pump.Post(CallKind::Brief, [&] {
            otherCallRuns = true;
            row.entry->FireClick();
            machine.pump.PumpMessages();
            otherCallRuns = false;
        });
        machine.AdvanceTime(3'000);
        EXPECT_TRUE(opened);
        EXPECT_FALSE(row.form->Loaded());
        row.form->Detach(view);
    }
}

TEST_F(TrayTest, EntriesThatAskAPerson_WaitForTheEndOfAMoveAheadOfAPark) {
    struct Row {
        const char* name;
        std::function<void()> choose;
        Form* form;
    };
    for (const Row& row :
         {Row{"setup", [&] { HandBox().mPopSetup.FireClick(); }, &driver->initialSetup},
          Row{"focuser", [&] { HandBox().mPopFocuser.FireClick(); }, &driver->setupFocuser},
          Row{"exit", [&] { HandBox().mPopExit.FireClick(); }, &driver->windows.askUserCloseDriver},
          Row{"clients", [&] { HandBox().lblClients.FireDblClick(); }, &driver->windows.askUserCloseDriver}}) {
        SCOPED_TRACE(row.name);
        driver->InternalInstance();
        Onlooker view;
        row.form->Attach(view);
        driver->state.g_bSlewingEast = true;
        row.choose();
        machine.AdvanceTime(2'000);
        EXPECT_FALSE(row.form->Visible());
        driver->state.g_bSlewingEast = false;
        bool opened = false;
        InASecond([&] {
            opened = row.form->Visible();
            row.form->Hide();
        });
        machine.AdvanceTime(3'000);
        EXPECT_TRUE(opened);
        row.form->Detach(view);
    }
}

TEST_F(TrayTest, ChosenEntry_ClosesTheMenu) {
    for (Menu* const entry : {&HandBox().mPopRestore, &HandBox().mPopTopmost, &HandBox().mPopupShowStatusNever,
                              &HandBox().mPopDisableTracking}) {
        Tell(kRightUp);
        ASSERT_TRUE(HandBox().mPopupSys.Visible());
        entry->FireClick();
        EXPECT_FALSE(HandBox().mPopupSys.Visible()) << entry->Name();
    }
}

TEST_F(TrayTest, TrackingEntries_WriteTheTracking) {
    const TelescopeObject telescope = ConnectedTelescope();
    HandBox().mPopDisableTracking.FireClick();
    EXPECT_FALSE(telescope->Tracking());
    EXPECT_TRUE(LoggedAs("ASCOM", 0, "SET Tracking = False"));
    HandBox().mPopEnableTracking.FireClick();
    EXPECT_TRUE(telescope->Tracking());
    EXPECT_TRUE(LoggedAs("ASCOM", 0, "SET Tracking = True"));
    driver->state.g_nScopeObjects = 9;
}

TEST_F(TrayTest, ShowStatusEntries_AreOneChoice_ThatIsKept) {
    const auto ticks = [&] {
        return std::string(HandBox().mPopupShowStatusNever.Checked() ? "0" : "") +
               (HandBox().mPopupShowStatusAlways.Checked() ? "1" : "") +
               (HandBox().mPopupShowStatusWhenDriverHidden.Checked() ? "2" : "");
    };
    EXPECT_EQ(ticks(), "1") << "the default";
    const std::pair<Menu*, const char*> rows[] = {{&HandBox().mPopupShowStatusNever, "0"},
                                                  {&HandBox().mPopupShowStatusWhenDriverHidden, "2"},
                                                  {&HandBox().mPopupShowStatusAlways, "1"}};
    for (const auto& [entry, value] : rows) {
        entry->FireClick();
        EXPECT_EQ(ticks(), value);
        EXPECT_EQ(Setting("PopupShowStatus"), value);
    }
}

TEST_F(TrayTest, LogWindowEntry_Toggles_AndIsKept) {
    HandBox().mPopShowLogWindow.FireClick();
    EXPECT_TRUE(driver->logWindow.Visible());
    EXPECT_TRUE(HandBox().mPopShowLogWindow.Checked());
    EXPECT_EQ(Setting("mPopShowLogWindow"), "1");
    HandBox().mPopShowLogWindow.FireClick();
    EXPECT_FALSE(driver->logWindow.Visible());
    EXPECT_FALSE(HandBox().mPopShowLogWindow.Checked());
    EXPECT_EQ(Setting("mPopShowLogWindow"), "0");
}

TEST_F(TrayTest, LogWindowThatAPersonCloses_UnticksItsEntry_WhichThenOpensIt) {
    HandBox().mPopShowLogWindow.FireClick();
    driver->logWindow.Hide();
    EXPECT_FALSE(HandBox().mPopShowLogWindow.Checked());
    EXPECT_EQ(Setting("mPopShowLogWindow"), "0");
    HandBox().mPopShowLogWindow.FireClick();
    EXPECT_TRUE(driver->logWindow.Visible());
    EXPECT_EQ(Setting("mPopShowLogWindow"), "1");
}

TEST_F(TrayTest, LogWindowThatGoesWithTheLog_OrWithTheDriver_StaysWanted) {
    HandBox().mPopShowLogWindow.FireClick();
    driver->logPanel.Enable(true);
    driver->logPanel.Enable(false);
    EXPECT_FALSE(driver->logWindow.Visible());
    EXPECT_TRUE(HandBox().mPopShowLogWindow.Checked());
    driver->logPanel.Enable(true);
    EXPECT_TRUE(driver->logWindow.Visible());
    driver->windows.UnloadAtShutdown();
    EXPECT_FALSE(driver->logWindow.Visible());
    EXPECT_EQ(Setting("mPopShowLogWindow"), "1");
}

TEST_F(TrayTest, LogWindowThatWasShownWhenTheDriverEnded_ComesBackWithTheHandBox) {
    HandBox().mPopShowLogWindow.FireClick();
    driver->windows.UnloadAtShutdown();
    for (const char* wanted : {"1", "0"}) {
        driver.reset();
        Seed({{"mPopShowLogWindow", wanted}});
        Start();
        HandBox().EnsureLoaded();
        EXPECT_EQ(driver->logWindow.Visible(), std::string(wanted) == "1");
        EXPECT_EQ(HandBox().mPopShowLogWindow.Checked(), driver->logWindow.Visible());
    }
}

TEST_F(TrayTest, LogWindow_StandsAtTheTopRightOfTheHandBox_AboveOthersIfTheSettingSaysSo) {
    for (const char* onTop : {"1", "0"}) {
        driver->persist.Write(setting::chkAlwaysOnTop, onTop);
        driver->logWindow.placeAtTopRight = false;
        HandBox().mPopShowLogWindow.FireClick();
        EXPECT_TRUE(driver->logWindow.placeAtTopRight);
        EXPECT_EQ(driver->logWindow.AlwaysOnTop(), std::string(onTop) == "1");
        HandBox().mPopShowLogWindow.FireClick();
    }
}

TEST_F(TrayTest, TopmostEntry_Toggles_AndIsKept) {
    for (const char* value : {"1", "0"}) {
        HandBox().mPopTopmost.FireClick();
        EXPECT_EQ(HandBox().mPopTopmost.Checked(), std::string(value) == "1");
        EXPECT_EQ(Setting("mPopTopmost"), value);
    }
}

TEST_F(TrayTest, TicksOfTheMenu_ComeFromTheSettings) {
    driver.reset();
    Seed({{"mPopTopmost", "1"}, {"mPopShowLogWindow", "1"}, {"PopupShowStatus", "0"}});
    Start();
    HandBox().EnsureLoaded();
    EXPECT_TRUE(HandBox().mPopTopmost.Checked());
    EXPECT_TRUE(HandBox().mPopShowLogWindow.Checked());
    EXPECT_TRUE(HandBox().mPopupShowStatusNever.Checked());
    EXPECT_FALSE(HandBox().mPopupShowStatusAlways.Checked());
}

// --- the end of the process

TEST_F(TrayTest, CloseOfTheDriver_GoesByItsSteps) {
    const TelescopeObject telescope = ConnectedTelescope();
    driver->shellIcon.HideAndAddShellIcon();
    Onlooker view;
    driver->windows.askUserCloseDriver.Attach(view);
    InASecond([&] { driver->windows.askUserCloseDriver.btnOK.FireClick(); });
    log.clear();
    HandBox().lblClients.FireDblClick();
    machine.AdvanceTime(3'000);
    const auto at = [&](std::string_view message) {
        return std::ranges::find(log, message, &LogLine::message) - log.begin();
    };
    EXPECT_TRUE(LoggedAs("Driver", 0, "User closed driver with connections open..."));
    EXPECT_TRUE(LoggedAs("Driver", 0, "Driver closing..."));
    EXPECT_LT(at("User closed driver with connections open..."), at("Driver closing..."));
    EXPECT_FALSE(driver->link->Connected());
    EXPECT_FALSE(machine.trayIcon.there);
    EXPECT_FALSE(HandBox().Loaded());
    EXPECT_EQ(machine.processes.ends, 1);
    driver->windows.askUserCloseDriver.Detach(view);
    driver->state.g_nScopeObjects = 9;
}

TEST_F(TrayTest, CloseOfTheDriver_TellsOfNoClients_WhereThereIsNoObjectAtAll) {
    driver->state.g_nScopeObjects = 0;
    driver->state.g_nFocuserObjects = 0;
    Onlooker view;
    std::string text;
    driver->windows.askUserCloseDriver.Attach(view);
    InASecond([&] {
        text = driver->windows.askUserCloseDriver.lblMessage.Text();
        driver->windows.askUserCloseDriver.btnCancel.FireClick();
    });
    HandBox().mPopExit.FireClick();
    machine.AdvanceTime(3'000);
    EXPECT_TRUE(text.starts_with("Clients connected: 0 of the telescope, 0 of the focuser.")) << text;
    driver->windows.askUserCloseDriver.Detach(view);
}

TEST_F(TrayTest, CloseOfTheDriver_ThatIsCancelled_DoesNothing) {
    const TelescopeObject telescope = ConnectedTelescope();
    Onlooker view;
    driver->windows.askUserCloseDriver.Attach(view);
    InASecond([&] { driver->windows.askUserCloseDriver.btnCancel.FireClick(); });
    HandBox().mPopExit.FireClick();
    machine.AdvanceTime(3'000);
    EXPECT_FALSE(driver->windows.askUserCloseDriver.Loaded()) << "it was asked";
    EXPECT_TRUE(driver->link->Connected());
    EXPECT_EQ(machine.processes.ends, 0);
    EXPECT_FALSE(Logged("User closed driver"));
    driver->windows.askUserCloseDriver.Detach(view);
    driver->state.g_nScopeObjects = 9;
}

TEST_F(TrayTest, CloseOfTheDriver_StopsAnAxisBeforeTheLinkGoes) {
    const TelescopeObject telescope = ConnectedTelescope();
    telescope->MoveAxis(1, 0.5);
    Onlooker view;
    driver->windows.askUserCloseDriver.Attach(view);
    InASecond([&] { driver->windows.askUserCloseDriver.btnOK.FireClick(); });
    HandBox().mPopExit.FireClick();
    machine.AdvanceTime(3'000);
    EXPECT_NEAR(mount->Picture().polarSpeed, 0.0, 1e-9);
    driver->windows.askUserCloseDriver.Detach(view);
    driver->state.g_nScopeObjects = 9;
}

}  // namespace
}  // namespace kestrane
