#include <vector>

#include "mount_fixture.h"

namespace kestrane {
namespace {

class LineTest : public MountTest {
protected:
    template <typename Fault, typename... Arguments>
    void With(Arguments... arguments) {
        Mount().Add(std::make_unique<Fault>(arguments...));
    }
};

TEST_F(LineTest, Reply_LeavesAfterTheLatencyByteByByte) {
    Mount().Write(":V#");
    EXPECT_EQ(Mount().NextByteIn(), 5);
    EXPECT_EQ(Mount().Read(100), "");
    clock.Sleep(5);
    EXPECT_EQ(Mount().NextByteIn(), 0);
    EXPECT_EQ(Mount().Read(100), "V");
    EXPECT_EQ(Mount().NextByteIn(), 2) << "1042 microseconds, rounded up";
    clock.Sleep(2);
    EXPECT_EQ(Mount().Read(100), "K");
    clock.Sleep(20);
    EXPECT_EQ(Mount().Read(3), "C4-");
    EXPECT_EQ(Mount().Read(100), "P02-08#");
    EXPECT_EQ(Mount().NextByteIn(), std::nullopt);
}

TEST_F(LineTest, Replies_StandInLine) {
    Mount().Write(":V#:pS#");
    EXPECT_EQ(Listen(5 + 12), "VKC4-P02-08#");
    EXPECT_EQ(Listen(6), "East#");
}

TEST_F(LineTest, Line_AsFastAsCanBe_IsStillInOrder) {
    options.byteTimeUs = 0;
    options.replyLatencyMs = 0;
    Mount().Write(":V#");
    EXPECT_EQ(Listen(1), "VKC4-P02-08#");
    With<NeverStopsSending>();
    EXPECT_FALSE(Listen(1).empty());
}

TEST_F(LineTest, DropsReply_AsOftenAsTold) {
    With<DropsReply>("GR", 2);
    EXPECT_EQ(Ask("GR"), "");
    EXPECT_EQ(Ask("GD"), "+90*00:00.0#");
    EXPECT_EQ(Ask("GR"), "");
    EXPECT_EQ(Ask("GR"), "00:00:00.00#");
}

TEST_F(LineTest, DropsReply_ByTheNameOfACommandWithArgument) {
    With<DropsReply>("Sr", 1);
    EXPECT_EQ(Ask("Sr01:02:03"), "");
    EXPECT_EQ(Ask("Sr01:02:03"), "1") << "the command itself was heard both times";
}

TEST_F(LineTest, DropsReply_DoesNotTakeALongerName) {
    With<DropsReply>("CM", 1);
    EXPECT_NE(Ask("CMR"), "");
    EXPECT_EQ(Ask("CM"), "");
}

TEST_F(LineTest, AnswersLate_HoldsBackWhatFollowsToo) {
    With<AnswersLate>("V", 1000, 1);
    Mount().Write(":V#:pS#");
    EXPECT_EQ(Listen(1004), "");
    EXPECT_EQ(Listen(100), "VKC4-P02-08#East#");
    EXPECT_EQ(Ask("V"), "VKC4-P02-08#");
}

TEST_F(LineTest, CutsReply_KeepsTheBeginning) {
    With<CutsReply>("V", std::size_t{4}, 1);
    EXPECT_EQ(Ask("V"), "VKC4");
    With<CutsReply>("SC", std::size_t{26}, 1);
    EXPECT_EQ(Ask("SC03/20/24"), "1Updating planetary data# ");
}

TEST_F(LineTest, DoublesReply_SendsItTwice) {
    With<DoublesReply>("pS", 1);
    EXPECT_EQ(Ask("pS"), "East#East#");
    EXPECT_EQ(Ask("pS"), "East#");
}

TEST_F(LineTest, CorruptsReply_ChangesOneByte) {
    With<CorruptsReply>("pS", 1);
    EXPECT_EQ(Ask("pS"), "E?st#");
    With<CorruptsReply>("pS", 1, std::size_t{99}, 'x');
    EXPECT_EQ(Ask("pS"), "Eastx");
}

TEST_F(LineTest, InsertsAlarm_StandsInFrontOfTheNextReply) {
    With<InsertsAlarm>('X');
    EXPECT_EQ(Ask("GR"), "X00:00:00.00#");
    EXPECT_EQ(Ask("GR"), "00:00:00.00#");
}

TEST_F(LineTest, Stalls_StopShortAndStay) {
    With<Stalls>(2.0);
    TargetHourAngle(4, "+20*00:00");
    ASSERT_EQ(Ask("MS"), "0");
    WaitForSlew();
    const MountPicture stalled = Mount().Picture();
    EXPECT_FALSE(stalled.slewing);
    EXPECT_NEAR(stalled.declination, 22, 0.05);
    Wait(60'000);
    EXPECT_NEAR(Mount().Picture().declination, stalled.declination, 1e-9);
    EXPECT_NEAR(Mount().Picture().rightAscension, stalled.rightAscension, 1e-6);
    Mount().ClearMisbehaviours();
    ASSERT_EQ(Ask("MS"), "0");
    WaitForSlew();
    EXPECT_NEAR(Mount().Picture().declination, 20, 1e-4);
}

TEST_F(LineTest, Stalls_MayGoOnReportingTheSlew) {
    With<Stalls>(2.0, true);
    TargetHourAngle(4, "+20*00:00");
    ASSERT_EQ(Ask("MS"), "0");
    EXPECT_GE(WaitForSlew(), 120'000);
    EXPECT_EQ(Ask("GOS").at(3), 'S');
    EXPECT_NEAR(Mount().Picture().declination, 22, 0.05);
    Mount().ClearMisbehaviours();
    EXPECT_EQ(Ask("GOS").at(3), '0');
}

TEST_F(LineTest, NeverStopsSending_FillsTheLineUntilCleared) {
    With<NeverStopsSending>("ab");
    EXPECT_EQ(Mount().NextByteIn(), 0);
    const std::string second = Listen(1000);
    EXPECT_NEAR(static_cast<double>(second.size()), 960, 3);
    EXPECT_EQ(second.substr(0, 4), "abab");
    EXPECT_TRUE(Mount().NextByteIn().has_value());
    Mount().Write(":pS#");
    EXPECT_NE(Listen(200).find("East#"), std::string::npos);
    Mount().ClearMisbehaviours();
    Listen(100);
    EXPECT_EQ(Listen(1000), "");
    EXPECT_EQ(Ask("pS"), "East#");
}

TEST_F(LineTest, NeverStopsSending_UnreadForLong_KeepsABufferful) {
    With<NeverStopsSending>();
    EXPECT_LE(Listen(3'600'000).size(), 65536U);
}

TEST_F(LineTest, DeadLine_HearsAndSaysNothing) {
    Mount().Write(":V#:Sr1");
    Mount().SetLineDead(true);
    EXPECT_EQ(Listen(100), "");
    EXPECT_EQ(Ask("V"), "");
    Mount().Send("hello");
    EXPECT_EQ(Listen(100), "");
    EXPECT_EQ(Mount().NextByteIn(), std::nullopt);
    EXPECT_EQ(Mount().Commands().size(), 1U);
    Mount().SetLineDead(false);
    EXPECT_EQ(Listen(100), "");
    EXPECT_EQ(Ask("V"), "VKC4-P02-08#");
}

TEST_F(LineTest, Send_ComesUnasked) {
    Mount().Send("Z");
    EXPECT_EQ(Mount().NextByteIn(), 0);
    EXPECT_EQ(Mount().Read(10), "Z");
}

TEST_F(LineTest, RandomStorm_IsTheSameForTheSameSeed) {
    const auto weather = [this](std::uint32_t seed, double probability) {
        UseFirmware("VKC4-P02-08");
        With<RandomStorm>(seed, probability);
        std::string heard;
        for (int i = 0; i < 200; ++i) {
            Mount().Write(":GR#:Sr01:02:03#:GOS#");
            heard += Listen(400);
        }
        return heard;
    };
    const std::string calm = weather(1, 0.0);
    const std::string storm = weather(1, 0.3);
    EXPECT_EQ(calm.size(), 200U * (13 + 1 + 15) - 200);
    EXPECT_NE(storm, calm);
    EXPECT_EQ(storm, weather(1, 0.3));
    EXPECT_NE(storm, weather(2, 0.3));
}

TEST_F(LineTest, RandomStorm_StrikesAsOftenAsTold) {
    auto owned = std::make_unique<RandomStorm>(7U, 0.25);
    const RandomStorm& storm = *owned;
    Mount().Add(std::move(owned));
    for (int i = 0; i < 2000; ++i) {
        Mount().Write(":pS#");
        Listen(20);
    }
    EXPECT_NEAR(storm.Strikes(), 500, 80);
}

}  // namespace
}  // namespace kestrane
