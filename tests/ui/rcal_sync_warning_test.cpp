#include <algorithm>
#include <utility>

#include "support/driver_fixture.h"
#include "support/onlooker.h"

namespace kestrane {
namespace {

class RcalSyncWarningTest : public DriverFixture {
protected:
    frmRcalSyncWarning& Warning() { return driver->rcalSyncWarningForm; }
    int TimesWarned() {
        const std::string words = Warning().lblMessage.Text();
        return TimesLoggedAs("Connected", static_cast<int>(LogLevel::Warning), words);
    }
};

TEST_F(RcalSyncWarningTest, Connect_WithPlainSyncs_WarnsAndReturnsWithTheWarningStillOpen) {
    Seed({{"chkUseRCAL", "0"}});
    const TelescopeObject telescope = ConnectedTelescope();
    EXPECT_TRUE(telescope->Connected());
    EXPECT_TRUE(Warning().Visible());
    EXPECT_EQ(Warning().btnOK.Text(), "OK to continue");
    EXPECT_EQ(Warning().btnCancel.Text(), "");
    EXPECT_EQ(TimesWarned(), 1);
}

TEST_F(RcalSyncWarningTest, EachClient_WithPlainSyncs_IsWarnedOf) {
    Seed({{"chkUseRCAL", "0"}});
    const TelescopeObject first = ConnectedTelescope();
    Warning().btnOK.FireClick();
    ASSERT_FALSE(Warning().Visible());
    const TelescopeObject second = ConnectedTelescope();  // the link is open already
    EXPECT_TRUE(Warning().Visible());
    EXPECT_EQ(TimesWarned(), 2);
}

TEST_F(RcalSyncWarningTest, Connect_WithRcal_WarnsOfNothing) {
    Seed({{"chkUseRCAL", "1"}});
    const TelescopeObject first = ConnectedTelescope();
    const TelescopeObject second = ConnectedTelescope();
    EXPECT_FALSE(Warning().Visible());
    EXPECT_EQ(TimesWarned(), 0);
}

TEST_F(RcalSyncWarningTest, BothButtons_PutTheWarningAway) {
    Start();
    for (Button* button : {&Warning().btnOK, &Warning().btnCancel}) {
        driver->rcalSyncWarning.ShowAtConnect();
        ASSERT_TRUE(Warning().Visible());
        button->FireClick();
        EXPECT_FALSE(Warning().Visible()) << button->Name();
    }
}

/// From another view that still shows the window.
TEST_F(RcalSyncWarningTest, OKThatComesAfterCancel_AcceptsNothing) {
    Start();
    Onlooker view;
    Warning().Attach(view);
    machine.pump.Post(CallKind::Brief, [&] {
        Warning().btnCancel.FireClick();
        Warning().btnOK.FireClick();
    });
    EXPECT_FALSE(driver->rcalSyncWarning.AskForPlainSyncs());
    EXPECT_TRUE(Warning().CancelWasPressed);
    EXPECT_FALSE(Warning().OKWasPressed);
    Warning().Detach(view);
}

TEST_F(RcalSyncWarningTest, Warning_BlinksWhileItIsOpen) {
    Start();
    driver->rcalSyncWarning.ShowAtConnect();
    const auto look = [this] {
        return std::pair(Warning().lblWarning.BackColour(), Warning().lblWarning.ForeColour());
    };
    const auto first = look();
    machine.AdvanceTime(Warning().Timer1.Interval());
    EXPECT_NE(look(), first);
    machine.AdvanceTime(Warning().Timer1.Interval());
    EXPECT_EQ(look(), first);
    Warning().btnOK.FireClick();
    machine.AdvanceTime(Warning().Timer1.Interval());
    EXPECT_FALSE(Warning().Timer1.Enabled());
}

TEST_F(RcalSyncWarningTest, Question_HasTheCaptionsOfItsOpener_AndTellsWhatWasPressed) {
    Start();
    Onlooker view;
    Warning().Attach(view);
    struct Row {
        bool (RcalSyncWarning::*ask)();
        Button frmRcalSyncWarning::*press;
        const char* okText;
        const char* cancelText;
    };
    for (const Row& row : {Row{&RcalSyncWarning::AskForPlainSyncs, &frmRcalSyncWarning::btnOK,
                               "OK to continue unchecked", "CANCEL to leave checked"},
                           Row{&RcalSyncWarning::AskToCloseSetup, &frmRcalSyncWarning::btnCancel, "OK to close window",
                               "CANCEL to return to setup"}}) {
        const bool accepts = row.press == &frmRcalSyncWarning::btnOK;
        const auto timer = machine.pump.CreateTimer([&] {
            EXPECT_EQ(Warning().btnOK.Text(), row.okText);
            EXPECT_EQ(Warning().btnCancel.Text(), row.cancelText);
            EXPECT_EQ(Warning().OKText, row.okText);
            EXPECT_EQ(Warning().CancelText, row.cancelText);
            (Warning().*row.press).FireClick();
        });
        timer->SetInterval(100);
        timer->SetEnabled(true);
        EXPECT_EQ((driver->rcalSyncWarning.*row.ask)(), accepts);
        EXPECT_EQ(Warning().OKWasPressed, accepts);
        EXPECT_EQ(Warning().CancelWasPressed, !accepts);
    }
    Warning().Detach(view);
}

}  // namespace
}  // namespace kestrane
