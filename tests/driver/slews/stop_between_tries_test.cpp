#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <memory>

#include "simulator/http_adapter.h"
#include "simulator/misbehaviours.h"
#include "support/driver_fixture.h"
#include "support/serve_simulator.h"

/// While a mount is silent each exchange has several tries. A stop waits for one of them, over each transport.
namespace kestrane {
namespace {

enum class Road { Serial, Ip };

constexpr std::int64_t kOneTryMs = 1'100;  // the time-out of the settings, and once more for the line to be cleared

class StopBetweenTriesTest : public DriverFixture, public testing::WithParamInterface<Road> {
protected:
    /// A new process with a new mount.
    void Connect() {
        telescope = {};
        other = {};
        driver.reset();
        log.clear();
        BuildMount("VKC4-P02-08");
        adapter = std::make_unique<HttpAdapter>(machine.clock, *mount);
        ServeAdapter(machine.http, *adapter);
        Seed({{"chkAutoCalibrateOnFirstSlew", "0"}, {"txtIpAddress", "mount.example"}});
        Seed({{"chkIPAddress", GetParam() == Road::Ip ? "1" : "0"}});
        telescope = ConnectedTelescope();
        other = driver->CreateTelescope();
        machine.AdvanceTime(6'000);
        ExpectSwallow("*");
    }
    /// The mount hears what is said, and none of its replies come through.
    void LoseReplies() {
        if (GetParam() == Road::Ip) {
            adapter->SetFault(HttpAdapter::Fault::LosesReplies);
        } else {
            mount->Add(std::make_unique<DropsReply>());
        }
    }
    void StopIn(std::int32_t milliseconds) {
        askedAt = machine.clock.Elapsed() + milliseconds;
        machine.pump.PostAt(askedAt, CallKind::Stop, [this] {
            stoppedAt = machine.clock.Elapsed();
            other->AbortSlew();
        });
    }
    void ExpectStoppedAfterOneTry() const {
        ASSERT_GE(stoppedAt, askedAt);
        EXPECT_LE(stoppedAt - askedAt, kOneTryMs);
    }

    std::unique_ptr<HttpAdapter> adapter;
    TelescopeObject telescope, other;
    std::int64_t askedAt = -1;
    std::int64_t stoppedAt = -1;
};

TEST_P(StopBetweenTriesTest, OfTheStepsOfAGoto_GetsIn_AndNoneOfThemIsTriedAgain) {
    int endedBetweenTries = 0;
    for (std::int32_t offset = 0; offset < 3'000; offset += 150) {
        SCOPED_TRACE("stop after " + std::to_string(offset) + " ms");
        Connect();
        telescope->TargetRightAscension(std::fmod(telescope->SiderealTime() + 22.0, 24.0));
        telescope->TargetDeclination(30.0);
        driver->poll.SetPolling(false);
        for (const char* step : {"Sr", "Sd", "MS"}) {
            mount->Add(std::make_unique<DropsReply>(step));
        }
        adapter->SetDelay(400);
        const std::vector<std::string> sent = SentBy([&] {
            machine.pump.Run(CallKind::Brief, [&] {
                StopIn(offset);
                telescope->SlewToTargetAsync();
            });
            machine.AdvanceTime(3'000);
        });
        ExpectStoppedAfterOneTry();
        const auto stop = std::ranges::find(sent, "Q");
        ASSERT_NE(stop, sent.end());
        EXPECT_TRUE(std::none_of(stop, sent.end(), [](const std::string& text) {
            return text.starts_with("Sr") || text.starts_with("Sd") || text == "MS";
        })) << testing::PrintToString(sent);
        endedBetweenTries += Logged("No further try: a stop has ended") ? 1 : 0;
    }
    EXPECT_GT(endedBetweenTries, 0);
}

TEST_P(StopBetweenTriesTest, OfAQuestionOfThePoll_GetsIn_AndTheQuestionIsAskedAgain) {
    Connect();
    LoseReplies();
    const std::size_t before = mount->Commands().size();
    StopIn(400);
    machine.AdvanceTime(3'000);
    ExpectStoppedAfterOneTry();
    EXPECT_GT(stoppedAt, askedAt) << "no question was under way";
    const std::vector<std::string>& all = mount->Commands();
    const auto stop = std::find(all.begin() + static_cast<std::ptrdiff_t>(before), all.end(), "Q");
    ASSERT_NE(stop, all.end());
    const auto asked = std::find_if(std::make_reverse_iterator(stop), all.rend(),
                                    [](const std::string& text) { return text.starts_with("G"); });
    ASSERT_NE(asked, all.rend());
    const auto next = std::find_if(stop, all.end(), [](const std::string& text) { return text.starts_with("G"); });
    ASSERT_NE(next, all.end());
    EXPECT_EQ(*next, *asked);
}

TEST_P(StopBetweenTriesTest, OfAClientsOwnText_GetsIn_AndNoFurtherTryGoesOut) {
    Connect();
    driver->poll.SetPolling(false);
    LoseReplies();
    telescope->MaxSerialRetries(2);
    for (const bool isGoto : {true, false}) {
        SCOPED_TRACE(isGoto);
        const std::string text = isGoto ? "MS" : "GR";
        const std::vector<std::string> sent = SentBy([&] {
            machine.pump.Run(CallKind::Brief, [&] {
                StopIn(50);
                if (isGoto) {
                    EXPECT_FALSE(telescope->CommandBool(text, false));
                } else {
                    EXPECT_EQ(telescope->CommandString(text, false), "");
                }
            });
        });
        ExpectStoppedAfterOneTry();
        EXPECT_EQ(std::ranges::count(sent, text), 1) << testing::PrintToString(sent);
    }
}

INSTANTIATE_TEST_SUITE_P(Roads, StopBetweenTriesTest, testing::Values(Road::Serial, Road::Ip),
                         [](const auto& row) { return row.param == Road::Serial ? "serial" : "ip"; });

}  // namespace
}  // namespace kestrane
