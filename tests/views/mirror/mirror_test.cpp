#include "views/mirror/mirror.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "settings/setting_keys.h"
#include "support/driver_fixture.h"

namespace kestrane::mirror {
namespace {

using Texts = std::vector<std::string>;

/// A view without a network: keeps what it gets.
class FakeTransport final : public Transport {
public:
    void Send(std::string message) override {
        if (message.starts_with(R"({"type":"beat")")) {
            newestBeat = std::stoull(message.substr(message.find_last_of(':') + 1));
            ++beats;
        } else {
            got.push_back(std::move(message));
        }
    }
    std::size_t Unsent() const override { return unsent; }
    bool IsOpen() const override { return open; }
    void Close() override { open = false; }

    /// What came since the last call, but for beats.
    Texts Take() { return std::exchange(got, {}); }

    Texts got;
    std::size_t unsent = 0;
    bool open = true;
    std::uint64_t newestBeat = 0;
    int beats = 0;
};

bool Has(const std::string& text, std::string_view part) {
    return text.find(part) != std::string::npos;
}

class MirrorTest : public DriverFixture {
protected:
    void SetUp() override {
        Start();
        HandBox().Show();
        mirror = std::make_unique<Mirror>(MirrorNeeds{
            .pump = machine.pump,
            .clock = machine.clock,
            .windows = driver->windows,
            .heldButtons = driver->heldButtons,
            .stopAll = [this] { driver->statusPanel.AskToStop(); },
            .passOnToIcon = [this](std::int32_t message) { iconMessages.push_back(message); },
            .noteTray =
                [this](const ScreenArea& tray, const ScreenArea& screen) {
                    trayAt = {tray, screen};
                },
            .version = "1.2",
            .process = "p",
        });
        ticks = machine.pump.CreateTimer([this] { mirror->Tick(); });
        ticks->SetInterval(Mirror::kBatchMs);
        ticks->SetEnabled(true);
    }
    void TearDown() override {
        ticks.reset();
        mirror.reset();
        DriverFixture::TearDown();
    }

    frmHandBox& HandBox() { return driver->handBox; }

    Mirror::ViewId Open(May may = May::All) { return mirror->Open(view, may); }

    /// Sends a report that quotes the newest beat; what its handler posts has run when this returns.
    void Report(std::string members) {
        members += R"(,"beat":)" + std::to_string(view->newestBeat) + "}";
        mirror->Received(id, "{" + members);
        machine.AdvanceTime(0);
    }
    std::string On(std::string_view deed, std::string_view form, std::string_view control) const {
        return R"("do":")" + std::string(deed) + R"(","form":")" + std::string(form) + R"(","opening":)" +
               OpeningOf(form) + R"(,"control":")" + std::string(control) + R"(","id":7)";
    }
    /// The newest one.
    std::string OpeningOf(std::string_view name) const {
        const auto all = driver->windows.All();
        const auto form = std::ranges::find_if(all, [name](const Form* each) { return each->Name() == name; });
        const bool isAlwaysThere = form == all.end() || *form == &driver->handBox || *form == &driver->windows.sky;
        return isAlwaysThere ? "0" : std::to_string((*form)->Openings());
    }
    std::string OnHandBox(std::string_view deed, std::string_view control) const {
        return On(deed, "frmHandBox", control);
    }
    std::string AnswerTo(const std::string& members) {
        view->Take();
        Report(members);
        const Texts answers = view->Take();
        const auto found = std::ranges::find_if(answers, [](const std::string& text) { return Has(text, R"("id":)"); });
        return found == answers.end() ? "" : *found;
    }

    std::shared_ptr<FakeTransport> view = std::make_shared<FakeTransport>();
    std::unique_ptr<Mirror> mirror;
    std::unique_ptr<PumpTimer> ticks;
    std::vector<std::int32_t> iconMessages;
    std::pair<ScreenArea, ScreenArea> trayAt;
    Mirror::ViewId id = 1;
};

const std::string kHeard = R"({"type":"heard","id":7})";

std::string Refused(std::string_view why) {
    return R"({"type":"refused","id":7,"why":")" + std::string(why) + R"("})";
}

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
    mirror->Closed(id);
    id = mirror->Open(view, May::OnlyStop, Keeps::Nothing);
    Report(R"("do":"keep","id":7)");
    EXPECT_FALSE(mirror->AnyKeepsDriver()) << "who may only stop keeps nothing";
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

// --- holds

class MirrorHoldTest : public MirrorTest {
protected:
    void SetUp() override {
        MirrorTest::SetUp();
        telescope = ConnectedTelescope();
        id = Open();
        machine.AdvanceTime(500);
    }
    void TearDown() override {
        telescope = {};
        MirrorTest::TearDown();
    }
    void HoldNorth(int hold) { Report(OnHandBox("hold", "btnMove(1)") + R"(,"hold":)" + std::to_string(hold)); }
    /// The view answers each beat, as one does that is alive.
    void Live(int milliseconds, int hold) {
        for (int ms = 0; ms < milliseconds; ms += 250) {
            machine.AdvanceTime(250);
            Beat(hold, view->newestBeat);
        }
    }
    void Beat(int hold, std::uint64_t quoted) {
        mirror->Received(
            id, R"({"do":"beat","hold":)" + std::to_string(hold) + R"(,"beat":)" + std::to_string(quoted) + "}");
    }
    int Starts() { return TimesSent("Mn"); }
    static Texts ReleasedAmong(Texts got) {
        std::erase_if(got, [](const std::string& text) { return !Has(text, "released"); });
        return got;
    }
    static std::string Released(int hold) { return R"({"type":"released","hold":)" + std::to_string(hold) + "}"; }
    bool Moves() { return std::abs(mount->Picture().polarSpeed) > 1e-6; }

    TelescopeObject telescope;
};

TEST_F(MirrorHoldTest, HeldButton_MovesTheMount_UntilItIsReleased) {
    HoldNorth(1);
    Live(5'000, 1);
    EXPECT_TRUE(Moves());
    mirror->Received(id, R"({"do":"release","hold":1})");
    machine.AdvanceTime(1'500);
    EXPECT_FALSE(Moves());
    EXPECT_EQ(Starts(), 1);
}

TEST_F(MirrorHoldTest, ASecondOfSilence_EndsAHold_AndLaterBeatsOfItDoNothing) {
    HoldNorth(1);
    Live(1'000, 1);
    EXPECT_TRUE(Moves());
    machine.AdvanceTime(2'500);
    EXPECT_FALSE(Moves());
    Live(2'000, 1);
    EXPECT_FALSE(Moves());
    view->Take();
    HoldNorth(1);
    EXPECT_EQ(view->Take().back(), Refused("The button is not held any more."));
    HoldNorth(2);
    Live(1'000, 2);
    EXPECT_TRUE(Moves());
}

TEST_F(MirrorHoldTest, WhatEndsAHold_ButTheViewItself_IsTold) {
    HoldNorth(1);
    Live(1'000, 1);
    HoldNorth(2);
    Live(1'000, 2);
    EXPECT_EQ(ReleasedAmong(view->Take()), Texts{}) << "it holds something else";
    machine.AdvanceTime(2'500);
    EXPECT_EQ(ReleasedAmong(view->Take()), Texts{Released(2)}) << "silence";
    HoldNorth(3);
    Live(1'000, 3);
    driver->heldButtons.ReleaseAll();
    EXPECT_EQ(ReleasedAmong(view->Take()), Texts{Released(3)});
    HoldNorth(4);
    Live(1'000, 4);
    mirror->Received(id, R"({"do":"release","hold":4})");
    machine.AdvanceTime(1'500);
    EXPECT_EQ(ReleasedAmong(view->Take()), Texts{}) << "it has let go itself";
    EXPECT_FALSE(Moves());
}

/// They come late over a line that gets slower and slower, and so would the release.
TEST_F(MirrorHoldTest, BeatsThatQuoteAnOldOne_KeepNothing) {
    HoldNorth(1);
    const std::uint64_t old = view->newestBeat;
    for (int ms = 0; ms < 4'000; ms += 250) {
        machine.AdvanceTime(250);
        Beat(1, old);
    }
    EXPECT_FALSE(Moves());
    EXPECT_EQ(Starts(), 1);
}

TEST_F(MirrorHoldTest, BeatsOfAnotherHold_KeepNothing) {
    HoldNorth(3);
    Live(3'000, 2);
    EXPECT_FALSE(Moves());
    EXPECT_EQ(Starts(), 1);
}

TEST_F(MirrorHoldTest, ViewThatGoes_ReleasesWhatItHolds) {
    HoldNorth(1);
    Live(1'000, 1);
    EXPECT_TRUE(Moves());
    machine.pump.Run(CallKind::Stop, [&] { mirror->Closed(id); });
    machine.AdvanceTime(1'000);
    EXPECT_FALSE(Moves());
    EXPECT_EQ(mirror->ViewCount(), 0U);
}

TEST_F(MirrorHoldTest, ReleaseBeforeItsTurn_WithdrawsThePress) {
    const std::string press =
        "{" + OnHandBox("hold", "btnMove(1)") + R"(,"hold":1,"beat":)" + std::to_string(view->newestBeat) + "}";
    mirror->Received(id, press);
    mirror->Received(id, R"({"do":"release","hold":1})");
    machine.AdvanceTime(2'000);
    EXPECT_EQ(Starts(), 0);
    const Texts answers = view->Take();
    EXPECT_NE(std::ranges::find(answers, Refused("The button is not held any more.")), answers.end());
}

TEST_F(MirrorHoldTest, Stop_StopsWhatIsHeld_AndIsHeard) {
    HoldNorth(1);
    Live(1'000, 1);
    view->Take();
    mirror->Received(id, R"({"do":"stop","id":7})");
    machine.AdvanceTime(1'000);
    EXPECT_FALSE(Moves());
    const Texts answers = view->Take();
    EXPECT_NE(std::ranges::find(answers, kHeard), answers.end());
    Live(2'000, 1);
    EXPECT_FALSE(Moves());
}

TEST_F(MirrorHoldTest, AnotherView_TakesTheHoldOver) {
    HoldNorth(1);
    Live(1'000, 1);
    const std::shared_ptr<FakeTransport> first = std::exchange(view, std::make_shared<FakeTransport>());
    id = Open();
    machine.AdvanceTime(100);
    Report(OnHandBox("hold", "btnMove(7)") + R"(,"hold":1)");
    Live(1'000, 1);
    EXPECT_EQ(TimesSent("Ms"), 1);
    EXPECT_EQ(ReleasedAmong(first->Take()), Texts{Released(1)});
    mirror->Received(id, R"({"do":"release","hold":1})");
    machine.AdvanceTime(1'500);
    EXPECT_FALSE(Moves());
}

}  // namespace
}  // namespace kestrane::mirror
