#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "link/link_factory.h"
#include "link/link_fixture.h"

/// The same commands and replies on both roads to the companion: its virtual serial port, and its REST interface.
namespace kestrane {
namespace {

enum class CompanionRoad { Port, Rest };

class CompanionRoads : public LinkFixture {
protected:
    CompanionRoads() {
        machine.http.Serve([this](const HttpRequest&) -> std::optional<VirtualHttp::Answer> {
            if (restResponses_.empty()) {
                return VirtualHttp::Ok(R"({"ResponseString": "", "Result": "none", "Success": false})", 30);
            }
            const std::string response = restResponses_.front();
            restResponses_.erase(restResponses_.begin());
            return VirtualHttp::Ok(R"({"ResponseString": ")" + response + R"(", "Result": "OK", "Success": true})", 30);
        });
        state.g_bQuayLink = true;
        state.g_nQuaySeq = 7;
        exchange->MaxSerialRetries(2);
        swallowsExpected = true;
    }

    void GoBy(CompanionRoad road) {
        road_ = road;
        if (road == CompanionRoad::Rest) {
            persist.Write(setting::chkQuayRestApi, "1");
            const LinkFactory links{.ports = machine.serialPorts,
                                    .http = machine.http,
                                    .applicationSettings = machine.applicationSettings,
                                    .messageBoxes = machine.messageBoxes,
                                    .clock = clock,
                                    .log = log,
                                    .counters = counters,
                                    .alarmFilter = alarmFilter,
                                    .ledger = ledger,
                                    .persist = persist};
            std::unique_ptr<classTCPComm> rest = links.MakeIp();
            rest->IpAddress("192.0.2.7");
            link = std::move(rest);
            link->Connected(true);
        }
    }
    /// The reply to the next command.
    void Reply(const std::string& text) {
        if (road_ == CompanionRoad::Rest) {
            restResponses_.push_back(text);
        } else if (!text.empty()) {
            line.Schedule(clock.Elapsed() + 30, text);
        }
    }
    /// What has gone out since the last call.
    std::string Sent() {
        if (road_ == CompanionRoad::Port) {
            return std::exchange(line.written, {});
        }
        std::string sent;
        for (const auto& requests = machine.http.Requests(); requestsSeen_ < requests.size(); ++requestsSeen_) {
            sent += requests[requestsSeen_].body;
        }
        return sent;
    }
    bool WasLogged(const std::string& text) const {
        for (const std::string& logged : LogLines()) {
            if (logged == text) {
                return true;
            }
        }
        return false;
    }

private:
    CompanionRoad road_ = CompanionRoad::Port;
    std::vector<std::string> restResponses_;
    std::size_t requestsSeen_ = 0;
};

// --- what goes out --------------------------------------------------------------------------------------------------

struct RoadWrapRow {
    std::string command;
    bool raw;
    std::string wrapped;
};

TEST_F(CompanionRoads, ACommandForAText_IsWrappedAlikeOnBoth) {
    const RoadWrapRow rows[] = {
        {"GR", false, ":QUAY,7,GR#"},
        {":GR#", true, ":QUAY,7,GR##"},
        {":GR##", true, ":QUAY,7,GR##"},
        {"GR", true, ":QUAY,7,GR#"},
        {"*SLEW,1.5,-20", false, ":QUAY,7,*SLEW,1.5,-20#"},
        {"ZZ01,1", false, ":QUAY,7,ZZ01,1#"},
    };
    for (const CompanionRoad road : {CompanionRoad::Port, CompanionRoad::Rest}) {
        GoBy(road);
        for (const RoadWrapRow& row : rows) {
            state.g_nQuaySeq = 7;
            Reply("QUAY,x,7,ok#");
            EXPECT_EQ(exchange->CommandString(row.command, row.raw), "ok") << row.command;
            EXPECT_EQ(Sent(), road == CompanionRoad::Port ? row.wrapped : "{  \"Command\": \"" + row.wrapped + "\"}");
            EXPECT_EQ(state.g_nQuaySeq, 8);
        }
    }
}

TEST_F(CompanionRoads, OtherCommands_GoOutAsTheyAreOnBoth) {
    for (const CompanionRoad road : {CompanionRoad::Port, CompanionRoad::Rest}) {
        GoBy(road);
        Reply("1");
        EXPECT_TRUE(exchange->CommandBoolInternal("QUAY", false));
        EXPECT_EQ(Sent(), road == CompanionRoad::Port ? ":QUAY#" : "{  \"Command\": \":QUAY#\"}");
        exchange->CommandBlind("Q", false);
        EXPECT_EQ(Sent(), road == CompanionRoad::Port ? ":Q#" : "{  \"Command\": \":Q#\"}");
        EXPECT_EQ(state.g_nQuaySeq, 7);
    }
}

// --- what comes back ------------------------------------------------------------------------------------------------

struct RoadUnwrapRow {
    const char* name;
    std::string reply;        ///< all that one command brings
    std::string fromPort;     ///< the result
    std::string fromRest;     ///< the same where a read does not wait, and one read empties what was brought
    std::string complaint{};  ///< a line of the log on both roads
};

constexpr const char* kNoReply =
    "Telescope Error CommandString: NO Response or bad QUAY response: ':QUAY,7,GR#', Response='GR' -> Giving up!";
constexpr const char* kMismatch = "Telescope Error CommandString: QUAY response: ':QUAY,7,GR#', Response='old#', ";

class CompanionUnwrapOnRoads : public CompanionRoads,
                               public testing::WithParamInterface<std::tuple<CompanionRoad, RoadUnwrapRow>> {};

TEST_P(CompanionUnwrapOnRoads, AReply_GivesItsResult_AndTheNumberMovesOn) {
    const auto& [road, row] = GetParam();
    GoBy(road);
    Reply(row.reply);
    EXPECT_EQ(exchange->CommandString("GR", false), road == CompanionRoad::Port ? row.fromPort : row.fromRest);
    EXPECT_EQ(state.g_nQuaySeq, 8);
    EXPECT_TRUE(row.complaint.empty() || WasLogged(row.complaint)) << row.complaint;
    EXPECT_EQ(counters.Values().g_nRetransmits, 0);
    EXPECT_EQ(counters.Values().g_nLowPower, 0) << "the Y of a head is no alarm";
    if (road == CompanionRoad::Rest) {
        EXPECT_EQ(machine.http.Requests().size(), 1U) << "a stale reply is no reason to ask again";
    }
    Sent();
    Reply("QUAY,GD,8,next#");
    EXPECT_EQ(exchange->CommandString("GD", false), "next");
    EXPECT_EQ(state.g_nQuaySeq, 9);
}

INSTANTIATE_TEST_SUITE_P(
    Replies, CompanionUnwrapOnRoads,
    testing::Combine(testing::Values(CompanionRoad::Port, CompanionRoad::Rest),
                     testing::Values(RoadUnwrapRow{"Right", "QUAY,GR,7,12:34:56#", "12:34:56", "12:34:56"},
                                     RoadUnwrapRow{"Lag1ThenRight", "QUAY,GD,6,old#QUAY,GR,7,new#", "new", "",
                                                   std::string(kMismatch) + "SeqNum Mismatch=7 6"},
                                     RoadUnwrapRow{"Lag2ThenRight", "QUAY,GD,5,old#QUAY,GR,7,new#", "new", "",
                                                   std::string(kMismatch) + "SeqNum Mismatch=7 5"},
                                     RoadUnwrapRow{"Lag1Alone", "QUAY,GD,6,old#", "", "", kNoReply},
                                     RoadUnwrapRow{"Lag2Alone", "QUAY,GD,5,old#", "", "", kNoReply},
                                     RoadUnwrapRow{"Lag3", "QUAY,GD,4,old#", "", "",
                                                   "Telescope Warning CommandString: Sequence number is behind by 3"},
                                     RoadUnwrapRow{"Ahead", "QUAY,GD,8,old#", "", "",
                                                   "Telescope Warning CommandString: Sequence number is behind by -1"},
                                     RoadUnwrapRow{"WithoutANumber", "QUAY,GR#", "", "",
                                                   "Telescope Warning CommandString: Sequence number is behind by 8"},
                                     RoadUnwrapRow{"Foreign", "12:34:56#", "12:34:56", "12:34:56", kNoReply},
                                     RoadUnwrapRow{"None", "", "", "", kNoReply})),
    [](const auto& row) {
        return std::string(std::get<0>(row.param) == CompanionRoad::Port ? "Port" : "Rest") +
               std::get<1>(row.param).name;
    });

}  // namespace
}  // namespace kestrane
