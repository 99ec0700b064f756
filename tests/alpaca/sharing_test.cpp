#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "http/web_socket.h"
#include "http/web_socket_client.h"
#include "server_fixture.h"

/// Several clients at once, repeated requests, and the end of the process, through a real server.
namespace kestrane::alpaca {
namespace {

const std::string kTelescope = "/api/v1/telescope/0/";
const std::string kSlewBody = "RightAscension=1&Declination=2&ClientID=1&ClientTransactionID=77";

RawClient StartSlew(TestServer& server, const std::string& body, int running) {
    RawClient client = server.Connect();
    EXPECT_TRUE(client.Send(RawClient::PutText(kTelescope + "slewtocoordinates", body)));
    while (Slews().started < running) {
        std::this_thread::yield();
    }
    return client;
}

bool Slewing(RawClient& client) {
    const auto answer = client.Get(kTelescope + "slewing?ClientID=2");
    return answer && answer->body.find("\"Value\":true") != std::string::npos;
}

TEST(Sharing, BriefCallsAreAnsweredWhileAnotherClientHoldsALongOne) {
    TestServer server;
    RawClient slewing = StartSlew(server, kSlewBody, 1);
    RawClient polling = server.Connect();
    for (int i = 0; i < 200; ++i) {
        ASSERT_TRUE(Slewing(polling));
    }
    EXPECT_EQ(polling.Put(kTelescope + "abortslew", "ClientID=2")->status, 200);
    EXPECT_EQ(slewing.Read()->status, 200);
    EXPECT_FALSE(Slewing(polling));
}

TEST(Sharing, ALongCallRunsInsideAnotherLongOne) {
    TestServer server;
    RawClient first = StartSlew(server, "RightAscension=1&Declination=2&ClientID=1", 1);
    RawClient second = StartSlew(server, "RightAscension=1&Declination=2&ClientID=2", 2);
    Slews().finish = true;
    EXPECT_EQ(second.Read()->status, 200);
    EXPECT_EQ(first.Read()->status, 200);
}

TEST(Sharing, AnEqualPutOfAClientThatHasGone_IsJoinedToTheRunningOne) {
    TestServer server;
    { const RawClient impatient = StartSlew(server, kSlewBody, 1); }
    RawClient again = server.Connect();
    ASSERT_TRUE(again.Send(RawClient::PutText(kTelescope + "slewtocoordinates", kSlewBody)));
    RawClient other = server.Connect();
    for (int i = 0; i < 50; ++i) {
        ASSERT_TRUE(Slewing(other));
    }
    EXPECT_EQ(Slews().started, 1);
    Slews().finish = true;
    const auto answer = again.Read();
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->status, 200);
    EXPECT_NE(answer->body.find("\"ClientTransactionID\":77,"), std::string::npos);
    EXPECT_EQ(Slews().started, 1);
}

TEST(Sharing, AJoinedPutWhoseClientGoesToo_IsJoinedAgain) {
    TestServer server;
    { const RawClient first = StartSlew(server, kSlewBody, 1); }
    {
        RawClient second = server.Connect();
        ASSERT_TRUE(second.Send(RawClient::PutText(kTelescope + "slewtocoordinates", kSlewBody)));
        RawClient other = server.Connect();
        ASSERT_TRUE(Slewing(other));
    }
    RawClient third = server.Connect();
    ASSERT_TRUE(third.Send(RawClient::PutText(kTelescope + "slewtocoordinates", kSlewBody)));
    RawClient other = server.Connect();
    ASSERT_TRUE(Slewing(other));
    Slews().finish = true;
    EXPECT_EQ(third.Read()->status, 200);
    EXPECT_EQ(Slews().started, 1);
}

/// A slew whose client has gone before its end, and whose end somebody else's abort has brought.
void LoseTheAnswerOfASlew(TestServer& server, const std::string& body) {
    { const RawClient impatient = StartSlew(server, body, 1); }
    RawClient other = server.Connect();
    EXPECT_EQ(other.Put(kTelescope + "abortslew", "ClientID=2")->status, 200);
    while (Slewing(other)) {
    }
    Slews().finish = true;
}

TEST(Sharing, AnEqualPutAfterTheEnd_IsAnsweredFromMemory_IfNobodyHeardTheFirstAnswer) {
    TestServer server;
    LoseTheAnswerOfASlew(server, kSlewBody);
    RawClient again = server.Connect();
    const auto answer = again.Put(kTelescope + "slewtocoordinates", kSlewBody);
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->status, 200);
    EXPECT_NE(answer->body.find("\"ClientTransactionID\":77,"), std::string::npos);
    EXPECT_EQ(Slews().started, 1) << "what was aborted must not start again";
}

TEST(Sharing, AnEqualPutAfterTheEnd_StartsAgain_WhenTheFirstAnswerWasHeardOrCannotBeRecognised) {
    {
        TestServer server;
        Slews().finish = true;
        RawClient client = server.Connect();
        EXPECT_EQ(client.Put(kTelescope + "slewtocoordinates", kSlewBody)->status, 200);
        EXPECT_EQ(client.Put(kTelescope + "slewtocoordinates", kSlewBody)->status, 200);
        EXPECT_EQ(Slews().started, 2);
    }
    TestServer server;
    const std::string anonymous = "RightAscension=1&Declination=2&ClientID=1";
    LoseTheAnswerOfASlew(server, anonymous);
    RawClient again = server.Connect();
    EXPECT_EQ(again.Put(kTelescope + "slewtocoordinates", anonymous)->status, 200);
    EXPECT_EQ(Slews().started, 2);
}

TEST(Sharing, MemoryOfAnAnswer_HasAnEnd) {
    TestServer::Options options;
    options.repeatTime = std::chrono::milliseconds(20);
    TestServer server(options);
    LoseTheAnswerOfASlew(server, kSlewBody);
    RawClient again = server.Connect();
    while (Slews().started < 2) {
        ASSERT_EQ(again.Put(kTelescope + "slewtocoordinates", kSlewBody)->status, 200);
    }
}

TEST(Sharing, PutsThatDifferOrCannotBeToldApart_RunEachForThemselves) {
    struct Row {
        std::string name, first, second;
        bool firstStays;
    };
    for (const Row& row :
         {Row{"another transaction", "RightAscension=1&Declination=2&ClientTransactionID=77",
              "RightAscension=1&Declination=2&ClientTransactionID=78", false},
          Row{"another client", kSlewBody, "RightAscension=1&Declination=2&ClientID=2&ClientTransactionID=77", false},
          Row{"other parameters", kSlewBody, "RightAscension=1&Declination=3&ClientID=1&ClientTransactionID=77", false},
          Row{"no transaction", "RightAscension=1&Declination=2", "RightAscension=1&Declination=2", false},
          Row{"the first client still waits", kSlewBody, kSlewBody, true}}) {
        SCOPED_TRACE(row.name);
        TestServer server;
        RawClient first = StartSlew(server, row.first, 1);
        if (!row.firstStays) {
            first.Reset();
        }
        RawClient second = StartSlew(server, row.second, 2);
        Slews().finish = true;
        EXPECT_EQ(second.Read()->status, 200);
        EXPECT_EQ(Slews().started, 2);
    }
}

TestServer::Options BriefLeases(std::int32_t idle, std::int32_t connected) {
    TestServer::Options options;
    options.leases = {idle, connected};
    return options;
}

TEST(ProcessEnd, ComesTheIdleLeaseAfterTheLastClient_AndClosesIdleConnections) {
    TestServer server(BriefLeases(50, 50));
    RawClient client = server.Connect();
    ASSERT_EQ(client.Get(kTelescope + "name")->status, 200);
    EXPECT_TRUE(client.WaitForClose());
    server.WaitForEnd();
    EXPECT_EQ(server.World().diary.Entries(), (std::vector<std::string>{"+telescope", "-telescope"}));
}

TEST(ProcessEnd, ComesWithoutAnyClientToo) {
    TestServer server(BriefLeases(20, 20));
    server.WaitForEnd();
    EXPECT_TRUE(server.World().diary.Entries().empty());
}

TEST(ProcessEnd, DoesNotComeWhileAConnectedClientKeepsItsConnection) {
    TestServer server(BriefLeases(20, 20));
    RawClient client = server.Connect();
    ASSERT_EQ(client.Put(kTelescope + "connected", "Connected=True&ClientID=1")->status, 200);
    {
        RawClient visitor = server.Connect();
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(visitor.Get(kTelescope + "name?ClientID=2")->status, 200);
            while (server.ObjectCount() > 1) {
                std::this_thread::yield();
            }
        }
    }
    EXPECT_EQ(client.Get(kTelescope + "connected?ClientID=1")->status, 200);
    client.Reset();
    server.WaitForEnd();
    EXPECT_EQ(server.World().diary.Count("telescope false"), 1);
}

TEST(ProcessEnd, WaitsForARequestThatIsHalfRead) {
    TestServer server(BriefLeases(30, 30));
    RawClient client = server.Connect();
    ASSERT_EQ(client.Get(kTelescope + "name?ClientID=1")->status, 200);
    const std::string request = RawClient::GetText(kTelescope + "name?ClientID=1");
    ASSERT_TRUE(client.Send(request.substr(0, 10)));
    // A second server with the same lease comes to its end meanwhile.
    TestServer measure(BriefLeases(300, 300));
    measure.WaitForEnd();
    ASSERT_TRUE(client.Send(request.substr(10)));
    EXPECT_EQ(client.Read()->status, 200);
    server.WaitForEnd();
}

TEST(ProcessEnd, WaitsForTheFirstRequestOfANewConnection) {
    TestServer server(BriefLeases(30, 30));
    RawClient client = server.Connect();
    // Another server with a longer lease comes to its end meanwhile.
    TestServer measure(BriefLeases(300, 300));
    measure.WaitForEnd();
    EXPECT_EQ(client.Get(kTelescope + "name")->status, 200);
    server.WaitForEnd();
}

TEST(ProcessEnd, WaitsForACallWhoseClientHasGone) {
    TestServer server(BriefLeases(300, 300));
    { const RawClient gone = StartSlew(server, kSlewBody, 1); }
    RawClient other = server.Connect();
    for (int i = 0; i < 100; ++i) {
        ASSERT_TRUE(Slewing(other));
    }
    EXPECT_EQ(other.Put(kTelescope + "abortslew", "")->status, 200);
    server.WaitForEnd();
}

TEST(ProcessEnd, WaitsWhilePagesAreAskedFor) {
    TestServer::Options options = BriefLeases(100, 100);
    options.branches = {{"/page", [](const http::Request&, const http::AnswerFunction& answer) {
                             answer({200, "text/plain", "page"});
                         }}};
    TestServer server(options);
    // A second server comes to its end meanwhile.
    TestServer measure(BriefLeases(500, 500));
    std::atomic<bool> over{false};
    std::thread watch([&] {
        measure.WaitForEnd();
        over = true;
    });
    RawClient visitor = server.Connect();
    std::optional<http::RawAnswer> answer;
    TestServer other;
    do {
        answer = visitor.Get("/page");
        for (int pause = 0; pause < 50; ++pause) {
            other.ObjectCount();
        }
    } while (!over && answer);
    EXPECT_TRUE(answer);
    watch.join();
    server.WaitForEnd();
}

TEST(ProcessEnd, DoesNotWaitForAnOpenWebSocket_WhichIsToldOfIt) {
    std::atomic<std::shared_ptr<http::WebSocket>> socket;
    TestServer::Options options = BriefLeases(100, 100);
    options.branches = {{"/view", [&socket](const http::Request&, const http::AnswerFunction& answer) {
                             answer(http::WebSocketAnswer({.opened = [&socket](const auto& opened) { socket = opened; },
                                                           .received = [](const std::string&) {},
                                                           .closed = [] {}}));
                         }}};
    options.onEnd = [&socket] { socket.load()->Send("the end"); };
    TestServer server(options);
    http::WebSocketClient page(server.Port(), "/view");
    ASSERT_EQ(page.Status(), 101);
    EXPECT_EQ(page.Read(), "the end");
    EXPECT_EQ(page.Read(), std::nullopt);
    server.WaitForEnd();
}

/// Clients that come and go while one process after the other ends under them: each request has its answer.
TEST(ProcessEnd, LosesNoRequestOfClientsThatConnectAnew) {
    const int listening = ListenOnLoopback();
    const std::uint16_t port = PortOfSocket(listening);
    std::atomic<bool> stop{false};
    std::atomic<int> answered{0};
    std::atomic<int> lost{0};
    std::vector<std::thread> clients;
    for (int client = 0; client < 3; ++client) {
        clients.emplace_back([&, client] {
            const std::string id = "?ClientID=" + std::to_string(client);
            for (int round = 0; !stop; ++round) {
                RawClient connection(port);
                const auto answer = connection.Get(kTelescope + "name" + id);
                (answer && answer->status == 200 ? answered : lost) += 1;
                // Pauses of all lengths, so that requests meet every moment of an end.
                for (int pause = (round * 977 + client * 331) % 5000; pause > 0; --pause) {
                    std::this_thread::yield();
                }
            }
        });
    }
    int processes = 0;
    for (; processes < 60; ++processes) {
        TestServer server(BriefLeases(2, 2), listening);
        server.WaitForEnd();
    }
    stop = true;
    // The last clients may still wait outside.
    TestServer server(BriefLeases(100, 100), listening);
    for (std::thread& client : clients) {
        client.join();
    }
    EXPECT_EQ(lost, 0);
    EXPECT_GT(answered, 0) << processes;
    ::close(listening);
}

}  // namespace
}  // namespace kestrane::alpaca
