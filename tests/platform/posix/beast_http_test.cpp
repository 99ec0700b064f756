#include "platform/posix/beast_http.h"

#include <algorithm>
#include <atomic>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <pthread.h>
#include <semaphore>
#include <stdexcept>
#include <sys/socket.h>
#include <vector>

#include "platform/posix/scripted_http_server.h"

namespace kestrane {
namespace {

using test::ScriptedHttpServer;
using Visit = ScriptedHttpServer::Visit;

constexpr std::int32_t kShortMs = 60;

/// Limits that a healthy machine never reaches.
constexpr HttpLimits kAmple{.resolveMs = 5000, .connectMs = 5000, .sendMs = 5000, .receiveMs = 5000};

HttpRequest RequestTo(const ScriptedHttpServer& server, std::int32_t receiveMs = kAmple.receiveMs) {
    HttpRequest request;
    request.host = "127.0.0.1:" + std::to_string(server.Port());
    request.target = "/cmd.cgi?CMD=%3AGR%23";
    request.limits = kAmple;
    request.limits.receiveMs = receiveMs;
    request.mostBodyBytes = 256;
    return request;
}

/// A port on which nothing listens.
std::uint16_t RefusedPort() {
    return ScriptedHttpServer({}).Port();
}

TEST(BeastHttpTest, AGet_GoesOutWithItsTargetAndHost) {
    ScriptedHttpServer server({ScriptedHttpServer::Answers(ScriptedHttpServer::Ok("12:34:56#"))});
    const HttpRequest request = RequestTo(server);
    {
        BeastHttp http;
        const HttpReply reply = http.Send(request);
        EXPECT_EQ(reply.status, 200U);
        EXPECT_EQ(reply.body, "12:34:56#");
        EXPECT_EQ(reply.error, "");
    }
    EXPECT_EQ(server.Requests(),
              std::vector<std::string>{"GET /cmd.cgi?CMD=%3AGR%23 HTTP/1.1\r\nHost: " + request.host + "\r\n\r\n"});
}

TEST(BeastHttpTest, APost_GoesOutWithItsHeadersAndBody) {
    ScriptedHttpServer server({ScriptedHttpServer::Answers(ScriptedHttpServer::Ok("{}"))});
    HttpRequest request = RequestTo(server);
    request.method = HttpRequest::Method::Post;
    request.target = "/api";
    request.headers = {{"Content-Type", "application/json"}, {"Accept", "*/*"}};
    request.body = "{  \"Command\": \":GR#\"}";
    {
        BeastHttp http;
        EXPECT_EQ(http.Send(request).body, "{}");
    }
    ASSERT_EQ(server.Requests().size(), 1U);
    const std::string& sent = server.Requests().front();
    EXPECT_TRUE(sent.starts_with("POST /api HTTP/1.1\r\n")) << sent;
    for (const char* line : {"Content-Type: application/json\r\n", "Accept: */*\r\n", "Content-Length: 21\r\n"}) {
        EXPECT_NE(sent.find(line), std::string::npos) << line;
    }
    EXPECT_TRUE(sent.ends_with("\r\n\r\n{  \"Command\": \":GR#\"}")) << sent;
}

/// What the other side sends after the request, and what becomes of it.
TEST(BeastHttpTest, EachKindOfReply) {
    const std::string head = "HTTP/1.1 200 OK\r\n";
    struct Row {
        std::string sent;
        unsigned status;
        std::string body;
        std::string error;
        bool foreign = false;
    };
    const std::vector<Row> rows{
        {head + "Content-Length: 0\r\n\r\n", 200, "", ""},
        {"HTTP/1.0 200 OK\r\n\r\n1", 200, "1", ""},
        {head + "Transfer-Encoding: chunked\r\n\r\n2\r\n12\r\n1\r\n#\r\n0\r\n\r\n", 200, "12#", ""},
        {"HTTP/1.1 302 Found\r\nLocation: http://127.0.0.1/\r\nContent-Length: 0\r\n\r\n", 302, "", ""},
        {"HTTP/1.1 500 Oops\r\nContent-Length: 2\r\n\r\nno", 500, "no", ""},
        {ScriptedHttpServer::Ok(std::string(256, 'x')), 200, std::string(256, 'x'), ""},
        {ScriptedHttpServer::Ok(std::string(257, 'x')), 0, "", "the reply is longer than 256 bytes", true},
        {head + "Content-Length: 10000000\r\n\r\nxx", 0, "", "the reply is longer than 256 bytes", true},
        {head + "Transfer-Encoding: chunked\r\n\r\n989680\r\n" + std::string(10'000'000, 'x') + "\r\n0\r\n\r\n", 0, "",
         "the reply is longer than 256 bytes", true},
        {head + "Content-Length: 5\r\n\r\nxx", 0, "", "the connection was closed before the whole reply"},
        {head.substr(0, 9), 0, "", "the connection was closed before the whole reply"},
        {"", 0, "", "the connection was closed before the whole reply"},
    };
    for (const Row& row : rows) {
        ScriptedHttpServer server({[&](Visit& visit) {
            visit.Read();
            visit.Send(row.sent);
        }});
        BeastHttp http;
        const HttpReply reply = http.Send(RequestTo(server));
        SCOPED_TRACE(row.sent.substr(0, 100));
        EXPECT_EQ(reply.status, row.status);
        EXPECT_EQ(reply.body, row.body);
        EXPECT_EQ(reply.error, row.error);
        EXPECT_EQ(reply.foreign, row.foreign);
    }
}

TEST(BeastHttpTest, WhatIsNoHttp_IsNoReply) {
    for (const std::string sent : {"12:34:56# and some more\r\n\r\n", "HTTP/9.1 200 Fine\r\n\r\n",
                                   "\xff\xfe is no text either\r\n\r\n", "login: ", "HTML"}) {
        ScriptedHttpServer server({[&](Visit& visit) {
            visit.Read();
            visit.Send(sent);
            visit.AwaitClose();
        }});
        const HttpReply reply = BeastHttp().Send(RequestTo(server));
        EXPECT_EQ(reply.status, 0U) << sent;
        EXPECT_TRUE(reply.error.starts_with("the reply is no HTTP: ")) << reply.error;
        EXPECT_TRUE(reply.foreign) << sent;
    }
}

TEST(BeastHttpTest, ASilentOrTricklingServer_IsGivenUpAtTheLimit) {
    const ScriptedHttpServer::Script silent = [](Visit& visit) {
        visit.Read();
        visit.AwaitClose();
    };
    const ScriptedHttpServer::Script trickling = [](Visit& visit) {
        visit.Read();
        for (const char byte : std::string("HTTP/1.1 200 OK\r\n")) {
            visit.Send(std::string(1, byte));
        }
        visit.AwaitClose();
    };
    for (const auto& script : {silent, trickling}) {
        ScriptedHttpServer server({script});
        BeastHttp http;
        const HttpReply reply = http.Send(RequestTo(server, kShortMs));
        EXPECT_EQ(reply.error, "no whole reply within 60 ms");
        EXPECT_TRUE(reply.reached);
    }
}

TEST(BeastHttpTest, WhileARequestWaits_ReadsAreLetInAgainAndAgain) {
    ScriptedHttpServer server({[](Visit& visit) {
        visit.Read();
        visit.AwaitClose();
    }});
    int letIn = 0;
    BeastHttp http([&] { return ++letIn < 1'000'000; });
    http.Send(RequestTo(server, kShortMs));
    EXPECT_GT(letIn, 5);
}

TEST(BeastHttpTest, WhenReadsAreNoLongerLetIn_TheRequestEnds) {
    ScriptedHttpServer server({[](Visit& visit) { visit.AwaitClose(); }});
    BeastHttp http([] { return false; });
    EXPECT_NE(http.Send(RequestTo(server)).error, "");
}

/// The driver ends its process, and what it still sends may be a stop.
TEST(BeastHttpTest, WhenReadsAreNoLongerLetIn_TheRequestStillGoesOut) {
    ScriptedHttpServer server({[](Visit& visit) { visit.Read(); }});
    BeastHttp http([] { return false; },
                   [](const std::string&) {
                       return HostNames::Answer{.addresses = {boost::asio::ip::make_address("127.0.0.1")}, .error = {}};
                   });
    HttpRequest request = RequestTo(server);
    request.host = "mount:" + std::to_string(server.Port());
    const HttpReply reply = http.Send(request);
    EXPECT_TRUE(reply.sent) << reply.error;
    EXPECT_EQ(server.Requests().size(), 1U);
}

TEST(BeastHttpTest, AServerThatTakesNoBytes_IsGivenUpAtTheLimit) {
    std::promise<void> over;
    ScriptedHttpServer server({[&](Visit&) { over.get_future().wait(); }});
    HttpRequest request = RequestTo(server);
    request.method = HttpRequest::Method::Post;
    request.body = std::string(std::size_t{32} << 20, 'x');  // more than sockets hold
    request.limits.sendMs = kShortMs;
    const HttpReply reply = BeastHttp().Send(request);
    EXPECT_EQ(reply.error, "the request did not go out within 60 ms");
    EXPECT_FALSE(reply.sent);
    over.set_value();
}

/// A server that stands still takes some bytes of a request, and the others only once it has been given up.
class StandingServer : public testing::Test {
protected:
    struct Outcome {
        HttpReply reply;
        bool arrived = false;
    };

    static Outcome Give(BeastHttp& http, std::size_t size, std::int32_t receiveMs) {
        std::promise<void> givenUp;
        Outcome outcome;
        ScriptedHttpServer server({[&](Visit& visit) {
            givenUp.get_future().wait();
            outcome.arrived = visit.Read();
        }});
        HttpRequest request = RequestTo(server, receiveMs);
        request.method = HttpRequest::Method::Post;
        request.body = std::string(size, 'x');
        request.limits.sendMs = 1'000;
        outcome.reply = http.Send(request);
        givenUp.set_value();
        server.Requests();
        return outcome;
    }
    /// The length of a request of which such a server leaves something in the sockets; 0 when there was none.
    static std::size_t TakenBack(BeastHttp& http, std::int32_t receiveMs) {
        for (std::size_t size = std::size_t{64} << 10; size <= std::size_t{1} << 20; size *= 2) {
            const Outcome outcome = Give(http, size, receiveMs);
            const bool wasTakenBack = outcome.reply.error.starts_with("no whole reply within ") && !outcome.reply.sent;
            EXPECT_NE(outcome.arrived, wasTakenBack) << size;
            if (wasTakenBack) {
                return size;
            }
        }
        return 0;
    }
};

TEST_F(StandingServer, ARequestThatIsGivenUpUnheard_IsTakenBack) {
    BeastHttp http;
    EXPECT_GT(TakenBack(http, kShortMs), 0U);
}

/// A goto must not arrive after the last stop, and the last stop is not taken back.
TEST_F(StandingServer, AtTheEndOfTheProcess_OnlyARequestThatBeganBeforeIsTakenBack) {
    bool isEnding = false;
    int slices = 0;  // time enough for what was taken to be acknowledged
    BeastHttp http([&] { return ++slices % 50 != 0; }, HostNames::SystemLookup, BeastHttp::kLongestRest,
                   [&] { return isEnding; });
    const std::size_t size = TakenBack(http, kAmple.receiveMs);
    EXPECT_GT(size, 0U);
    isEnding = true;
    const Outcome stop = Give(http, size, kAmple.receiveMs);
    EXPECT_TRUE(stop.reply.sent);
    EXPECT_TRUE(stop.arrived);
}

/// An address whose queue of connections is full: it neither takes nor refuses one.
class FullListener {
public:
    explicit FullListener(const char* address, std::uint16_t port = 0) : acceptor_(context_) {
        using boost::asio::ip::tcp;
        const tcp::endpoint wanted(boost::asio::ip::make_address(address), port);
        acceptor_.open(wanted.protocol());
        acceptor_.bind(wanted);
        acceptor_.listen(0);
        const tcp::endpoint full = acceptor_.local_endpoint();
        for (int i = 0; i < 4; ++i) {
            tcp::socket& socket = waiting_.emplace_back(context_, full.protocol());
            socket.native_non_blocking(true);
            (void)::connect(socket.native_handle(), full.data(), static_cast<socklen_t>(full.size()));
        }
    }
    std::uint16_t Port() const { return acceptor_.local_endpoint().port(); }

private:
    boost::asio::io_context context_;
    boost::asio::ip::tcp::acceptor acceptor_;
    std::vector<boost::asio::ip::tcp::socket> waiting_;
};

TEST(BeastHttpTest, AnAddressThatTakesNoConnection_IsGivenUpAtTheLimit) {
    const FullListener full("127.0.0.1");
    HttpRequest request;
    request.host = "127.0.0.1:" + std::to_string(full.Port());
    request.limits = kAmple;
    request.limits.connectMs = kShortMs;
    const auto start = std::chrono::steady_clock::now();
    const HttpReply reply = BeastHttp().Send(request);
    EXPECT_EQ(reply.error, "127.0.0.1 port " + std::to_string(full.Port()) + " took no connection within 60 ms");
    EXPECT_FALSE(reply.sent);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(kShortMs));
}

TEST(BeastHttpTest, ALimitOutsideItsRange_CountsAsTheNearerBound) {
    const FullListener full("127.0.0.1");
    HttpRequest request;
    request.host = "127.0.0.1:" + std::to_string(full.Port());
    for (const std::int32_t limit : {0, -5}) {
        request.limits.connectMs = limit;
        EXPECT_TRUE(BeastHttp().Send(request).error.ends_with("within 1 ms"));
    }
}

constexpr std::chrono::milliseconds kOneLimit{250};

/// The shortest time of some requests, the last of which is the first below two limits: of a busy machine one is quick,
/// and none is where a limit is spent twice.
std::chrono::steady_clock::duration ShortestTime(const std::function<void()>& request) {
    auto shortest = std::chrono::steady_clock::duration::max();
    for (int run = 0; run < 10 && shortest >= 2 * kOneLimit; ++run) {
        const auto start = std::chrono::steady_clock::now();
        request();
        shortest = std::min(shortest, std::chrono::steady_clock::now() - start);
    }
    return shortest;
}

TEST(BeastHttpTest, ASilentServer_SpendsTheLimitOnce) {
    const auto shortest = ShortestTime([] {
        ScriptedHttpServer server({[](Visit& visit) {
            visit.Read();
            visit.AwaitClose();
        }});
        EXPECT_EQ(BeastHttp().Send(RequestTo(server, 250)).error, "no whole reply within 250 ms");
    });
    EXPECT_GE(shortest, kOneLimit);
    EXPECT_LT(shortest, 2 * kOneLimit);
}

/// A byte comes each 10 ms or so, for more than two limits.
TEST(BeastHttpTest, ATricklingServer_SpendsTheLimitOnce) {
    EXPECT_LT(ShortestTime([] {
                  constexpr int kBytes = 60;
                  std::counting_semaphore<> wanted{0};
                  ScriptedHttpServer server({[&](Visit& visit) {
                      visit.Read();
                      visit.Send("HTTP/1.1 200 OK\r\nX: ");
                      for (int i = 0; i < kBytes; ++i) {
                          wanted.acquire();
                          visit.Send("x");
                      }
                      visit.AwaitClose();
                  }});
                  auto last = std::chrono::steady_clock::now();
                  BeastHttp http([&] {
                      const auto now = std::chrono::steady_clock::now();
                      if (now - last >= std::chrono::milliseconds(10)) {
                          last = now;
                          wanted.release();
                      }
                      return true;
                  });
                  EXPECT_EQ(http.Send(RequestTo(server, 250)).error, "no whole reply within 250 ms");
                  wanted.release(kBytes);
              }),
              2 * kOneLimit);
}

TEST(BeastHttpTest, AConnection_IsKeptForTheNextRequest) {
    ScriptedHttpServer server({ScriptedHttpServer::Answers(ScriptedHttpServer::Ok("1"))});
    {
        BeastHttp http;
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(http.Send(RequestTo(server)).body, "1");
        }
    }
    EXPECT_EQ(server.Requests().size(), 3U);
}

/// The first visit ends after one request in each of these ways; the second request comes on a new connection.
TEST(BeastHttpTest, AConnectionThatCannotBeUsedAgain_IsOpenedAnew) {
    struct Row {
        const char* what;
        std::string first;
        bool closes;
        std::chrono::milliseconds longestRest;
    };
    const std::string ok = ScriptedHttpServer::Ok("1");
    const std::vector<Row> rows{
        {"closed by the server", ok, true, BeastHttp::kLongestRest},
        {"the server wants to close", "HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: 1\r\n\r\n1", false,
         BeastHttp::kLongestRest},
        {"more was said than asked for", ok + ok, false, BeastHttp::kLongestRest},
        {"rested for too long", ok, false, std::chrono::milliseconds(-1)},
    };
    for (const Row& row : rows) {
        std::promise<void> visited;  // the end of a connection comes before the next request
        ScriptedHttpServer server({[&](Visit& visit) {
                                       visit.Read();
                                       visit.Send(row.first);
                                       if (row.closes) {
                                           visit.Close();
                                       }
                                       visited.set_value();
                                       visit.AwaitClose();
                                   },
                                   ScriptedHttpServer::Answers(ScriptedHttpServer::Ok("2"))});
        {
            BeastHttp http({}, HostNames::SystemLookup, row.longestRest);
            EXPECT_EQ(http.Send(RequestTo(server)).body, "1") << row.what;
            visited.get_future().wait();
            EXPECT_EQ(http.Send(RequestTo(server)).body, "2") << row.what;
        }
        EXPECT_EQ(server.Requests().size(), 2U) << row.what;
    }
}

/// A late reply must not be taken for that to the next request, and no request is sent again.
TEST(BeastHttpTest, AfterARequestWithoutReply_TheNextOneHasAConnectionOfItsOwn) {
    ScriptedHttpServer server({[](Visit& visit) {
                                   visit.Read();
                                   visit.AwaitClose();
                                   visit.Send(ScriptedHttpServer::Ok("late"));
                               },
                               ScriptedHttpServer::Answers(ScriptedHttpServer::Ok("2"))});
    {
        BeastHttp http;
        EXPECT_EQ(http.Send(RequestTo(server, kShortMs)).body, "");
        EXPECT_EQ(http.Send(RequestTo(server)).body, "2");
    }
    EXPECT_EQ(server.Requests().size(), 2U);
}

TEST(BeastHttpTest, ARequestThatWentOutOnAKeptConnection_IsNotSentAgain) {
    ScriptedHttpServer server({[](Visit& visit) {
        visit.Read();
        visit.Send(ScriptedHttpServer::Ok("1"));
        visit.Read();
    }});
    {
        BeastHttp http;
        EXPECT_EQ(http.Send(RequestTo(server)).body, "1");
        EXPECT_EQ(http.Send(RequestTo(server)).error, "the connection was closed before the whole reply");
    }
    EXPECT_EQ(server.Requests().size(), 2U);
}

TEST(BeastHttpTest, ARefusedPort_SaysSo) {
    HttpRequest request;
    request.host = "127.0.0.1";
    request.port = RefusedPort();
    request.limits = kAmple;
    const HttpReply reply = BeastHttp().Send(request);
    EXPECT_EQ(reply.error,
              "127.0.0.1 port " + std::to_string(request.port) + " takes no connection: Connection refused");
    EXPECT_FALSE(reply.reached);
}

TEST(BeastHttpTest, ATextThatIsNoHost_SaysSo) {
    struct Row {
        const char* host;
        const char* error;
    };
    for (const Row& row :
         {Row{"", "'' names no host"}, Row{":80", "':80' names no host"}, Row{"[::1", "'[::1' names no host"},
          Row{"[]:80", "'[]:80' names no host"}, Row{"mount:", "'mount:' has no valid port after its host"},
          Row{"mount:0", "'mount:0' has no valid port after its host"},
          Row{"mount:65536", "'mount:65536' has no valid port after its host"},
          Row{"mount:80x", "'mount:80x' has no valid port after its host"},
          Row{"[::1]x80", "'[::1]x80' has more than a port after its host"},
          Row{"fe80::1", "'fe80::1' has more than one ':'; an IPv6 address stands in brackets"}}) {
        HttpRequest request;
        request.host = row.host;
        const HttpReply reply = BeastHttp().Send(request);
        EXPECT_EQ(reply.error, row.error);
        EXPECT_FALSE(reply.reached);
        EXPECT_FALSE(reply.reached);
    }
}

class NamedHost : public testing::Test {
protected:
    static HostNames::Lookup Gives(const std::vector<const char*>& addresses) {
        return [addresses](const std::string&) {
            HostNames::Answer answer;
            for (const char* address : addresses) {
                answer.addresses.push_back(boost::asio::ip::make_address(address));
            }
            return answer;
        };
    }
    HttpRequest RequestToMount(const ScriptedHttpServer& server) {
        HttpRequest request = RequestTo(server);
        request.host = "mount:" + std::to_string(server.Port());
        return request;
    }
};

TEST_F(NamedHost, WithSeveralAddresses_TheOneThatTakesConnectionsIsUsed) {
    ScriptedHttpServer server({ScriptedHttpServer::Answers(ScriptedHttpServer::Ok("1"))});
    BeastHttp http({}, Gives({"127.0.0.2", "::1", "127.0.0.1"}));
    EXPECT_EQ(http.Send(RequestToMount(server)).body, "1");
}

TEST_F(NamedHost, AfterATimeOutOfOneAddress_TheNextOneIsUsed) {
    ScriptedHttpServer server({ScriptedHttpServer::Answers(ScriptedHttpServer::Ok("1"))});
    const FullListener full("127.0.0.2", server.Port());
    BeastHttp http({}, Gives({"127.0.0.2", "127.0.0.1"}));
    HttpRequest request = RequestToMount(server);
    request.limits.connectMs = kShortMs;
    EXPECT_TRUE(http.Send(request).error.ends_with("took no connection within 60 ms"));
    request.limits = kAmple;
    EXPECT_EQ(http.Send(request).body, "1");
}

TEST_F(NamedHost, WhoseAddressesTakeNoConnection_SpendsTheLimitOnce) {
    const FullListener first("127.0.0.2");
    const FullListener second("127.0.0.3", first.Port());
    const FullListener third("127.0.0.4", first.Port());
    BeastHttp http({}, Gives({"127.0.0.2", "127.0.0.3", "127.0.0.4"}));
    HttpRequest request;
    request.host = "mount:" + std::to_string(first.Port());
    request.limits.connectMs = 250;
    EXPECT_LT(ShortestTime([&] { EXPECT_TRUE(http.Send(request).error.ends_with("within 250 ms")); }), 2 * kOneLimit);
}

TEST_F(NamedHost, ThatNobodyKnows_SaysSo) {
    BeastHttp http({}, [](const std::string&) { return HostNames::Answer{.addresses = {}, .error = "not known"}; });
    HttpRequest request;
    request.host = "mount";
    request.limits = kAmple;
    EXPECT_EQ(http.Send(request).error, "there is no host mount: not known");
}

/// A lookup that ends when the test says so.
class SlowLookup {
public:
    HostNames::Answer operator()(const std::string&) const {
        std::unique_lock lock(shared_->mutex);
        ++shared_->asked;
        shared_->released.wait(lock, [&] { return shared_->isReleased; });
        return {.addresses = {boost::asio::ip::make_address("127.0.0.1")}, .error = {}};
    }
    void Release() const {
        const std::lock_guard lock(shared_->mutex);
        shared_->isReleased = true;
        shared_->released.notify_all();
    }
    int Asked() const {
        const std::lock_guard lock(shared_->mutex);
        return shared_->asked;
    }

private:
    struct Shared {
        std::mutex mutex;
        std::condition_variable released;
        bool isReleased = false;
        int asked = 0;
    };
    std::shared_ptr<Shared> shared_ = std::make_shared<Shared>();
};

TEST_F(NamedHost, WhoseLookupTakesLonger_IsWaitedForAgainAndNotAskedForAgain) {
    ScriptedHttpServer server({ScriptedHttpServer::Answers(ScriptedHttpServer::Ok("1"))});
    const SlowLookup lookup;
    {
        BeastHttp http({}, lookup);
        HttpRequest request = RequestToMount(server);
        request.limits.resolveMs = kShortMs;
        EXPECT_EQ(http.Send(request).error, "the address of mount was not found within 60 ms");
        lookup.Release();
        request.limits = kAmple;
        EXPECT_EQ(http.Send(request).body, "1");
    }
    EXPECT_EQ(lookup.Asked(), 1);
}

/// Also where each lookup outlasts the limit: what the first one has found out is told while the next one goes on.
TEST_F(NamedHost, WhoseLookupFailsSlowly_SaysWhy) {
    const SlowLookup first;
    const SlowLookup others;
    const auto lookups = std::make_shared<std::atomic<int>>(0);
    BeastHttp http({}, [first, others, lookups](const std::string& host) {
        (++*lookups == 1 ? first : others)(host);
        return HostNames::Answer{.addresses = {}, .error = "the name server is down"};
    });
    HttpRequest request;
    request.host = "mount";
    request.limits.resolveMs = kShortMs;
    const std::string notInTime = "the address of mount was not found within 60 ms";
    EXPECT_EQ(http.Send(request).error, notInTime);
    first.Release();
    std::string error = notInTime;
    for (int i = 0; i < 20 && error == notInTime; ++i) {
        error = http.Send(request).error;
    }
    EXPECT_EQ(error, "there is no host mount: the name server is down");
    others.Release();
}

TEST_F(NamedHost, WhoseLookupThrows_SaysWhy) {
    BeastHttp http({}, [](const std::string&) -> HostNames::Answer { throw std::runtime_error("no memory"); });
    HttpRequest request;
    request.host = "mount";
    request.limits = kAmple;
    EXPECT_EQ(http.Send(request).error, "there is no host mount: no memory");
}

/// While it lives no thread can be started: the address space has no room for its stack.
class NoThreads {
public:
    NoThreads() {
        pthread_getattr_default_np(&before_);
        pthread_attr_t tooLarge;
        pthread_getattr_default_np(&tooLarge);
        pthread_attr_setstacksize(&tooLarge, std::size_t{1} << 47U);
        pthread_setattr_default_np(&tooLarge);
        pthread_attr_destroy(&tooLarge);
    }
    ~NoThreads() {
        pthread_setattr_default_np(&before_);
        pthread_attr_destroy(&before_);
    }
    NoThreads(const NoThreads&) = delete;
    NoThreads& operator=(const NoThreads&) = delete;

private:
    pthread_attr_t before_{};
};

TEST_F(NamedHost, ThatCannotBeLookedUp_SaysSo_AndIsLookedUpAgain) {
    ScriptedHttpServer server({ScriptedHttpServer::Answers(ScriptedHttpServer::Ok("1"))});
    BeastHttp http({}, Gives({"127.0.0.1"}));
    {
        const NoThreads none;
        EXPECT_EQ(http.Send(RequestToMount(server)).error,
                  "there is no host mount: the name could not be looked up: Resource temporarily unavailable");
    }
    EXPECT_EQ(http.Send(RequestToMount(server)).body, "1");
}

}  // namespace
}  // namespace kestrane
