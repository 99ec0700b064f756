#include <algorithm>

#include "support/driver_fixture.h"

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

}  // namespace
}  // namespace kestrane
