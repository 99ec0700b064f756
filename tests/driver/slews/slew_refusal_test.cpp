#include <gtest/gtest.h>
#include <limits>
#include <ostream>

#include "driver/slews/slew_wire_fixture.h"

namespace kestrane {
namespace {

constexpr std::uint32_t kNotConnected = 0x80040404;
constexpr std::uint32_t kOutOfRange = 0x80040405;
constexpr std::uint32_t kParked = 0x80040409;
constexpr std::uint32_t kWrongTracking = 0x80040411;
constexpr std::uint32_t kBelowHorizon = 0x80040412;
constexpr std::uint32_t kBelowMinimum = 0x80040413;
constexpr std::uint32_t kSlewFailed = 0x80040414;
constexpr std::uint32_t kRejected = 0x80040418;
constexpr std::uint32_t kLinkLost = 0x80040429;
constexpr std::uint32_t kIncomplete = 0x80040430;

struct Member {
    const char* name;
    std::function<void(Telescope&)> slew;
    bool horizontal;
};

void WriteTarget(Telescope& telescope) {
    telescope.TargetRightAscension(5.5);
    telescope.TargetDeclination(30.25);
}

const std::vector<Member>& Members() {
    static const std::vector<Member> members{
        {"SlewToCoordinates", [](Telescope& t) { t.SlewToCoordinates(5.5, 30.25); }, false},
        {"SlewToCoordinatesAsync", [](Telescope& t) { t.SlewToCoordinatesAsync(5.5, 30.25); }, false},
        {"SlewToTarget", [](Telescope& t) { t.SlewToTarget(); }, false},
        {"SlewToTargetAsync", [](Telescope& t) { t.SlewToTargetAsync(); }, false},
        {"SlewToAltAz", [](Telescope& t) { t.SlewToAltAz(150.0, 45.0); }, true},
        {"SlewToAltAzAsync", [](Telescope& t) { t.SlewToAltAzAsync(150.0, 45.0); }, true},
    };
    return members;
}

class RefusalFixture : public SlewWireTest {
protected:
    void SetUpMount(const SettingTexts& settings = {}) {
        Connect("S", settings);
        Stand();
    }
    StandingMount& Mount() { return *mount_; }
    void Stand() { mount_ = &SlewWireTest::Stand(); }
    /// Calls a member with tracking as it needs it.
    std::string Slew(const Member& member) {
        SetTracking(!member.horizontal);
        if (!member.horizontal) {
            WriteTarget(*telescope);
        }
        return MotionDuring([&] { member.slew(*telescope); });
    }
    void SetTracking(bool tracking) {
        Mount().replies["GOS"] = tracking ? "020000232O0000#" : "090000232O0000#";
        driver->state.g_bTracking = tracking;
        driver->queries.QueryGos();
        LeaveTrackingAlone();
    }

private:
    StandingMount* mount_ = nullptr;
};

// --- what the mount may answer to the slew command
// --------------------------------------------------------------------

struct ReplyRow {
    const char* reply;
    std::uint32_t number;
    const char* words;
    const char* meaning;
};

void PrintTo(const ReplyRow& row, std::ostream* out) {
    *out << "reply '" << row.reply << "'";
}

class SlewReplyTest : public RefusalFixture, public testing::WithParamInterface<ReplyRow> {
protected:
    /// Every member gets that reply.
    void EachMember(bool safeSlew) {
        ExpectSwallow("SafeSlew");
        SetUpMount({{"DisableSafeSlew", safeSlew ? "0" : "1"}});
        Mount().replies["MS"] = GetParam().reply;
        for (const Member& member : Members()) {
            SCOPED_TRACE(member.name);
            log.clear();
            EXPECT_TRUE(Slew(member).ends_with(member.horizontal ? "Sa+45*00:00 Sz150*00:00 MS"
                                                                 : "Sr05:30:00.0 Sd+30*15:00 MS"));
            const bool raises = member.horizontal || !safeSlew;
            EXPECT_EQ(error, raises ? GetParam().number : 0U);
            EXPECT_EQ(words, raises ? GetParam().words : "");
            ExpectOutcome();
        }
    }

private:
    void ExpectOutcome() {
        EXPECT_TRUE(PollRuns());
        const std::string refusal =
            std::string("The mount refused the slew: reply ") + GetParam().reply + ", " + GetParam().meaning;
        int refusals = 0;
        for (const LogLine& line : log) {
            refusals += line.level == 2 && line.message == refusal ? 1 : 0;
        }
        EXPECT_EQ(refusals, GetParam().number == 0 ? 0 : 1);
        if (GetParam().number != 0) {
            EXPECT_FALSE(driver->state.g_bSlewing);
            EXPECT_FALSE(driver->state.g_bMountSlewing);
        }
        EXPECT_TRUE(WaitForEnd());
        EXPECT_FALSE(driver->state.g_bLostComms);
    }
};

TEST_P(SlewReplyTest, WithoutSafeSlew_EachMemberRaisesTheReason) {
    EachMember(false);
}

TEST_P(SlewReplyTest, WithSafeSlew_OnlyHorizontalMembersRaiseIt_AndTheLogTellsItEachTime) {
    EachMember(true);
}

INSTANTIATE_TEST_SUITE_P(
    Replies, SlewReplyTest,
    testing::Values(
        ReplyRow{"0", 0, "", ""},  //
        ReplyRow{"1", kBelowHorizon, "The selected coordinates are below the horizon.", "below the horizon"},
        ReplyRow{"2", kBelowMinimum, "The selected coordinates are below the current minimum elevation setting.",
                 "below the minimum elevation"},
        ReplyRow{"3", kSlewFailed, "The slew failed for some unknown reason.", "unknown reason"},
        ReplyRow{"9", kSlewFailed, "The slew failed for some unknown reason.", "unknown reason"},
        ReplyRow{"x", 0, "", ""},  // what is no number counts as success
        ReplyRow{"", 0, "", ""}));

class SlewRefusalTest : public RefusalFixture {};

TEST_F(SlewRefusalTest, CharacterBehindTheReply_StaysOnTheLine_AndIsCleanedUp) {
    ExpectSwallow("CommandString");  // the recovery empties the line, then finds it silent
    SetUpMount();
    Mount().replies["MS"] = "05";
    telescope->SlewToCoordinatesAsync(5.5, 30.25);
    EXPECT_TRUE(Logged("Sent 'MS', Response: 0"));
    EXPECT_TRUE(WaitForEnd());
    machine.AdvanceTime(5'000);
    EXPECT_FALSE(driver->state.g_bLostComms);
    EXPECT_NEAR(telescope->RightAscension(), 3.0, 0.001);
}

// --- refused halves of a target
// ---------------------------------------------------------------------------------------

TEST_F(SlewRefusalTest, RefusedRaOrDec_IsLogged_AndTheSlewGoesOn) {
    SetUpMount({{"DisableSafeSlew", "1"}});
    telescope->MaxSerialRetries(0);
    driver->InternalInstance().MaxSerialRetries(0);
    struct Row {
        const char* refused;
        const char* logged;
        const char* sent;
    };
    for (const Row& row : {Row{"Sr", "SET TargetRightAscension FAILED!", "RT2 Sr05:30:00.0 # Sd+30*15:00 MS"},
                           Row{"Sd", "SET TargetDeclination FAILED!", "RT2 Sr05:30:00.0 Sd+30*15:00 # MS"}}) {
        Mount().replies[row.refused] = "0";
        for (const Member& member : Members()) {
            if (member.horizontal) {
                continue;
            }
            SCOPED_TRACE(std::string(member.name) + " " + row.refused);
            log.clear();
            EXPECT_EQ(Slew(member), row.sent);
            EXPECT_EQ(error, 0U);
            EXPECT_EQ(TimesLogged(row.logged), 1);
            EXPECT_TRUE(PollRuns());
            EXPECT_TRUE(WaitForEnd());
        }
        Mount().replies[row.refused] = "1";
    }
}

TEST_F(SlewRefusalTest, RefusedAltitudeOrAzimuth_EndsTheSlew) {
    SetUpMount();
    driver->InternalInstance().MaxSerialRetries(0);
    struct Row {
        const char* refused;
        const char* logged;
        const char* words;
        const char* sent;
    };
    for (const Row& row : {Row{"Sa", "SET TargetAlt FAILED!", "KS mount rejected set TargetAltitude = +45*00:00",
                               "# Q RT9 Sa+45*00:00 #"},
                           Row{"Sz", "SET TargetAz FAILED!", "KS mount rejected set TargetAzimuth = 150*00:00",
                               "# Q RT9 Sa+45*00:00 Sz150*00:00 #"}}) {
        Mount().replies[row.refused] = "0";
        for (const Member& member : Members()) {
            if (!member.horizontal) {
                continue;
            }
            SCOPED_TRACE(std::string(member.name) + " " + row.refused);
            log.clear();
            EXPECT_EQ(Slew(member), row.sent);
            EXPECT_EQ(error, kRejected);
            EXPECT_EQ(words, row.words);
            EXPECT_EQ(TimesLogged(row.logged), 1);
            EXPECT_FALSE(driver->state.g_bSlewing);
            EXPECT_FALSE(driver->state.g_bMountSlewing);
            EXPECT_TRUE(PollRuns());
            EXPECT_FALSE(telescope->Slewing());
        }
        Mount().replies[row.refused] = "1";
    }
}

// --- what a client may do wrong
// ---------------------------------------------------------------------------------------

TEST_F(SlewRefusalTest, WithoutAConnection_NoMemberSendsAnything) {
    Start();
    const TelescopeObject client = driver->CreateTelescope();
    for (const Member& member : Members()) {
        Try([&] { member.slew(*client); });
        EXPECT_EQ(error, kNotConnected) << member.name;
        EXPECT_EQ(words, "The scope is not connected") << member.name;
        EXPECT_FALSE(driver->state.g_bSlewing) << member.name;
    }
    EXPECT_EQ(ErrorOf([&] { client->AbortSlew(); }), kNotConnected);
    EXPECT_TRUE(mount->Commands().empty());
}

TEST_F(SlewRefusalTest, WhileParked_NoMemberSendsAnything) {
    SetUpMount();
    driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
    WriteTarget(*telescope);
    driver->motion.MountReportsParked(true);
    for (const Member& member : Members()) {
        EXPECT_EQ(MotionDuring([&] { member.slew(*telescope); }), "") << member.name;
        EXPECT_EQ(error, kParked) << member.name;
        EXPECT_EQ(words, "Illegal operation while parked") << member.name;
    }
    EXPECT_EQ(MotionDuring([&] { telescope->AbortSlew(); }), "");
    EXPECT_EQ(error, kParked);
    EXPECT_FALSE(driver->state.g_bSlewing);
}

TEST_F(SlewRefusalTest, WrongTracking_IsOffForTheSky_AndOnForTheHorizon) {
    SetUpMount();
    WriteTarget(*telescope);
    for (const Member& member : Members()) {
        SetTracking(member.horizontal);
        EXPECT_EQ(MotionDuring([&] { member.slew(*telescope); }), "") << member.name;
        EXPECT_EQ(error, kWrongTracking) << member.name;
        EXPECT_EQ(words, "Wrong tracking state") << member.name;
        EXPECT_FALSE(driver->state.g_bSlewing) << member.name;
    }
}

TEST_F(SlewRefusalTest, TrackingThatComesByItself_LetsASkySlewGo_ButNoHorizontalOne) {
    SetUpMount({{"chkAutoEnableTracking", "1"}});
    SetTracking(false);
    EXPECT_EQ(MotionDuring([&] { telescope->SlewToCoordinatesAsync(5.5, 30.25); }),
              "Q RT2 RT2 Sr05:30:00.0 Sd+30*15:00 MS");
    EXPECT_TRUE(WaitForEnd());
    driver->state.g_bTracking = true;
    Try([&] { telescope->SlewToAltAzAsync(150.0, 45.0); });
    EXPECT_EQ(error, kWrongTracking);
}

TEST_F(SlewRefusalTest, LostLink_RaisesWhereNoSafeSlewSwallowsIt) {
    SetUpMount({{"DisableSafeSlew", "1"}});
    driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
    WriteTarget(*telescope);
    for (const char* name :
         {"SlewToCoordinates", "SlewToCoordinatesAsync", "SlewToTargetAsync", "SlewToAltAz", "SlewToAltAzAsync"}) {
        for (const Member& member : Members()) {
            if (std::string(member.name) == name) {
                SetTracking(!member.horizontal);
                driver->state.g_bLostComms = true;
                EXPECT_EQ(MotionDuring([&] { member.slew(*telescope); }).find("MS"), std::string::npos) << name;
                EXPECT_EQ(error, kLinkLost) << name;
                EXPECT_EQ(words, "Lost communications with mount.") << name;
            }
        }
    }
    EXPECT_FALSE(driver->state.g_bSlewing) << "the last was a horizontal one";
    EXPECT_EQ(ErrorOf([&] { telescope->DestinationSideOfPier(1.0, 1.0); }), kLinkLost);
}

TEST_F(SlewRefusalTest, PlaceThatIsNone_IsRefusedBeforeAnythingElse) {
    Start();
    const TelescopeObject client = driver->CreateTelescope();
    struct Row {
        double ra;
        double dec;
        const char* logged;
    };
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const Row& row :
         {Row{24.0, 10.0, "RightAscension (out of range) = 24"},
          Row{-0.001, 10.0, "RightAscension (out of range) = -0.001"},
          Row{1.0, 90.001, "Declination (out of range) = 90.001"},
          Row{1.0, -90.001, "Declination (out of range) = -90.001"}, Row{25.0, 91.0, "Declination (out of range) = 91"},
          Row{nan, 10.0, "RightAscension"}, Row{1.0, nan, "Declination"}}) {
        for (const bool async : {false, true}) {
            log.clear();
            Try([&] {
                async ? client->SlewToCoordinatesAsync(row.ra, row.dec) : client->SlewToCoordinates(row.ra, row.dec);
            });
            EXPECT_EQ(error, kOutOfRange);
            EXPECT_EQ(words, "The property value is out of range");
            ASSERT_EQ(log.size(), 1U);
            EXPECT_EQ(log[0].level, 4);
            EXPECT_TRUE(Logged(std::string("SlewToCoordinatesAsync ") + row.logged));
        }
    }
    for (const double dec : {90.0, -90.0}) {
        EXPECT_EQ(ErrorOf([&] { client->SlewToCoordinates(0.0, dec); }), kNotConnected);
        EXPECT_EQ(ErrorOf([&] { client->SlewToCoordinatesAsync(23.9999, dec); }), kNotConnected);
    }
}

TEST_F(SlewRefusalTest, HalfATarget_IsRefused_AndOnlyTheSynchronousMemberLeavesTheFlagUp) {
    SetUpMount();
    driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
    telescope->TargetRightAscension(5.5);
    EXPECT_EQ(MotionDuring([&] { telescope->SlewToTargetAsync(); }), "");
    EXPECT_EQ(error, kIncomplete);
    EXPECT_EQ(words, "The slew operation failed because target coordinates are incomplete.");
    EXPECT_EQ(TimesLogged("SlewToTargetAsync: Invalid RA or Declination!"), 1);
    EXPECT_FALSE(driver->state.g_bSlewing);
    EXPECT_EQ(MotionDuring([&] { telescope->SlewToTarget(); }), "");
    EXPECT_EQ(error, kIncomplete);
    EXPECT_EQ(words, "The slew operation failed because target coordinates are incomplete.");
    EXPECT_TRUE(driver->state.g_bSlewing);
    driver->handBox.tmrQueryRaDecAltAz.Enabled(true);
    EXPECT_TRUE(WaitForEnd());
}

/// The flags that the refused call has left up go down although the client does nothing but ask.
class HalfATargetTest : public SlewWireTest, public testing::WithParamInterface<std::string> {};

TEST_P(HalfATargetTest, RefusedSynchronousSlew_SlewsUntilTheNextCheck) {
    Connect(GetParam());
    Tape().Clear();
    for (const bool safeSlew : {true, false}) {
        SCOPED_TRACE(safeSlew ? "with safe slew" : "without");
        driver->persist.WriteIniValue("DisableSafeSlew", safeSlew ? "0" : "1");
        telescope->TargetRightAscension(5.5);
        driver->state.g_bTargetDecSet = false;
        Try([&] { telescope->SlewToTarget(); });
        EXPECT_EQ(error, kIncomplete);
        EXPECT_TRUE(driver->state.g_bSlewing);
        const std::int64_t start = machine.clock.Elapsed();
        int asked = 0;
        while (telescope->Slewing() && ++asked < 2'000) {
        }
        EXPECT_FALSE(driver->state.g_bSlewing);
        EXPECT_LT(machine.clock.Elapsed() - start, 30'000);
    }
    EXPECT_EQ(Tape().Motion(), "");
}

TEST_P(HalfATargetTest, WithThePollHeldOff_TheDistanceEndsItAll_AndTheStatusTextAsSoonAsItIsRead) {
    Connect(GetParam());
    driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
    telescope->TargetRightAscension(5.5);
    Try([&] { telescope->SlewToTarget(); });
    EXPECT_EQ(error, kIncomplete);
    const bool byStatus = driver->state.g_bGosActive;
    EXPECT_EQ(byStatus, GetParam() == "S");
    EXPECT_EQ(WaitForEnd(), !byStatus);
    if (byStatus) {
        driver->queries.QueryGos();
        EXPECT_FALSE(telescope->Slewing());
    }
}

INSTANTIATE_TEST_SUITE_P(Roads, HalfATargetTest, testing::Values("S", "D"));

TEST_F(SlewRefusalTest, TargetThatLosesAHalfOnTheWay_IsNoTarget) {
    SetUpMount({{"DisableSafeSlew", "1"}});
    WriteTarget(*telescope);
    Mount().onCommand = [&](const std::string& command) {
        if (command == "RT2") {
            driver->state.g_bTargetRaSet = false;
        }
    };
    EXPECT_EQ(MotionDuring([&] { telescope->SlewToTargetAsync(); }), "RT2");
    EXPECT_EQ(error, kSlewFailed);
    EXPECT_TRUE(Logged("No valid Ra/Dec or Alt/Az defined"));
    EXPECT_FALSE(Logged("The mount refused"));
    EXPECT_FALSE(driver->state.g_bSlewing);
}

TEST_F(SlewRefusalTest, DeclinationWrittenBehindAHorizontalSlew_LeavesHalfATarget) {
    SetUpMount();
    SetTracking(false);
    telescope->SlewToAltAzAsync(150.0, 45.0);
    EXPECT_TRUE(driver->state.g_bTargetAltSet && driver->state.g_bTargetAzSet);
    telescope->TargetDeclination(10.0);
    EXPECT_FALSE(driver->state.g_bTargetAltSet || driver->state.g_bTargetAzSet);
    SetTracking(true);
    EXPECT_EQ(ErrorOf([&] { telescope->SlewToTargetAsync(); }), kIncomplete);
}

}  // namespace
}  // namespace kestrane
