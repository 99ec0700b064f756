#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "http/server_fixture.h"
#include "server_fixture.h"

/// Connections of clients with objects, and what comes over them, through a real server.
namespace kestrane::alpaca {
namespace {

const std::string kName = "/api/v1/telescope/0/name";

TestServer::Options QuickLimits() {
    return {.limits = http::QuickLimits()};
}

void ExpectAlive(TestServer& server) {
    const auto answer = server.Connect().Get(kName);
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->status, 200);
}

TEST(ClientConnection, WithAnObject_IsNeverCutForIdling) {
    TestServer server(QuickLimits());
    RawClient client = server.Connect();
    ASSERT_EQ(client.Get(kName)->status, 200);
    // Two strangers, one after the other, sit out their idle limit meanwhile.
    EXPECT_TRUE(server.Connect().WaitForClose());
    EXPECT_TRUE(server.Connect().WaitForClose());
    EXPECT_EQ(client.Get(kName)->status, 200);
}

TEST(ClientConnection, ARunningCallIsNeverCut_AndGoesOnWhenItsClientHasGone) {
    TestServer server(QuickLimits());
    RawClient patient = server.Connect();
    {
        RawClient gone = server.Connect();
        ASSERT_TRUE(gone.Send(
            RawClient::PutText("/api/v1/telescope/0/slewtocoordinates", "RightAscension=1&Declination=2&ClientID=1")));
        ASSERT_TRUE(patient.Send(
            RawClient::PutText("/api/v1/telescope/0/slewtocoordinates", "RightAscension=1&Declination=2&ClientID=2")));
        while (Slews().running < 2) {
            std::this_thread::yield();
        }
        gone.Reset();
    }
    EXPECT_TRUE(server.Connect().WaitForClose());  // longer than every limit
    EXPECT_EQ(Slews().running, 2);
    EXPECT_EQ(server.Connect().Put("/api/v1/telescope/0/abortslew", "")->status, 200);
    EXPECT_EQ(patient.Read()->status, 200);
    ExpectAlive(server);
}

TEST(ClientConnection, BeyondTheirNumber_IdleStrangersMakeRoom) {
    TestServer::Options options = QuickLimits();
    options.limits.idleSteps = 10'000;
    options.limits.connections = 20;
    TestServer server(options);
    RawClient client = server.Connect();
    ASSERT_EQ(client.Get(kName)->status, 200);
    std::vector<RawClient> strangers;
    for (int i = 0; i < 100; ++i) {
        strangers.push_back(server.Connect());
    }
    ExpectAlive(server);
    EXPECT_EQ(client.Get(kName)->status, 200);
    while (server.ConnectionCount() > 20U) {
        std::this_thread::yield();  // new ones are spared for a moment
    }
}

TEST(ClientConnection, WithAllOfThemInSlews_AnAbortFromANewClientStopsThem) {
    std::thread page;
    TestServer::Options options;
    options.limits.connections = 3;
    options.branches = {{.path = "/stop",
                         .handle =
                             [&page](const http::Request&, const http::AnswerFunction& answer) {
                                 page = std::thread([answer] { answer({200, "text/plain", "Stopped."}); });
                             },
                         .isUrgent = true}};
    TestServer server(options);
    std::vector<RawClient> slewing;
    for (int id = 1; id <= 3; ++id) {
        slewing.push_back(server.Connect());
        ASSERT_TRUE(slewing.back().Send(RawClient::PutText(
            "/api/v1/telescope/0/slewtocoordinates", "RightAscension=1&Declination=2&ClientID=" + std::to_string(id))));
    }
    while (Slews().running < 3) {
        std::this_thread::yield();
    }
    RawClient reader = server.Connect();
    ASSERT_TRUE(reader.Send(RawClient::GetText(kName)));
    EXPECT_EQ(server.Connect().Put("/stop", "")->body, "Stopped.") << "of a branch, from a thread of its own";
    page.join();
    EXPECT_EQ(server.Connect().Put("/api/v1/telescope/0/abortslew", "ClientID=9")->status, 200);
    for (RawClient& client : slewing) {
        EXPECT_EQ(client.Read()->status, 200);
    }
}

TEST(ClientConnection, OfOneClient_AreSixtyFour_AndTheOldestIdleOneMakesRoom) {
    TestServer server;
    const auto ask = [](RawClient& client, int id) {
        return client.Get(kName + "?ClientID=" + std::to_string(id))->status;
    };
    RawClient other = server.Connect();
    EXPECT_EQ(ask(other, 2), 200);
    std::vector<RawClient> clients;
    for (int i = 0; i < 65; ++i) {
        clients.push_back(server.Connect());
        EXPECT_EQ(ask(clients.back(), 1), 200);
    }
    EXPECT_TRUE(clients.front().WaitForClose());
    EXPECT_EQ(server.ConnectionCount(), 65U);
    EXPECT_EQ(ask(clients[1], 1), 200);
    EXPECT_EQ(ask(other, 2), 200);
}

TEST(ClientConnection, AStormOfRandomBytesHarmsNobody) {
    TestServer server(QuickLimits());
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const std::string request = RawClient::PutText("/api/v1/telescope/0/connected", "Connected=True&ClientID=7");
    for (int round = 0; round < 300; ++round) {
        std::string bytes = request;
        if (round % 3 == 0) {
            bytes.resize(random() % 4000);
            std::ranges::generate(bytes, [&random] { return static_cast<char>(random() & 0xFF); });
        } else {
            for (auto damage = random() % 5 + 1; damage > 0; --damage) {
                bytes[random() % bytes.size()] = static_cast<char>(random() & 0xFF);
            }
        }
        RawClient client = server.Connect();
        client.Send(bytes);
        if (round % 2 == 0) {
            client.FinishSending();
            client.WaitForClose();
        }
    }
    ExpectAlive(server);
}

}  // namespace
}  // namespace kestrane::alpaca
