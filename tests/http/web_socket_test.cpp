#include "http/web_socket.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "server_fixture.h"
#include "web_socket_client.h"

/// WebSockets through a real server.
namespace kestrane::http {
namespace {

const std::string kSocketPath = "/socket";
constexpr int kSwitched = 101;

/// What a client sends that speaks the protocol by hand.
std::string HandshakeText(const std::string& headers = "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n") {
    return RawClient::GetText(kSocketPath,
                              "Connection: Upgrade\r\nUpgrade: websocket\r\nSec-WebSocket-Version: 13\r\n" + headers);
}

void WaitForClosed(const TestServer& server, int count) {
    while (server.SocketsClosed() < count) {
        std::this_thread::yield();
    }
}

TEST(WebSocket, CarriesMessagesBothWaysInTheirOrder) {
    TestServer server;
    WebSocketClient client(server.Port(), kSocketPath + "/a%20b?c=d");
    ASSERT_EQ(client.Status(), kSwitched);
    for (int i = 0; i < 100; ++i) {
        client.Send(std::to_string(i));
    }
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(client.Read(), std::to_string(i));
    }
    server.Sockets(1).front()->Send("by itself");
    EXPECT_EQ(client.Read(), "by itself");
    const Request request = server.SocketRequests().at(0);
    EXPECT_TRUE(request.wantsWebSocket);
    EXPECT_EQ(request.path, "/socket/a%20b");
    EXPECT_EQ(request.query, "c=d");
    EXPECT_EQ(request.remoteAddress, "127.0.0.1");
}

TEST(WebSocket, TakesAMessageInPieces_UpToTheLongest) {
    TestServer server;
    WebSocketClient client(server.Port(), kSocketPath);
    for (const std::size_t size : {std::size_t{0}, std::size_t{1000}, WebSocket::kMostReceived}) {
        const std::string text(size, 'x');
        client.Send(text, 500);
        EXPECT_EQ(client.Read(), text);
    }
}

TEST(WebSocket, IsClosedByAMessageThatItCannotTake) {
    struct Row {
        const char* name;
        void (*send)(WebSocketClient&);
        int reason;
    };
    TestServer server;
    int closed = 0;
    for (const Row& row :
         {Row{"too long", [](WebSocketClient& c) { c.Send(std::string(WebSocket::kMostReceived + 1, 'x')); }, 1009},
          Row{"too long in pieces",
              [](WebSocketClient& c) { c.Send(std::string(WebSocket::kMostReceived + 1, 'x'), 500); }, 1009},
          Row{"binary", [](WebSocketClient& c) { c.SendBinary("x"); }, 1003},
          Row{"no UTF-8", [](WebSocketClient& c) { c.Send("\xFF\xFE"); }, 1007}}) {
        SCOPED_TRACE(row.name);
        WebSocketClient client(server.Port(), kSocketPath);
        row.send(client);
        EXPECT_EQ(client.Read(), std::nullopt);
        EXPECT_EQ(client.ReasonOfClose(), row.reason);
        WaitForClosed(server, ++closed);
    }
    EXPECT_EQ(server.Connect().Get("/now")->status, 200);
}

TEST(WebSocket, ThatItsUserCloses_SendsFirstWhatWasSentBefore) {
    TestServer server;
    WebSocketClient client(server.Port(), kSocketPath);
    const auto socket = server.Sockets(1).front();
    const std::string large(500'000, 'x');
    socket->Send(large);
    socket->Send("last");
    socket->Close();
    socket->Send("too late");
    EXPECT_EQ(client.Read(), large);
    EXPECT_EQ(client.Read(), "last");
    EXPECT_EQ(client.Read(), std::nullopt);
    EXPECT_EQ(client.ReasonOfClose(), 1000);
    WaitForClosed(server, 1);
    EXPECT_EQ(socket->Unsent(), 0U);
}

TEST(WebSocket, ThatItsUserCloses_EndsWithoutAWordOfTheClientToo) {
    TestServer server(QuickLimits());
    RawClient client = server.Connect();
    ASSERT_TRUE(client.Send(HandshakeText()));
    server.Sockets(1).front()->Close();
    WaitForClosed(server, 1);
}

TEST(WebSocket, IsClosedWhenItsClientGoes) {
    TestServer server;
    WebSocketClient(server.Port(), kSocketPath).Close();
    WaitForClosed(server, 1);
    { const WebSocketClient vanishes(server.Port(), kSocketPath); }
    WaitForClosed(server, 2);
    server.Sockets(2).back()->Send("to nobody");
    server.Sockets(2).back()->Close();
    while (server.ConnectionCount() > 0) {
        std::this_thread::yield();
    }
}

TEST(WebSocket, OfAClientThatTakesNothing_IsClosedAfterTheWriteLimit_ThoughItSpeaks) {
    Limits limits = QuickLimits();
    limits.silentSteps = 100'000;
    TestServer server(limits);
    WebSocketClient client(server.Port(), kSocketPath);
    const auto socket = server.Sockets(1).front();
    const std::string part(100'000, 'x');
    int sent = 0;
    while (socket->Unsent() < 300'000) {  // beyond what the system takes
        socket->Send(part);
        ++sent;
    }
    ASSERT_LT(sent, 100);
    while (server.SocketsClosed() == 0) {
        client.Send("");  // what comes back of it has no length
    }
}

TEST(WebSocket, BeyondTheMostThatMayWait_IsClosedAtOnce) {
    TestServer server;
    WebSocketClient client(server.Port(), kSocketPath);
    const auto socket = server.Sockets(1).front();
    for (int i = 0; i < 300 && server.SocketsClosed() == 0; ++i) {
        socket->Send(std::string(100'000, 'x'));
        EXPECT_LE(socket->Unsent(), WebSocket::kMostUnsent + 100'000);
    }
    WaitForClosed(server, 1);
}

TEST(WebSocket, OfAPageThatIsDead_IsClosed_AndOneThatAnswersPingsIsNot) {
    TestServer server(QuickLimits());
    RawClient dead = server.Connect();
    ASSERT_TRUE(dead.Send(HandshakeText()));
    server.Sockets(1);
    WebSocketClient alive(server.Port(), kSocketPath);
    const auto socket = server.Sockets(2).back();
    std::thread reader([&alive] { EXPECT_EQ(alive.Read(), "still there"); });
    WaitForClosed(server, 1);
    RawClient next = server.Connect();
    ASSERT_TRUE(next.Send(HandshakeText()));
    WaitForClosed(server, 2);  // once more the whole time
    socket->Send("still there");
    reader.join();
    EXPECT_EQ(server.SocketsClosed(), 2);
}

TEST(WebSocket, IsNotForForeignPages) {
    struct Row {
        const char* name;
        WebSocketClient::Headers headers;
        int status;
    };
    TestServer server;
    const std::string own = "http://localhost:" + std::to_string(server.Port());
    for (const Row& row : {Row{"no page", {}, kSwitched},
                           Row{"own page", {{"Origin", own}, {"Sec-Fetch-Site", "same-origin"}}, kSwitched},
                           Row{"foreign origin", {{"Origin", "http://evil.example"}}, 403},
                           Row{"another port", {{"Origin", "http://localhost:1"}}, 403},
                           Row{"no origin to name", {{"Origin", "null"}}, 403},
                           Row{"foreign site", {{"Sec-Fetch-Site", "cross-site"}}, 403},
                           Row{"foreign host", {{"Host", "evil.example"}}, 403}}) {
        EXPECT_EQ(WebSocketClient(server.Port(), kSocketPath, row.headers).Status(), row.status) << row.name;
    }
    EXPECT_EQ(server.SocketRequests().size(), 2U);
}

TEST(WebSocket, IsForWhoAsksForOne) {
    TestServer server;
    EXPECT_EQ(server.Connect().Get(kSocketPath)->status, 400);
    RawClient keyless = server.Connect();
    ASSERT_TRUE(keyless.Send(HandshakeText("")));
    EXPECT_EQ(keyless.Read()->status, 400);
    RawClient hasty = server.Connect();
    ASSERT_TRUE(hasty.Send(HandshakeText() + "\x81"));
    EXPECT_EQ(hasty.Read()->status, 400);
    EXPECT_EQ(WebSocketClient(server.Port(), "/now").Status(), 200);  // its branch has none
    server.Connect().Get("/now");
    EXPECT_EQ(server.SocketsClosed(), 0);
}

TEST(WebSocket, BeyondTheirNumber_IsRefused_UntilOneHasClosed) {
    Limits limits;
    limits.webSockets = 2;
    TestServer server(limits);
    WebSocketClient first(server.Port(), kSocketPath);
    const WebSocketClient second(server.Port(), kSocketPath);
    EXPECT_EQ(WebSocketClient(server.Port(), kSocketPath).Status(), 503);
    first.Close();
    WaitForClosed(server, 1);
    EXPECT_EQ(WebSocketClient(server.Port(), kSocketPath).Status(), kSwitched);
}

TEST(WebSocket, CountsAsConnection_AndMakesNoRoom) {
    Limits limits;
    limits.connections = 2;
    TestServer server(limits);
    WebSocketClient client(server.Port(), kSocketPath);
    RawClient idle = server.Connect();
    ASSERT_EQ(idle.Get("/now")->status, 200);
    EXPECT_EQ(server.ConnectionCount(), 2U);
    RawClient third = server.Connect();
    EXPECT_EQ(third.Get("/now")->status, 200);
    EXPECT_TRUE(idle.WaitForClose());
    client.Send("still there");
    EXPECT_EQ(client.Read(), "still there");
}

TEST(WebSocket, DoesNotHinderTheGate_AndOutlivesIt) {
    TestServer server;
    WebSocketClient client(server.Port(), kSocketPath);
    RawClient idle = server.Connect();
    ASSERT_EQ(idle.Get("/now")->status, 200);
    while (!server.CloseGate()) {
        std::this_thread::yield();  // the answer may count as under way for a moment after it has come
    }
    EXPECT_TRUE(idle.WaitForClose());
    server.Sockets(1).front()->Send("the end");
    EXPECT_EQ(client.Read(), "the end");
}

TEST(WebSocket, IsClosedByTheEndOfTheServer_AfterWhatWasSentBefore) {
    TestServer server;
    std::vector<std::unique_ptr<WebSocketClient>> clients;
    for (int i = 0; i < 3; ++i) {
        clients.push_back(std::make_unique<WebSocketClient>(server.Port(), kSocketPath));
    }
    const auto sockets = server.Sockets(3);
    for (const auto& socket : sockets) {
        socket->Send("the end");
    }
    server.Stop();
    EXPECT_EQ(server.SocketsClosed(), 3);
    for (const auto& client : clients) {
        EXPECT_EQ(client->Read(), "the end");
        EXPECT_EQ(client->Read(), std::nullopt);
    }
}

TEST(WebSocket, MayBeUsedWhenTheServerHasGone) {
    std::shared_ptr<WebSocket> socket;
    {
        TestServer server;
        const WebSocketClient client(server.Port(), kSocketPath);
        socket = server.Sockets(1).front();
    }
    socket->Send("too late");
    socket->Close();
    EXPECT_EQ(socket->Unsent(), 0U);
}

}  // namespace
}  // namespace kestrane::http
