#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "server_fixture.h"

/// Connections, limits and garbage, through a real server.
namespace kestrane::alpaca {
namespace {

const std::string kName = "/api/v1/telescope/0/name";

TestServer::Options QuickLimits() {
    TestServer::Options options;
    options.limits.step = std::chrono::milliseconds(10);
    options.limits.readSteps = 10;
    options.limits.idleSteps = 20;
    options.limits.writeSteps = 30;
    options.limits.drainSteps = 10;
    return options;
}

void ExpectAlive(TestServer& server) {
    const auto answer = server.Connect().Get(kName);
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->status, 200);
}

TEST(HttpConnection, IsKeptAliveFromRequestToRequest) {
    TestServer server;
    RawClient client = server.Connect();
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(client.Get(kName)->status, 200);
    }
    EXPECT_EQ(server.ConnectionCount(), 1U);
}

TEST(HttpConnection, IsClosedWhenTheClientAsksForIt) {
    TestServer server;
    RawClient client = server.Connect();
    const auto answer = client.Get(kName, "Connection: close\r\n");
    EXPECT_NE(answer->head.find("\r\nConnection: close\r\n"), std::string::npos);
    EXPECT_TRUE(client.WaitForClose());
}

TEST(HttpConnection, OfTheOldProtocol_IsClosedUnlessKeptAliveExpressly) {
    TestServer server;
    RawClient brief = server.Connect();
    ASSERT_TRUE(brief.Send("GET " + kName + " HTTP/1.0\r\n\r\n"));
    EXPECT_EQ(brief.Read()->status, 200);
    EXPECT_TRUE(brief.WaitForClose());
    RawClient kept = server.Connect();
    ASSERT_TRUE(kept.Send("GET " + kName + " HTTP/1.0\r\nConnection: keep-alive\r\n\r\n"));
    EXPECT_NE(kept.Read()->head.find("\r\nConnection: keep-alive\r\n"), std::string::npos);
    EXPECT_EQ(kept.Get(kName)->status, 200);
}

TEST(HttpConnection, AnswersPipelinedRequestsInTheirOrder) {
    TestServer server;
    RawClient client = server.Connect();
    std::string text;
    for (int i = 1; i <= 50; ++i) {
        const std::string id = "ClientTransactionID=" + std::to_string(i);
        text += i % 2 == 0 ? RawClient::GetText(kName + "?" + id)
                           : RawClient::PutText("/api/v1/telescope/0/connected", "Connected=True&" + id);
    }
    ASSERT_TRUE(client.Send(text));
    for (int i = 1; i <= 50; ++i) {
        const auto answer = client.Read();
        ASSERT_TRUE(answer);
        EXPECT_NE(answer->body.find("\"ClientTransactionID\":" + std::to_string(i) + ","), std::string::npos);
    }
}

TEST(HttpConnection, TakesARequestThatComesByteByByte) {
    TestServer server;
    RawClient client = server.Connect();
    for (const char c : RawClient::PutText("/api/v1/telescope/0/connected", "Connected=True")) {
        ASSERT_TRUE(client.Send(std::string(1, c)));
    }
    EXPECT_EQ(client.Read()->status, 200);
}

TEST(HttpConnection, TakesChunkedBodies) {
    TestServer server;
    RawClient client = server.Connect();
    ASSERT_TRUE(
        client.Send("PUT /api/v1/telescope/0/connected HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n"
                    "9\r\nConnected\r\n5\r\n=True\r\n0\r\n\r\n"));
    EXPECT_EQ(client.Read()->status, 200);
    EXPECT_EQ(server.World().diary.Count("telescope true"), 1);
}

TEST(HttpConnection, InvitesTheBodyOfAClientThatWaitsForIt) {
    TestServer server;
    RawClient client = server.Connect();
    ASSERT_TRUE(
        client.Send("PUT /api/v1/telescope/0/connected HTTP/1.1\r\nContent-Length: 14\r\n"
                    "Expect: 100-continue\r\n\r\n"));
    EXPECT_EQ(client.Read()->status, 100);
    ASSERT_TRUE(client.Send("Connected=True"));
    EXPECT_EQ(client.Read()->status, 200);
}

TEST(HttpConnection, AnswersAClientThatHasFinishedSending) {
    TestServer server;
    RawClient client = server.Connect();
    ASSERT_TRUE(client.Send(RawClient::GetText(kName)));
    client.FinishSending();
    EXPECT_EQ(client.Read()->status, 200);
    EXPECT_TRUE(client.WaitForClose());
}

TEST(HttpConnection, ThatSendsNoHttp_IsToldSoAndClosed) {
    TestServer server;
    for (const std::string& garbage :
         {std::string("hello\r\n\r\n"), std::string("GET\r\n\r\n"), std::string("GET / HTTP/9.9\r\n\r\n"),
          std::string("PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n"),
          std::string("\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03", 11), std::string(64, '\0'),
          std::string("GET / HTTP/1.1\r\nNo colon here\r\n\r\n"),
          std::string("PUT / HTTP/1.1\r\nContent-Length: x\r\n\r\n"),
          std::string("PUT / HTTP/1.1\r\nContent-Length: -1\r\n\r\n"),
          std::string("PUT / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\nzz\r\n")}) {
        SCOPED_TRACE(garbage);
        RawClient client = server.Connect();
        ASSERT_TRUE(client.Send(garbage));
        const auto answer = client.Read();
        ASSERT_TRUE(answer);
        EXPECT_EQ(answer->status, 400);
        EXPECT_EQ(answer->body.find('\n'), answer->body.size() - 1);
        EXPECT_TRUE(client.WaitForClose());
    }
    ExpectAlive(server);
}

TEST(HttpConnection, WithHugeHeaders_GetsStatus400AndReadsItThoughItSendsOn) {
    TestServer server;
    RawClient client = server.Connect();
    client.Send("GET " + kName + " HTTP/1.1\r\nX: " + std::string(200'000, 'x'));
    const auto answer = client.Read();
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->status, 400);
    ExpectAlive(server);
}

TEST(HttpConnection, HoldsHeadersAndBodiesToTheirLimits) {
    TestServer server;
    const std::string put = "/api/v1/telescope/0/commandstring";
    const auto body = [](std::size_t size) {
        const std::string rest = "Raw=True&Command=";
        return rest + std::string(size - rest.size(), 'x');
    };
    EXPECT_EQ(server.Connect().Get(kName, "X: " + std::string(15'000, 'x') + "\r\n")->status, 200);
    EXPECT_EQ(server.Connect().Get(kName, "X: " + std::string(17'000, 'x') + "\r\n")->status, 400);
    EXPECT_EQ(server.Connect().Put(put, body(64 * 1024))->status, 200);
    EXPECT_EQ(server.Connect().Put(put, body(64 * 1024 + 1))->status, 400);
    RawClient claims = server.Connect();
    ASSERT_TRUE(claims.Send("PUT " + put + " HTTP/1.1\r\nContent-Length: 18446744073709551615\r\n\r\n"));
    EXPECT_EQ(claims.Read()->status, 400);
}

TEST(HttpConnection, WithHalfARequest_IsGivenUpAfterTheReadLimit) {
    TestServer server(QuickLimits());
    for (const std::string& half :
         {std::string("G"), std::string("GET /api HTTP/1.1\r\nHost: local"),
          std::string("PUT /api/v1/telescope/0/connected HTTP/1.1\r\nContent-Length: 14\r\n\r\nConnec")}) {
        RawClient client = server.Connect();
        ASSERT_TRUE(client.Send(half));
        EXPECT_EQ(client.Read()->status, 400);
        EXPECT_TRUE(client.WaitForClose());
    }
    EXPECT_EQ(server.ObjectCount(), 0U);
}

TEST(HttpConnection, OfAStranger_IsClosedAfterTheIdleLimit) {
    TestServer server(QuickLimits());
    RawClient silent = server.Connect();
    RawClient visitor = server.Connect();
    EXPECT_EQ(visitor.Get("/management/apiversions")->status, 200);
    EXPECT_TRUE(silent.WaitForClose());
    EXPECT_TRUE(visitor.WaitForClose());
}

TEST(HttpConnection, OfAClientWithAnObject_IsNeverCutForIdling) {
    TestServer server(QuickLimits());
    RawClient client = server.Connect();
    ASSERT_EQ(client.Get(kName)->status, 200);
    // Two strangers, one after the other, sit out their idle limit meanwhile.
    EXPECT_TRUE(server.Connect().WaitForClose());
    EXPECT_TRUE(server.Connect().WaitForClose());
    EXPECT_EQ(client.Get(kName)->status, 200);
}

TEST(HttpConnection, ARunningCallIsNeverCut_AndGoesOnWhenItsClientHasGone) {
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

TEST(HttpConnection, ClientsThatResetInTheMiddleHarmNobody) {
    TestServer server;
    for (int i = 0; i < 50; ++i) {
        RawClient client = server.Connect();
        client.Send(RawClient::GetText(kName).substr(0, static_cast<std::size_t>(i)));
        client.Reset();
        RawClient asker = server.Connect();
        asker.Send(RawClient::GetText(kName));
        asker.Reset();
    }
    ExpectAlive(server);
}

TEST(HttpConnection, TwoHundredIdleOnesHarmNobody) {
    TestServer server;
    std::vector<RawClient> idle;
    for (int i = 0; i < 200; ++i) {
        idle.push_back(server.Connect());
        if (i % 2 == 0) {
            idle.back().Send("GET /api/v1/tele");
        }
    }
    ExpectAlive(server);
    EXPECT_EQ(idle[1].Get(kName)->status, 200);
}

TEST(HttpConnection, BeyondTheirNumber_IdleStrangersMakeRoom) {
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
    EXPECT_LE(server.ConnectionCount(), 20U);
}

TEST(HttpConnection, BeyondTheirNumber_WithoutStrangersANewOneWaitsForItsTurn) {
    TestServer::Options options;
    options.limits.connections = 5;
    TestServer server(options);
    std::vector<RawClient> clients;
    for (int i = 0; i < 5; ++i) {
        clients.push_back(server.Connect());
        ASSERT_EQ(clients.back().Get(kName)->status, 200);
    }
    RawClient waiting = server.Connect();
    ASSERT_TRUE(waiting.Send(RawClient::GetText(kName)));
    EXPECT_EQ(clients.front().Get(kName)->status, 200);
    clients.pop_back();
    EXPECT_EQ(waiting.Read()->status, 200);
}

TEST(HttpConnection, AStormOfRandomBytesHarmsNobody) {
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
