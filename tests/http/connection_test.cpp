#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

#include "server_fixture.h"

/// Connections, limits and garbage, through a real server.
namespace kestrane::http {
namespace {

const std::string kPath = "/now";

void ExpectAlive(TestServer& server) {
    const auto answer = server.Connect().Get(kPath);
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->status, 200);
}

TEST(HttpConnection, IsKeptAliveFromRequestToRequest) {
    TestServer server;
    RawClient client = server.Connect();
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(client.Get(kPath)->status, 200);
    }
    EXPECT_EQ(server.ConnectionCount(), 1U);
}

TEST(HttpConnection, IsClosedWhenTheClientAsksForIt) {
    TestServer server;
    RawClient client = server.Connect();
    const auto answer = client.Get(kPath, "Connection: close\r\n");
    EXPECT_NE(answer->head.find("\r\nConnection: close\r\n"), std::string::npos);
    EXPECT_TRUE(client.WaitForClose());
}

TEST(HttpConnection, OfTheOldProtocol_IsClosedUnlessKeptAliveExpressly) {
    TestServer server;
    RawClient brief = server.Connect();
    ASSERT_TRUE(brief.Send("GET " + kPath + " HTTP/1.0\r\n\r\n"));
    EXPECT_EQ(brief.Read()->status, 200);
    EXPECT_TRUE(brief.WaitForClose());
    RawClient kept = server.Connect();
    ASSERT_TRUE(kept.Send("GET " + kPath + " HTTP/1.0\r\nConnection: keep-alive\r\n\r\n"));
    EXPECT_NE(kept.Read()->head.find("\r\nConnection: keep-alive\r\n"), std::string::npos);
    EXPECT_EQ(kept.Get(kPath)->status, 200);
}

TEST(HttpConnection, AnswersPipelinedRequestsInTheirOrder) {
    TestServer server;
    RawClient client = server.Connect();
    std::string text;
    for (int i = 1; i <= 50; ++i) {
        text += i % 2 == 0 ? RawClient::GetText("/later?" + std::to_string(i))
                           : RawClient::PutText("/now", std::to_string(i));
    }
    ASSERT_TRUE(client.Send(text));
    for (int i = 1; i <= 50; ++i) {
        const auto answer = client.Read();
        ASSERT_TRUE(answer);
        EXPECT_EQ(answer->body,
                  i % 2 == 0 ? "GET /later?" + std::to_string(i) + " " : "PUT /now? " + std::to_string(i));
    }
}

TEST(HttpConnection, TakesARequestThatComesByteByByte) {
    TestServer server;
    RawClient client = server.Connect();
    for (const char c : RawClient::PutText("/now", "Connected=True")) {
        ASSERT_TRUE(client.Send(std::string(1, c)));
    }
    EXPECT_EQ(client.Read()->body, "PUT /now? Connected=True");
}

TEST(HttpConnection, TakesChunkedBodies) {
    TestServer server;
    RawClient client = server.Connect();
    ASSERT_TRUE(
        client.Send("PUT /now HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n"
                    "9\r\nConnected\r\n5\r\n=True\r\n0\r\n\r\n"));
    EXPECT_EQ(client.Read()->body, "PUT /now? Connected=True");
}

TEST(HttpConnection, InvitesTheBodyOfAClientThatWaitsForIt) {
    TestServer server;
    RawClient client = server.Connect();
    ASSERT_TRUE(
        client.Send("PUT /now HTTP/1.1\r\nContent-Length: 14\r\n"
                    "Expect: 100-continue\r\n\r\n"));
    EXPECT_EQ(client.Read()->status, 100);
    ASSERT_TRUE(client.Send("Connected=True"));
    EXPECT_EQ(client.Read()->body, "PUT /now? Connected=True");
}

TEST(HttpConnection, AnswersAClientThatHasFinishedSending) {
    TestServer server;
    RawClient client = server.Connect();
    ASSERT_TRUE(client.Send(RawClient::GetText(kPath)));
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
    client.Send("GET " + kPath + " HTTP/1.1\r\nX: " + std::string(200'000, 'x'));
    const auto answer = client.Read();
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->status, 400);
    ExpectAlive(server);
}

TEST(HttpConnection, HoldsHeadersAndBodiesToTheirLimits) {
    TestServer server;
    const std::string put = "/now";
    const auto body = [](std::size_t size) { return std::string(size, 'x'); };
    EXPECT_EQ(server.Connect().Get(kPath, "X: " + std::string(15'000, 'x') + "\r\n")->status, 200);
    EXPECT_EQ(server.Connect().Get(kPath, "X: " + std::string(17'000, 'x') + "\r\n")->status, 400);
    EXPECT_EQ(server.Connect().Put(put, body(64 * 1024))->status, 200);
    EXPECT_EQ(server.Connect().Put(put, body(64 * 1024 + 1))->status, 413);
    RawClient claims = server.Connect();
    ASSERT_TRUE(claims.Send("PUT " + put + " HTTP/1.1\r\nContent-Length: 18446744073709551615\r\n\r\n"));
    EXPECT_EQ(claims.Read()->status, 413);
    RawClient chunked = server.Connect();
    chunked.Send("PUT " + put + " HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n11170\r\n" + body(70'000) +
                 "\r\n0\r\n\r\n");
    EXPECT_EQ(chunked.Read()->status, 413);
}

TEST(HttpConnection, WithHalfARequest_IsGivenUpAfterTheReadLimit) {
    TestServer server(QuickLimits());
    for (const std::string& half : {std::string("G"), std::string("GET /api HTTP/1.1\r\nHost: local"),
                                    std::string("PUT /now HTTP/1.1\r\nContent-Length: 14\r\n\r\nConnec")}) {
        RawClient client = server.Connect();
        ASSERT_TRUE(client.Send(half));
        EXPECT_EQ(client.Read()->status, 400);
        EXPECT_TRUE(client.WaitForClose());
    }
    EXPECT_EQ(server.Handled(), 0);
}

TEST(HttpConnection, OfAStranger_IsClosedAfterTheIdleLimit) {
    TestServer server(QuickLimits());
    RawClient silent = server.Connect();
    RawClient visitor = server.Connect();
    EXPECT_EQ(visitor.Get(kPath)->status, 200);
    EXPECT_TRUE(silent.WaitForClose());
    EXPECT_TRUE(visitor.WaitForClose());
}

TEST(HttpConnection, ThatIsKept_IsNeverCutForIdling) {
    TestServer server(QuickLimits());
    RawClient client = server.Connect();
    ASSERT_EQ(client.Get("/kept")->status, 200);
    // Two strangers, one after the other, sit out their idle limit meanwhile.
    EXPECT_TRUE(server.Connect().WaitForClose());
    EXPECT_TRUE(server.Connect().WaitForClose());
    EXPECT_EQ(client.Get(kPath)->status, 200);
}

TEST(HttpConnection, WithAnAnswerDue_IsNeverCut_AndHarmsNobodyWhenItsClientHasGone) {
    TestServer server(QuickLimits());
    RawClient patient = server.Connect();
    {
        RawClient gone = server.Connect();
        ASSERT_TRUE(gone.Send(RawClient::GetText("/held")));
        ASSERT_TRUE(patient.Send(RawClient::GetText("/held")));
        while (server.Held() < 2) {
            std::this_thread::yield();
        }
        gone.Reset();
    }
    EXPECT_TRUE(server.Connect().WaitForClose());  // longer than every limit
    EXPECT_EQ(server.ConnectionCount(), 2U);
    server.Release();
    EXPECT_EQ(patient.Read()->status, 200);
    ExpectAlive(server);
}

TEST(HttpConnection, ClientsThatResetInTheMiddleHarmNobody) {
    TestServer server;
    for (int i = 0; i < 50; ++i) {
        RawClient client = server.Connect();
        client.Send(RawClient::GetText(kPath).substr(0, static_cast<std::size_t>(i)));
        client.Reset();
        RawClient asker = server.Connect();
        asker.Send(RawClient::GetText(kPath));
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
            idle.back().Send("GET /no");
        }
    }
    ExpectAlive(server);
    EXPECT_EQ(idle[1].Get(kPath)->status, 200);
}

TEST(HttpConnection, BeyondTheirNumber_IdleStrangersMakeRoom) {
    Limits limits = QuickLimits();
    limits.idleSteps = 10'000;
    limits.connections = 20;
    TestServer server(limits);
    RawClient client = server.Connect();
    ASSERT_EQ(client.Get("/kept/one")->status, 200);
    std::vector<RawClient> strangers;
    for (int i = 0; i < 100; ++i) {
        strangers.push_back(server.Connect());
    }
    EXPECT_EQ(client.Get(kPath)->status, 200);
    while (server.ConnectionCount() > 20U) {
        std::this_thread::yield();  // new ones are spared for a moment
    }
    ExpectAlive(server);
    EXPECT_EQ(client.Get(kPath)->status, 200);
}

TEST(HttpConnection, BeyondTheirNumber_TheOldestIdleOneOfWhoeverHoldsMostMakesRoom) {
    Limits limits;
    limits.connections = 5;
    TestServer server(limits);
    std::vector<RawClient> clients;
    for (const char* holder : {"one", "many", "many", "many", "other"}) {
        clients.push_back(server.Connect());
        ASSERT_EQ(clients.back().Get(std::string("/kept/") + holder)->status, 200);
    }
    RawClient late = server.Connect();
    EXPECT_EQ(late.Get(kPath)->status, 200);
    EXPECT_TRUE(clients[1].WaitForClose());
    for (const std::size_t kept : {0U, 2U, 3U, 4U}) {
        EXPECT_EQ(clients[kept].Get(kPath)->status, 200);
    }
}

TEST(HttpConnection, OfOneHolder_AreClosedBeyondTheirNumber_TheOldestIdleOneFirst) {
    Limits limits;
    limits.perHolder = 3;
    TestServer server(limits);
    RawClient other = server.Connect();
    ASSERT_EQ(other.Get("/kept/other")->status, 200);
    std::vector<RawClient> clients;
    clients.push_back(server.Connect());
    ASSERT_TRUE(clients.back().Send(RawClient::GetText("/held/one")));  // busy: it is spared
    while (server.Held() < 1) {
        std::this_thread::yield();
    }
    for (int i = 0; i < 3; ++i) {
        clients.push_back(server.Connect());
        ASSERT_EQ(clients.back().Get("/kept/one")->status, 200);
    }
    EXPECT_TRUE(clients[1].WaitForClose());
    server.Release();
    EXPECT_EQ(clients[0].Read()->status, 200);
    EXPECT_EQ(clients[2].Get(kPath)->status, 200);
    EXPECT_EQ(clients[3].Get(kPath)->status, 200);
    EXPECT_EQ(other.Get(kPath)->status, 200);
}

TEST(HttpConnection, WithAllOfThemBusy_AnUrgentRequestFindsAWayIn_AndNoOther) {
    Limits limits;
    limits.connections = 4;
    limits.urgentConnections = 3;
    TestServer server(limits);
    std::vector<RawClient> busy;
    for (int i = 0; i < 4; ++i) {
        busy.push_back(server.Connect());
        ASSERT_TRUE(busy.back().Send(RawClient::GetText("/held")));
    }
    while (server.Held() < 4) {
        std::this_thread::yield();
    }
    std::vector<RawClient> silent;
    for (int i = 0; i < 10; ++i) {
        silent.push_back(server.Connect());
        silent.back().Send("GET /no");
    }
    RawClient first = server.Connect();
    ASSERT_TRUE(first.Send(RawClient::GetText(kPath)));
    while (server.Considered() < 1) {
        std::this_thread::yield();
    }
    RawClient second = server.Connect();
    ASSERT_TRUE(second.Send(RawClient::GetText(kPath)));
    while (server.Considered() < 2) {
        std::this_thread::yield();
    }
    RawClient urgent = server.Connect();
    EXPECT_EQ(urgent.Put("/now/urgent", "")->status, 200);
    EXPECT_EQ(first.Read()->status, 503);
    EXPECT_TRUE(first.WaitForClose());
    server.Release();
    EXPECT_EQ(second.Read()->status, 200);  // it has waited for room
    for (RawClient& client : busy) {
        EXPECT_EQ(client.Read()->status, 200);
    }
    ExpectAlive(server);
}

TEST(Gate, ShutsWhenNothingIsUnderWay_AndLeavesNewClientsOutside) {
    TestServer server;
    RawClient idle = server.Connect();
    ASSERT_EQ(idle.Get(kPath)->status, 200);
    while (!server.CloseGate()) {
        std::this_thread::yield();  // the answer may count as under way for a moment after it has come
    }
    EXPECT_TRUE(idle.WaitForClose());
    EXPECT_EQ(server.Closed(), 1);
    RawClient outside = server.Connect();
    ASSERT_TRUE(outside.Send(RawClient::GetText(kPath)));
    EXPECT_EQ(server.ConnectionCount(), 0U);
    server.OpenGate();
    EXPECT_EQ(outside.Read()->status, 200);
}

TEST(Gate, StaysOpenForARequestThatIsHalfRead) {
    TestServer server;
    RawClient client = server.Connect();
    ASSERT_EQ(client.Get(kPath)->status, 200);
    ASSERT_TRUE(client.Send("GET /now HT"));
    EXPECT_FALSE(server.CloseGate());
    ASSERT_TRUE(client.Send("TP/1.1\r\n\r\n"));
    EXPECT_EQ(client.Read()->status, 200);
}

TEST(Gate, StaysOpenWhileAnAnswerIsDue_AlsoToAClientThatHasGone) {
    TestServer server;
    RawClient client = server.Connect();
    ASSERT_TRUE(client.Send(RawClient::GetText("/held")));
    while (server.Held() < 1) {
        std::this_thread::yield();
    }
    client.Reset();
    EXPECT_FALSE(server.CloseGate());
    server.Release();
    while (server.Closed() < 1) {
        std::this_thread::yield();
    }
    EXPECT_TRUE(server.CloseGate());
}

}  // namespace
}  // namespace kestrane::http
