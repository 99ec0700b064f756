#include "forms/form.h"

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "forms/frm_hand_box.h"
#include "forms/frm_initial_setup.h"
#include "forms/frm_log_window.h"
#include "forms/frm_setup_focuser.h"
#include "forms/frm_status.h"
#include "support/virtual_clock.h"
#include "support/virtual_pump.h"

namespace kestrane {
namespace {

class HandBox : public testing::Test {
protected:
    VirtualClock clock;
    VirtualPump pump{clock};
    frmHandBox handBox{pump};
    int loads = 0;
    int unloads = 0;
    int ticks = 0;

    void SetUp() override {
        handBox.OnLoad([this] { ++loads; });
        handBox.OnUnload([this] { ++unloads; });
        handBox.tmrQueryRaDecAltAz.OnTick([this] { ++ticks; });
    }
};

TEST_F(HandBox, EnsureLoaded_RunsTheLoadHandlerOnce) {
    handBox.EnsureLoaded();
    handBox.EnsureLoaded();
    EXPECT_EQ(loads, 1);
    EXPECT_FALSE(handBox.Visible());
}

TEST_F(HandBox, EachWrite_OnAWindowNotLoaded_LoadsItInvisibly) {
    const std::vector<std::function<void(frmHandBox&)>> writes{
        [](frmHandBox& f) { f.lblRA.Text("12:00:00.0"); },
        [](frmHandBox& f) { f.lblRA.Text(""); },  // the value it has
        [](frmHandBox& f) { f.frameMountPosition.Caption("Mount Info: IP=1.2.3.4"); },
        [](frmHandBox& f) { f.chkUseRCAL.Checked(true); },
        [](frmHandBox& f) { f.pbLoggingPaused.Visible(true); },
        [](frmHandBox& f) { f.tmrMinimize.Interval(1000); },
        [](frmHandBox& f) { f.tmrQueryRaDecAltAz.Enabled(false); },
        [](frmHandBox& f) { f.Caption("x"); },
        [](frmHandBox& f) { f.Hide(); },
    };
    for (std::size_t i = 0; i < writes.size(); ++i) {
        frmHandBox fresh{pump};
        int freshLoads = 0;
        fresh.OnLoad([&] { ++freshLoads; });
        writes[i](fresh);
        EXPECT_EQ(freshLoads, 1) << i;
        EXPECT_TRUE(fresh.Loaded()) << i;
        EXPECT_FALSE(fresh.Visible()) << i;
    }
}

TEST_F(HandBox, Reads_DoNotLoad) {
    EXPECT_EQ(handBox.lblRA.Text(), "");
    EXPECT_FALSE(handBox.tmrSlewFlashUI.Enabled());
    EXPECT_EQ(handBox.tmrQueryRaDecAltAz.Interval(), 1000);
    EXPECT_FALSE(handBox.Visible());
    EXPECT_EQ(loads, 0);
}

TEST_F(HandBox, LoadHandler_MayWriteToTheWindow) {
    handBox.OnLoad([this] {
        ++loads;
        handBox.tmrQueryRaDecAltAz.Interval(150);
        handBox.lblLstHA.Text("HA");
    });
    handBox.lblRA.Text("x");
    EXPECT_EQ(loads, 1);
    EXPECT_EQ(handBox.tmrQueryRaDecAltAz.Interval(), 150);
    EXPECT_EQ(handBox.lblRA.Text(), "x");
}

TEST_F(HandBox, Show_LoadsAndShows) {
    handBox.Show();
    EXPECT_EQ(loads, 1);
    EXPECT_TRUE(handBox.Visible());
    handBox.Hide();
    EXPECT_FALSE(handBox.Visible());
    EXPECT_TRUE(handBox.Loaded());
}

TEST_F(HandBox, Unload_RunsItsHandlerHidesAndStopsTheTimers) {
    handBox.Show();
    handBox.tmrQueryRaDecAltAz.Enabled(true);
    pump.AdvanceTime(3000);
    EXPECT_EQ(ticks, 3);
    handBox.Unload();
    EXPECT_EQ(unloads, 1);
    EXPECT_FALSE(handBox.Loaded());
    EXPECT_FALSE(handBox.Visible());
    pump.AdvanceTime(10'000);
    EXPECT_EQ(ticks, 3);
    EXPECT_FALSE(pump.NextDue()) << "no timer of the window runs";
}

TEST_F(HandBox, HideHandler_RunsAfterAHide_ButNotAtAnUnload) {
    int hides = 0;
    handBox.OnHide([&] { hides += handBox.Visible() ? 100 : 1; });
    handBox.Hide();
    EXPECT_EQ(hides, 0) << "it was not shown";
    handBox.Show();
    handBox.Hide();
    EXPECT_EQ(hides, 1);
    handBox.Show();
    handBox.Unload();
    EXPECT_EQ(hides, 1);
}

TEST_F(HandBox, LoadNoMore_LetsNothingLoadTheWindowAgain) {
    handBox.EnsureLoaded();
    handBox.Unload();
    handBox.LoadNoMore();
    handBox.lblRA.Text("12:00:00");
    handBox.tmrQueryRaDecAltAz.Enabled(true);
    handBox.Show();
    EXPECT_FALSE(handBox.Loaded());
    EXPECT_FALSE(handBox.Visible());
    EXPECT_EQ(handBox.lblRA.Text(), "12:00:00");
}

TEST_F(HandBox, Unload_OfAWindowNotLoaded_DoesNothing) {
    handBox.Unload();
    EXPECT_EQ(unloads, 0);
    EXPECT_EQ(loads, 0);
}

TEST_F(HandBox, UnloadHandler_MayTouchTheWindow) {
    handBox.EnsureLoaded();
    handBox.OnUnload([this] {
        ++unloads;
        handBox.lblRA.Text("bye");
        handBox.Unload();
    });
    handBox.Unload();
    EXPECT_EQ(unloads, 1);
    EXPECT_EQ(loads, 1);
    EXPECT_FALSE(handBox.Loaded());
}

TEST_F(HandBox, AWriteAfterUnload_LoadsAnewWithTheValuesLeft) {
    handBox.lblDEC.Text("+12:00:00");
    handBox.Unload();
    handBox.lblRA.Text("x");
    EXPECT_EQ(loads, 2);
    EXPECT_EQ(handBox.lblDEC.Text(), "+12:00:00");
}

TEST_F(HandBox, Timers_StandAsTheTableSays) {
    struct Row {
        std::string name;
        std::int32_t interval;
        bool enabled;
    };
    const std::vector<Row> rows{
        {"tmrQueryRaDecAltAz", 1000, false},
        {"tmrButtonDelay", 20, true},
        {"tmrSlewFlashUI", 500, false},
        {"tmrSavePos", 50, true},
        {"tmrGetLatLong", 2000, true},
        {"tmrCheckShellNotifyIcon", 5000, true},
        {"tmrMinimize", 0, true},
        {"tmrEastStop", 0, false},
        {"tmrWestStop", 0, false},
        {"tmrNorthStop", 0, false},
        {"tmrSouthStop", 0, false},
        {"tmrCalibratePulseGuide", 250, false},
        {"tmrVersionDifferent", 0, true},
    };
    const auto timers = std::count_if(handBox.Controls().begin(), handBox.Controls().end(),
                                      [](const Control* each) { return each->Kind() == ControlKind::Timer; });
    EXPECT_EQ(static_cast<std::size_t>(timers), rows.size());
    for (const Row& row : rows) {
        const Timer* timer = handBox.Find<Timer>(row.name);
        ASSERT_NE(timer, nullptr) << row.name;
        EXPECT_EQ(timer->Interval(), row.interval) << row.name;
        EXPECT_EQ(timer->Enabled(), row.enabled) << row.name;
    }
}

TEST_F(HandBox, Timers_OfAWindowNotLoaded_DoNotRun) {
    EXPECT_FALSE(pump.NextDue());
    handBox.EnsureLoaded();
    EXPECT_EQ(pump.NextDue(), 20) << "the button delay is the fastest";
}

TEST_F(HandBox, Timer_TicksAtItsIntervalWhileEnabled) {
    handBox.tmrQueryRaDecAltAz.Interval(150);
    handBox.tmrQueryRaDecAltAz.Enabled(true);
    pump.AdvanceTime(149);
    EXPECT_EQ(ticks, 0);
    pump.AdvanceTime(1);
    EXPECT_EQ(ticks, 1);
    pump.AdvanceTime(1500);
    EXPECT_EQ(ticks, 11);
    handBox.tmrQueryRaDecAltAz.Enabled(false);
    pump.AdvanceTime(1500);
    EXPECT_EQ(ticks, 11);
}

TEST_F(HandBox, Timer_OfIntervalZero_NeverTicks) {
    handBox.tmrMinimize.OnTick([this] { ++ticks; });
    handBox.EnsureLoaded();
    pump.AdvanceTime(60'000);
    EXPECT_EQ(ticks, 0);
    handBox.tmrMinimize.Interval(1000);
    pump.AdvanceTime(1000);
    EXPECT_EQ(ticks, 1);
}

TEST_F(HandBox, Timer_MayStopItselfInItsTick) {
    handBox.tmrSlewFlashUI.OnTick([this] {
        ++ticks;
        handBox.tmrSlewFlashUI.Enabled(false);
    });
    handBox.tmrSlewFlashUI.Enabled(true);
    pump.AdvanceTime(5000);
    EXPECT_EQ(ticks, 1);
}

TEST_F(HandBox, Labels_StartInNormalColoursAndFaultsHidden) {
    EXPECT_EQ(handBox.lblRA.BackColour(), 128);
    EXPECT_EQ(handBox.lblRA.ForeColour(), 255);
    for (const Control* hidden : std::vector<const Control*>{&handBox.lblMotorStallCount, &handBox.lblLowPowerCount,
                                                             &handBox.lblServoFaultCount, &handBox.lblOtherFault,
                                                             &handBox.lblCwUp, &handBox.pbLoggingPaused}) {
        EXPECT_FALSE(hidden->Values().visible) << hidden->Name();
    }
}

TEST(LogWindowForm, ForLog_AppendsLinesAndKeepsTheLast) {
    frmLogWindow window;
    LogWindow& log = window.ForLog();
    EXPECT_FALSE(log.Visible());
    log.Show(true);
    EXPECT_TRUE(log.Visible());
    EXPECT_TRUE(window.Visible());
    log.Append("first", 255);
    log.Append("second", 0);
    EXPECT_EQ(window.rtbLog.Text(), "\r\nfirst\r\nsecond");
    EXPECT_EQ(log.TextLength(), 15U);
    log.KeepLast(8);
    EXPECT_EQ(window.rtbLog.Text(), "\r\nsecond");
    log.Show(false);
    EXPECT_FALSE(log.Visible());
}

TEST(Forms, StatusWindow_TellsTitleAndVersionInItsCaption) {
    VirtualClock clock;
    VirtualPump pump{clock};
    EXPECT_EQ(frmStatus(pump).Caption(), "Kestrane V2 5.50.03");
}

TEST(Forms, Names_AreThoseOfTheSystem) {
    VirtualClock clock;
    VirtualPump pump{clock};
    EXPECT_EQ(frmHandBox(pump).Name(), "frmHandBox");
    EXPECT_EQ(frmStatus(pump).Name(), "frmStatus");
    EXPECT_EQ(frmLogWindow().Name(), "frmLogWindow");
    EXPECT_EQ(frmInitialSetup(pump).Name(), "frmInitialSetup");
    EXPECT_EQ(frmSetupFocuser(pump).Name(), "frmSetupFocuser");
}

}  // namespace
}  // namespace kestrane
