#include "periphery/update_check.h"

#include <string>

#include "support/driver_fixture.h"

namespace kestrane {
namespace {

struct VersionRow {
    const char* latest;
    const char* own;
    bool newer;
};

class VersionComparison : public testing::TestWithParam<VersionRow> {};

TEST_P(VersionComparison, ComparesNumbers) {
    EXPECT_EQ(IsNewerVersion(GetParam().latest, GetParam().own), GetParam().newer);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, VersionComparison,
    testing::Values(VersionRow{"5.50.03", "5.50.03", false}, VersionRow{"5.50.10", "5.50.03", true},
                    VersionRow{"5.50.04", "5.50.03", true}, VersionRow{"5.50.02", "5.50.03", false},
                    VersionRow{"5.49.99", "5.50.03", false}, VersionRow{"5.51", "5.50.03", true},
                    VersionRow{"6", "5.50.03", true}, VersionRow{" 5.50.04 ", "  5.50.03", true},
                    VersionRow{"5.50.3", "5.50.03", false}, VersionRow{"5.50.103", "5.51.02", true},
                    VersionRow{"5.50.03.99", "5.50.03", false}, VersionRow{"", "5.50.03", false},
                    VersionRow{"...", "5.50.03", false}, VersionRow{"9.99.99a", "5.50.03", false},
                    VersionRow{"v9.99.99", "5.50.03", false}, VersionRow{"9 99 99", "5.50.03", false},
                    VersionRow{"<html>9.9.9</html>", "5.50.03", false}, VersionRow{"-9.99.99", "5.50.03", false},
                    VersionRow{"99999999999999999999.1.1", "5.50.03", false}));

TEST(VersionNumberTest, IsOneNumberOfThreeGroups) {
    EXPECT_EQ(VersionNumber("5.50.03"), 55003);
    EXPECT_EQ(VersionNumber("5.50.103"), 55103) << "it spills";
    EXPECT_EQ(VersionNumber("5"), 50000);
    EXPECT_EQ(VersionNumber(""), 0);
}

/// A connect, and what is asked of the update service.
class UpdateCheckTest : public DriverFixture {
protected:
    void TearDown() override {
        telescope_ = {};
        DriverFixture::TearDown();
    }
    void EndTheDriver() {
        telescope_ = {};
        driver.reset();
    }
    void Connect(const SettingTexts& settings) {
        Seed(settings);
        telescope_ = ConnectedTelescope();
    }
    /// After a minute.
    const DriverState& Answered(std::optional<std::string> body, std::int32_t afterMs = 50) {
        machine.webPages.body = std::move(body);
        machine.webPages.afterMs = afterMs;
        Connect({{"UpdateHost", "updates.test"}});
        machine.AdvanceTime(60'000);
        return driver->state;
    }
    const std::vector<WebPageRequest>& Requests() { return machine.webPages.requests; }

private:
    TelescopeObject telescope_;
};

TEST_F(UpdateCheckTest, AsksTheServiceOnceInAProcess) {
    Connect({{"UpdateHost", "updates.test:8443"}});
    ASSERT_EQ(Requests().size(), 1U);
    const WebPageRequest& request = Requests().front();
    EXPECT_EQ(request.host, "updates.test:8443");
    EXPECT_EQ(request.target, "/ksdriver/GetKsV2LatestVersion.php?VERS=5.50.03&DETAILS=S,Alder%20VTR,0,VKC4-P02-08");
    EXPECT_EQ(request.withinMs, 5000);
    ASSERT_EQ(request.headers.size(), 1U);
    EXPECT_EQ(request.headers.front().first, "User-Agent");
    EXPECT_EQ(request.headers.front().second, "Mozilla/4.0 (compatible; MSIE 6.0; Windows NT 5.0)");
    driver->updateCheck.Run();
    EXPECT_EQ(Requests().size(), 1U);
}

TEST_F(UpdateCheckTest, WithoutAHost_NothingIsAsked) {
    Connect({});
    EXPECT_TRUE(Requests().empty());
}

TEST_F(UpdateCheckTest, TurnedOff_NothingIsAsked) {
    Connect({{"UpdateHost", "updates.test"}, {"chkNewVersion", "0"}});
    EXPECT_TRUE(Requests().empty());
}

TEST_F(UpdateCheckTest, NeverHoldsUpAConnect) {
    Connect({});
    const auto timeOfAConnect = [&](const std::string& host) {
        const std::int64_t begin = machine.clock.Elapsed();
        EndTheDriver();
        Connect({{"UpdateHost", host}});
        return machine.clock.Elapsed() - begin;
    };
    const std::int64_t without = timeOfAConnect("");
    EXPECT_EQ(Requests().size(), 0U);
    EXPECT_EQ(timeOfAConnect("updates.test"), without);
    EXPECT_EQ(Requests().size(), 1U);
}

TEST_F(UpdateCheckTest, Details_SayWhatTheMountIs) {
    Start();
    driver->state.g_bQuayLink = true;
    driver->state.g_sVersion = "P2 #&,";
    driver->persist.Write(setting::UpdateHost, "updates.test");
    driver->persist.Write(setting::chkIPAddress, "1");
    driver->updateCheck.Run();
    ASSERT_EQ(Requests().size(), 1U);
    const std::string& target = Requests().front().target;
    const std::string details = target.substr(target.find("DETAILS=") + 8);
    EXPECT_EQ(details.substr(0, 2), "E,");
    EXPECT_TRUE(details.ends_with(",1,P2%20%23%26%2C")) << details;
    EXPECT_EQ(details.find(' '), std::string::npos);
    EXPECT_EQ(driver->persist.Read(setting::FW), "P2 #&,");
}

TEST_F(UpdateCheckTest, WithoutAFirmware_TheLastOneIsTold) {
    Seed({{"UpdateHost", "updates.test"}, {"FW", "VKC4-P01-07"}});
    Start();
    driver->updateCheck.Run();
    ASSERT_EQ(Requests().size(), 1U);
    EXPECT_TRUE(Requests().front().target.ends_with(",VKC4-P01-07"));
    EXPECT_EQ(driver->persist.Read(setting::FW), "VKC4-P01-07");
}

TEST_F(UpdateCheckTest, NewerVersion_RaisesTheFlag) {
    const DriverState& state = Answered(" 5.50.10 \r\n");
    EXPECT_EQ(state.g_sLatestVersion, "5.50.10");
    EXPECT_TRUE(state.g_bNewVersion);
    EXPECT_EQ(driver->handBox.tmrVersionDifferent.Interval(), 1000);
}

TEST_F(UpdateCheckTest, SameVersion_RaisesNoFlag) {
    EXPECT_FALSE(Answered("5.50.03").g_bNewVersion);
    EXPECT_EQ(driver->handBox.lblMain.Text(), "Kestrane V2");
}

TEST_F(UpdateCheckTest, AnythingElse_RaisesNoFlag) {
    EXPECT_FALSE(Answered("<html>99.99.99</html>").g_bNewVersion);
}

TEST_F(UpdateCheckTest, NoAnswer_RaisesNoFlag) {
    EXPECT_FALSE(Answered(std::nullopt).g_bNewVersion);
    EXPECT_TRUE(machine.messageBoxes.shown.empty());
}

TEST_F(UpdateCheckTest, AnswerAfterTheLimit_RaisesNoFlag) {
    EXPECT_FALSE(Answered("5.50.10", 5'001).g_bNewVersion);
}

TEST_F(UpdateCheckTest, AnswerAfterTheEndOfTheDriver_ReachesNothing) {
    Seed({{"UpdateHost", "updates.test"}});
    Start();
    machine.webPages.body = "5.50.10";
    driver->updateCheck.Run();
    driver.reset();
    machine.AdvanceTime(60'000);
}

}  // namespace
}  // namespace kestrane
