#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "settings/setting_keys.h"
#include "views/mirror/mirror_fixture.h"

namespace kestrane::mirror {
namespace {

// --- what a view is shown

TEST_F(MirrorTest, NewView_GetsAWelcomeAndASnapshotOfTheOpenWindows) {
    HandBox().lblRA.Text("12:34:56");
    HandBox().lblLST.Text("7:00:00");
    driver->windows.park1Warning.Show();
    id = Open();
    const Texts got = view->Take();
    ASSERT_EQ(got.size(), 2U);
    EXPECT_EQ(got[0], R"({"type":"welcome","protocol":1,"version":"1.2","process":"p","may":"all"})");
    EXPECT_TRUE(got[1].starts_with(R"({"type":"snapshot","forms":[{"name":"frmHandBox","opening":0,"caption":)"));
    EXPECT_TRUE(Has(got[1], R"({"name":"lblRA","kind":"Label","enabled":true,"visible":true,"look":"normal","tip":)"));
    EXPECT_TRUE(Has(got[1], R"("text":"12:34:56","acts":"click"})")) << "it changes its form by a click";
    EXPECT_TRUE(Has(got[1], R"("text":"7:00:00"})")) << "only looked at";
    EXPECT_TRUE(Has(got[1], R"({"name":"frmPark1Warning",)"));
    EXPECT_FALSE(Has(got[1], "frmInitialSetup")) << "it is not open";
    EXPECT_FALSE(Has(got[1], "tmrQueryRaDecAltAz")) << "timers are nobody's business";
}

TEST_F(MirrorTest, HandBoxThatNobodyHasLoaded_IsLoadedForAView) {
    HandBox().Unload();
    id = Open();
    EXPECT_FALSE(HandBox().Loaded()) << "it may fill itself from the settings, which is no look";
    machine.AdvanceTime(0);
    EXPECT_TRUE(HandBox().Loaded());
    EXPECT_FALSE(HandBox().Visible());
}

TEST_F(MirrorTest, EachKindOfControl_HasItsMembers) {
    id = Open();
    const std::string snapshot = view->Take().at(1);
    for (const char* part : {
             R"x({"name":"btnMove(4)","kind":"Button",)x",
             R"("press":"held"})",
             R"({"name":"chkSwapEW","kind":"CheckBox",)",
             R"({"name":"radFocusFast","kind":"OptionButton",)",
             R"("group":"focusSpeed"})",
             R"({"name":"cbxParkTo","kind":"ComboBox",)",
             R"("items":[)",
             R"({"name":"hscrReticleBrightness","kind":"ScrollBar",)",
             R"("minimum":)",
             R"({"name":"mPopPark","kind":"Menu",)",
         }) {
        EXPECT_TRUE(Has(snapshot, part)) << part;
    }
}

TEST_F(MirrorTest, Changes_ComeInBatches_WithTheLastValueOnly) {
    id = Open();
    machine.AdvanceTime(100);
    view->Take();
    for (int i = 0; i < 100; ++i) {
        HandBox().lblRA.Text(std::to_string(i));
    }
    HandBox().lblRA.BackColour(255);
    HandBox().cbxParkTo.ListItems({"a", "b"});
    HandBox().Caption("New");
    EXPECT_EQ(view->Take(), Texts{});
    machine.AdvanceTime(50);
    EXPECT_EQ(view->Take(), Texts{R"({"type":"changes","changes":[["frmHandBox","","caption","New"],)"
                                  R"(["frmHandBox","lblRA","text","99"],["frmHandBox","lblRA","look","warning"],)"
                                  R"(["frmHandBox","cbxParkTo","items",["a","b"]],)"
                                  R"(["frmHandBox","cbxParkTo","index",-1]]})"});
    machine.AdvanceTime(50);
    EXPECT_EQ(view->Take(), Texts{}) << "nothing changed";
}

TEST_F(MirrorTest, Window_ComesWholeWhenItOpens_AndGoesWhenItCloses) {
    id = Open();
    machine.AdvanceTime(100);
    view->Take();
    frmPark1Warning& warning = driver->windows.park1Warning;
    warning.IsModal(true);
    warning.Show();
    machine.AdvanceTime(50);
    Texts got = view->Take();
    ASSERT_EQ(got.size(), 1U);
    EXPECT_TRUE(got[0].starts_with(R"({"type":"changes","changes":[["frmPark1Warning","","opened",)"));
    EXPECT_TRUE(Has(got[0], R"("modal":true)"));
    warning.chkDontShowAgain.Checked(true);
    warning.Hide();
    machine.AdvanceTime(50);
    EXPECT_EQ(view->Take(), Texts{R"({"type":"changes","changes":[["frmPark1Warning","","closed",true]]})"});
    warning.Unload();
}

TEST_F(MirrorTest, WindowThatClosesAndOpensAtOnce_IsAnotherOne) {
    frmAskAbortSlew& abort = driver->askAbortSlew;
    abort.Show();
    id = Open();
    machine.AdvanceTime(100);
    view->Take();
    const std::string yesToTheFirst = On("click", "frmAskAbortSlew", "btnOK");
    abort.Hide();
    abort.Show();
    int pressed = 0;
    abort.btnOK.OnClick([&] { ++pressed; });
    EXPECT_EQ(AnswerTo(yesToTheFirst), Refused("There is no such control in an open window."));
    machine.AdvanceTime(100);
    const Texts got = view->Take();
    ASSERT_EQ(got.size(), 1U);
    EXPECT_TRUE(Has(got[0], R"(["frmAskAbortSlew","","closed",true],["frmAskAbortSlew","","opened",{)")) << got[0];
    EXPECT_TRUE(Has(got[0], R"("opening":2)"));
    EXPECT_EQ(pressed, 0);
    EXPECT_EQ(AnswerTo(On("click", "frmAskAbortSlew", "btnOK")), kHeard);
    EXPECT_EQ(pressed, 1);
    abort.Hide();
}

TEST_F(MirrorTest, Beat_ComesFourTimesASecond) {
    id = Open();
    machine.AdvanceTime(1'000);
    EXPECT_EQ(view->beats, 5) << "the first one at once";
}

TEST_F(MirrorTest, ViewThatTakesNothing_GetsNothingMoreThanBeats_ThenASnapshot_AndIsClosedInTheEnd) {
    id = Open();
    view->Take();
    view->unsent = Mirror::kMostUnsent + 1;
    HandBox().lblRA.Text("1");
    machine.AdvanceTime(20'000);
    EXPECT_EQ(view->Take(), Texts{});
    view->unsent = 1;
    machine.AdvanceTime(100);
    EXPECT_EQ(view->Take(), Texts{}) << "not before it has taken all";
    view->unsent = 0;
    machine.AdvanceTime(100);
    EXPECT_TRUE(view->Take().at(0).starts_with(R"({"type":"snapshot")"));
    view->unsent = Mirror::kMostUnsent + 1;
    machine.AdvanceTime(Mirror::kLongestJamMs + 100);
    EXPECT_FALSE(view->open);
    EXPECT_EQ(mirror->ViewCount(), 0U);
}

TEST_F(MirrorTest, View_KeepsTheDriver_WhereItAsksForIt) {
    id = mirror->Open(view, May::All, Keeps::Nothing);
    EXPECT_FALSE(mirror->AnyKeepsDriver());
    EXPECT_EQ(AnswerTo(R"("do":"keep","id":7)"), kHeard);
    EXPECT_TRUE(mirror->AnyKeepsDriver());
}

TEST_F(MirrorTest, Stream_IsSentFromTheNumberThatIsWanted_AndGoesOn) {
    RichTextBox& log = driver->logWindow.rtbLog;
    for (const char* text : {"one", "two", "three"}) {
        log.Append(text, 0x0000FF);
    }
    id = Open();
    view->Take();
    machine.AdvanceTime(1'000);
    view->Take();
    mirror->Received(id, R"({"do":"lines","stream":"frmLogWindow.rtbLog","from":2})");
    machine.AdvanceTime(50);
    EXPECT_EQ(view->Take(), Texts{R"({"type":"lines","stream":"frmLogWindow.rtbLog","first":2,)"
                                  R"("lines":[["two","#ff0000"],["three","#ff0000"]]})"});
    log.Append("four", 0xFF0000);
    log.KeepLast(4);
    log.Append("five", 0);
    machine.AdvanceTime(50);
    const Texts got = view->Take();
    ASSERT_FALSE(got.empty());
    EXPECT_EQ(got.back(), R"({"type":"lines","stream":"frmLogWindow.rtbLog","first":4,)"
                          R"("lines":[["four","#0000ff"],["five","#000000"]]})");
    EXPECT_EQ(AnswerTo(R"("do":"lines","stream":"frmLogWindow.btnNone","id":7)"), Refused("There is no such stream."));
}

TEST_F(MirrorTest, StopWithoutAView_StopsAll_AndThenTells) {
    const TelescopeObject telescope = ConnectedTelescope();
    machine.AdvanceTime(1'000);
    const int before = TimesSent("Q");
    int sentWhenTold = 0;
    mirror->Stop([&] { sentWhenTold = TimesSent("Q"); });
    machine.AdvanceTime(100);
    EXPECT_EQ(sentWhenTold, before + 1);
}

TEST_F(MirrorTest, End_IsTold) {
    id = Open();
    view->Take();
    mirror->SayEnd(EndReason::Clients);
    EXPECT_EQ(view->Take(), Texts{R"({"type":"end","why":"clients"})"});
}

// --- what a person does

TEST_F(MirrorTest, Change_WritesTheValue_AsAPersonDoes) {
    id = Open();
    EXPECT_EQ(AnswerTo(OnHandBox("change", "txtSlewEastFirstHours") + R"(,"value":"7")"), kHeard);
    EXPECT_EQ(HandBox().txtSlewEastFirstHours.Text(), "7");
    EXPECT_EQ(AnswerTo(OnHandBox("change", "chkSwapEW") + R"(,"value":true)"), kHeard);
    EXPECT_TRUE(HandBox().chkSwapEW.Checked());
    HandBox().cbxMoveRate.ListItems({"slow", "fast"});
    EXPECT_EQ(AnswerTo(OnHandBox("change", "cbxMoveRate") + R"(,"value":1)"), kHeard);
    EXPECT_EQ(HandBox().cbxMoveRate.ListIndex(), 1);
    EXPECT_EQ(AnswerTo(OnHandBox("change", "radFocusSlow") + R"(,"value":true)"), kHeard);
    EXPECT_TRUE(HandBox().radFocusSlow.Checked());
}

TEST_F(MirrorTest, WhatAReportHasChanged_ComesBeforeItsAnswer) {
    id = Open();
    machine.AdvanceTime(100);
    view->Take();
    Report(OnHandBox("change", "chkSwapEW") + R"(,"value":true)");
    machine.AdvanceTime(0);
    const Texts got = view->Take();
    ASSERT_EQ(got.size(), 2U);
    EXPECT_TRUE(Has(got[0], R"(["frmHandBox","chkSwapEW","checked",true])")) << got[0];
    EXPECT_EQ(got[1], kHeard);
}

TEST_F(MirrorTest, ValueThatTheControlCannotHave_IsRefused) {
    id = Open();
    const std::string refused = Refused("The control cannot have that value.");
    for (const auto& [control, value] : std::vector<std::pair<std::string, std::string>>{
             {"txtSlewEastFirstHours", "7"},
             {"chkSwapEW", R"("yes")"},
             {"cbxMoveRate", "-1"},
             {"cbxMoveRate", "99"},
             {"radFocusSlow", "false"},
             {"hscrReticleBrightness", "1000"},
             {"btnPark", "true"},
             {"lblRA", R"("x")"},
         }) {
        driver->handBox.hscrReticleBrightness.Enabled(true);
        driver->handBox.hscrReticleBrightness.Visible(true);
        driver->handBox.btnPark.Enabled(true);
        EXPECT_EQ(AnswerTo(OnHandBox("change", control) + R"(,"value":)" + value), refused) << control << value;
    }
}

TEST_F(MirrorTest, Click_PressesAButton) {
    id = Open();
    int clicks = 0;
    int doubleClicks = 0;
    HandBox().btnHelpParkUnpark.OnClick([&] { ++clicks; });
    HandBox().btnHelpParkUnpark.Enabled(true);
    HandBox().lblClients.OnDblClick([&] { ++doubleClicks; });
    EXPECT_EQ(AnswerTo(OnHandBox("click", "btnHelpParkUnpark")), kHeard);
    EXPECT_EQ(clicks, 1);
    EXPECT_EQ(AnswerTo(OnHandBox("dblclick", "lblClients")), kHeard);
    EXPECT_EQ(doubleClicks, 1);
    EXPECT_EQ(AnswerTo(OnHandBox("click", "chkSwapEW")), Refused("The control is not used in that way."));
    EXPECT_EQ(AnswerTo(OnHandBox("click", "btnMove(1)")), Refused("The control is not used in that way."));
}

TEST_F(MirrorTest, WhatCannotBeUsed_IsRefused) {
    id = Open();
    HandBox().btnHelpParkUnpark.Enabled(false);
    EXPECT_EQ(AnswerTo(OnHandBox("click", "btnHelpParkUnpark")), Refused("The control cannot be used now."));
    HandBox().btnHelpParkUnpark.Enabled(true);
    HandBox().btnHelpParkUnpark.Visible(false);
    EXPECT_EQ(AnswerTo(OnHandBox("click", "btnHelpParkUnpark")), Refused("The control cannot be used now."));
    const std::string none = Refused("There is no such control in an open window.");
    EXPECT_EQ(AnswerTo(OnHandBox("click", "btnNone")), none);
    EXPECT_EQ(AnswerTo(OnHandBox("click", "tmrMinimize")), none);
    EXPECT_EQ(AnswerTo(On("click", "frmNone", "btnOK")), none);
    EXPECT_EQ(AnswerTo(On("click", "frmAskPark", "btnOK")), none) << "it is not open";
    EXPECT_EQ(AnswerTo(R"("do":"close","form":"frmAskPark","id":7)"), Refused("That window has closed."));
    EXPECT_EQ(AnswerTo(R"("do":"icon","message":"throw","id":7)"),
              Refused("The message is not what the protocol describes."));
}

TEST_F(MirrorTest, PressThatComesLate_IsRefused) {
    id = Open();
    HandBox().btnHelpParkUnpark.Enabled(true);
    int clicks = 0;
    HandBox().btnHelpParkUnpark.OnClick([&] { ++clicks; });
    const std::uint64_t beat = view->newestBeat;
    const auto press = [&](std::uint64_t quoted) {
        mirror->Received(id,
                         "{" + OnHandBox("click", "btnHelpParkUnpark") + R"(,"beat":)" + std::to_string(quoted) + "}");
        machine.AdvanceTime(0);
    };
    machine.AdvanceTime(1'000);
    press(beat);
    EXPECT_EQ(clicks, 1);
    machine.AdvanceTime(100);
    press(beat);
    press(0);
    press(beat + 1'000);
    mirror->Received(id, "{" + OnHandBox("click", "btnHelpParkUnpark") + "}");
    machine.AdvanceTime(0);
    EXPECT_EQ(clicks, 1);
    EXPECT_EQ(view->Take().back(), Refused("The press came too late to be sure that it is still meant."));
}

TEST_F(MirrorTest, ARowThatIsSelected_CanBeClickedAgain) {
    frmAskGotoRaDec& window = driver->windows.askGotoRaDec;
    window.Show();
    window.lvwRaDec.ListItems({"Vega\t1\t2", "Deneb\t3\t4"});
    int clicks = 0;
    window.lvwRaDec.OnClick([&] { ++clicks; });
    Open();
    machine.AdvanceTime(500);
    for (int times = 1; times <= 2; ++times) {
        EXPECT_EQ(AnswerTo(On("change", "frmAskGotoRaDec", "lvwRaDec") + R"(,"value":1)"), kHeard);
        EXPECT_EQ(clicks, times);
    }
}

TEST_F(MirrorTest, ViewThatMayOnlyStop_PressesWhatStops_HoweverOldItsBeatIs) {
    driver->statusWindow.Show();
    id = Open(May::OnlyStop);
    machine.AdvanceTime(500);
    EXPECT_EQ(AnswerTo(On("click", "frmStatus", "cmdStopAll")), kHeard);
    EXPECT_EQ(AnswerTo(OnHandBox("hold", "btnMove(4)") + R"(,"hold":1)"), kHeard);
    EXPECT_EQ(AnswerTo(OnHandBox("hold", "btnMove(1)") + R"(,"hold":2)"),
              Refused("This view may look and stop, and nothing else."));
    view->Take();
    mirror->Received(id, "{" + On("click", "frmStatus", "cmdStopAll") + "}");
    machine.AdvanceTime(0);
    EXPECT_EQ(view->Take(), (Texts{kHeard, R"({"type":"released","hold":1})"}));
}

/// Nobody is there who could answer.
TEST_F(MirrorTest, AQuestion_DoesNotWaitForAViewThatMayOnlyStop) {
    id = Open(May::OnlyStop);
    machine.AdvanceTime(500);
    EXPECT_FALSE(driver->windows.askUnpark.HasPerson());
    EXPECT_TRUE(driver->windows.askUnpark.HasView());
    bool over = false;
    machine.pump.Post(CallKind::WaitsLong, [&] {
        driver->modal.ShowModal(driver->windows.askSwapEWNS);
        over = true;
    });
    machine.AdvanceTime(1'000);
    EXPECT_TRUE(over);
}

TEST_F(MirrorTest, ViewThatTakesNothing_MayOutliveTheMirrorInThePump) {
    Open();
    machine.AdvanceTime(500);
    view->open = false;
    mirror->Tick();
    mirror.reset();
    ticks.reset();
    machine.AdvanceTime(1'000);
    EXPECT_FALSE(driver->windows.handBox.HasView());
}

TEST_F(MirrorTest, ViewThatMayOnlyStop_IsRefusedAllElse) {
    HandBox().Show();
    id = Open(May::OnlyStop);
    EXPECT_TRUE(Has(view->Take().at(0), R"("may":"stop")"));
    for (const std::string& report :
         {OnHandBox("click", "btnHelpParkUnpark"), OnHandBox("dblclick", "lblClients"),
          OnHandBox("change", "chkSwapEW") + R"(,"value":true)", OnHandBox("hold", "btnMove(1)") + R"(,"hold":1)",
          std::string(R"("do":"close","form":"frmHandBox","id":7)"),
          std::string(R"("do":"icon","message":"left","id":7)"),
          std::string(R"("do":"place","form":"frmHandBox","at":[1,2,3,4],"id":7)"),
          std::string(R"("do":"tray","at":[1,2,3,4],"screen":[1,2,3,4],"id":7)")}) {
        EXPECT_EQ(AnswerTo(report), Refused("This view may look and stop, and nothing else.")) << report;
    }
    EXPECT_EQ(AnswerTo(R"("do":"stop","id":7)"), kHeard);
}

TEST_F(MirrorTest, Close_CancelsADialog_AndHidesOtherWindows) {
    id = Open();
    EXPECT_EQ(AnswerTo(R"("do":"close","form":"frmHandBox","id":7)"), kHeard);
    EXPECT_FALSE(HandBox().Visible());
    EXPECT_TRUE(HandBox().inTray);
    frmAskAbortSlew& abort = driver->askAbortSlew;
    bool cancelled = false;
    abort.btnCancel.OnClick([&] { cancelled = true; });
    abort.Show();
    EXPECT_EQ(AnswerTo(On("close", "frmAskAbortSlew", "")), kHeard);
    EXPECT_TRUE(cancelled);
    abort.Hide();
}

TEST_F(MirrorTest, WhatAPersonDoesWithTheIcon_IsPassedOn) {
    id = Open();
    for (const char* message : {"over", "left", "double", "right"}) {
        EXPECT_EQ(AnswerTo(R"("do":"icon","id":7,"message":")" + std::string(message) + '"'), kHeard);
    }
    EXPECT_EQ(iconMessages, (std::vector<std::int32_t>{512, 514, 515, 517}));
}

TEST_F(MirrorTest, TheTrayOfAView_IsNoted) {
    id = Open();
    EXPECT_EQ(AnswerTo(R"("do":"tray","at":[0,1040,1920,1080],"screen":[0,0,1920,1080],"id":7)"), kHeard);
    EXPECT_EQ(trayAt.first, (ScreenArea{0, 1040, 1920, 1080}));
    EXPECT_EQ(trayAt.second, (ScreenArea{0, 0, 1920, 1080}));
}

/// A window of the desktop that was moved stands there again at the next start.
TEST_F(MirrorTest, ThePlaceOfTheHandBox_IsKept) {
    id = Open();
    EXPECT_EQ(AnswerTo(R"("do":"place","form":"frmHandBox","at":[30,40,430,640],"id":7)"), kHeard);
    machine.AdvanceTime(500);
    EXPECT_EQ(driver->persist.Read(setting::FormLeft), "30");
    EXPECT_EQ(driver->persist.Read(setting::FormTop), "40");
    EXPECT_EQ(AnswerTo(R"("do":"place","form":"frmAskPark","at":[30,40,430,640],"id":7)"),
              Refused("That window has closed."));
}

TEST_F(MirrorTest, TheSizeOfTheStatusWindow_IsNoted) {
    id = Open();
    driver->statusWindow.Show();
    EXPECT_EQ(AnswerTo(R"("do":"place","form":"frmStatus","opening":)" + OpeningOf("frmStatus") +
                       R"(,"at":[30,40,230,340],"id":7)"),
              kHeard);
    EXPECT_EQ(driver->statusWindow.width, 200);
    EXPECT_EQ(driver->statusWindow.height, 300);
}

TEST_F(MirrorTest, AWindowThatHasAPlace_IsToldWithIt) {
    driver->statusWindow.Show();
    id = Open();
    EXPECT_FALSE(Has(view->Take().at(1), R"("place")"));
    driver->statusWindow.Place(Corner{1720, -740});
    machine.AdvanceTime(100);
    EXPECT_EQ(view->Take(), (Texts{R"({"type":"changes","changes":[["frmStatus","","place",[1720,-740]]]})"}));
    mirror->Received(id, R"({"do":"snapshot"})");
    machine.AdvanceTime(100);
    EXPECT_TRUE(Has(view->Take().at(0), R"("onTop":false,"place":[1720,-740],"controls")"));
}

TEST_F(MirrorTest, BadMessages_AreRefused_AndCloseTheViewAfterAHundred) {
    id = Open();
    for (int i = 0; i < 99; ++i) {
        mirror->Received(id, "rubbish");
        EXPECT_TRUE(view->open);
    }
    EXPECT_EQ(view->Take().back(),
              R"({"type":"refused","id":0,"why":"The message is not what the protocol describes."})");
    mirror->Received(id, "rubbish");
    EXPECT_FALSE(view->open);
}

}  // namespace
}  // namespace kestrane::mirror
