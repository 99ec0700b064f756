#include "views/web/web_view.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "support/virtual_pump.h"

/// The page's own part of the server, without a network.
namespace kestrane::web {
namespace {

constexpr const char* kHere = "127.0.0.1";
constexpr const char* kElsewhere = "192.168.1.20";

class FakeSocket final : public http::WebSocket {
public:
    void Send(std::string text) override { sent.push_back(std::move(text)); }
    std::size_t Unsent() const override { return unsent; }
    void Close() override { closed = true; }

    std::vector<std::string> sent;
    std::size_t unsent = 0;
    bool closed = false;
};

/// A socket that a page has opened, and what the view wants to hear of it.
struct OpenedSocket {
    std::shared_ptr<FakeSocket> socket = std::make_shared<FakeSocket>();
    http::WebSocketHandlers handlers;
};

class WebViewTest : public testing::Test {
protected:
    /// The answer of the branch that takes the path, as the server chooses it.
    http::Answer Ask(Doors doors, const std::string& target, const char* address = kHere,
                     const std::string& method = "GET", const std::string& ifNoneMatch = "") {
        MakeView(doors);
        http::Answer got;
        Ask(got, target, address, method, ifNoneMatch);
        return got;
    }
    /// The same, also for an answer that comes from the logic thread.
    void Ask(http::Answer& got, const std::string& target, const char* address = kHere,
             const std::string& method = "GET", const std::string& ifNoneMatch = "") {
        http::Dispatch(view->Branches(), {"127.0.0.1", 11111, {}},
                       {.method = method,
                        .target = target,
                        .host = "",
                        .origin = "",
                        .fetchSite = "",
                        .body = "",
                        .remoteAddress = address,
                        .ifNoneMatch = ifNoneMatch},
                       [&got](const http::Answer& answer) { got = answer; });
        pump.AdvanceTime(0);
    }

    OpenedSocket Open(Doors doors = Doors::Local, const char* address = kHere) {
        const http::Answer answer = Ask(doors, "/view", address);
        OpenedSocket opened;
        opened.handlers = *answer.webSocket;
        opened.handlers.opened(opened.socket);
        return opened;
    }

    void MakeView(Doors doors) {
        if (!view) {
            view = std::make_unique<WebView>(WebViewNeeds{
                .pump = pump,
                .doors = doors,
                .opened =
                    [this](ViewId id, May may) {
                        heard.push_back("opened " + std::to_string(id) + (may == May::All ? " all" : " stop"));
                    },
                .received = [this](ViewId id,
                                   const std::string& text) { heard.push_back(std::to_string(id) + " " + text); },
                .closed = [this](ViewId id) { heard.push_back("closed " + std::to_string(id)); },
                .stop =
                    [this](std::function<void()> done) {
                        heard.emplace_back("stop");
                        stopped = std::move(done);
                    },
                .holdsTelescope = [](const std::string& address,
                                     std::uint32_t number) { return address == kHere && number == 7; }});
        }
    }

    std::vector<std::string> Heard() {
        pump.AdvanceTime(0);
        return std::exchange(heard, {});
    }

    using Texts = std::vector<std::string>;
    VirtualClock clock;
    VirtualPump pump{clock};
    std::unique_ptr<WebView> view;
    std::vector<std::string> heard;
    std::function<void()> stopped;
};

TEST_F(WebViewTest, ServesPageAndSocketToThoseWhomTheDoorsLetIn) {
    struct Row {
        Doors doors;
        const char* address;
        int status;
    };
    for (const Row& row :
         {Row{Doors::Local, kHere, 200}, Row{Doors::Local, kElsewhere, 403}, Row{Doors::Look, kHere, 200},
          Row{Doors::Look, kElsewhere, 200}, Row{Doors::Lan, kElsewhere, 200}, Row{Doors::Off, kHere, 404},
          Row{Doors::Off, kElsewhere, 404}}) {
        view.reset();
        for (const char* path : {"/", "/page/index.html", "/setup", "/setup/v1/telescope/0/setup"}) {
            EXPECT_EQ(Ask(row.doors, path, row.address).status, row.status) << path << " " << row.address;
        }
        const http::Answer socket = Ask(row.doors, "/view", row.address);
        EXPECT_EQ(socket.status, row.status == 200 ? 101 : row.status);
        EXPECT_EQ(socket.webSocket != nullptr, row.status == 200);
    }
}

TEST_F(WebViewTest, PageThatIsAClient_IsToldWhetherItHoldsTheTelescope) {
    struct Row {
        const char* target;
        int status;
        const char* body;
    };
    for (const Row& row :
         {Row{"/view/client?ClientID=7", 200, R"({"holds":true})"},
          Row{"/view/client?ClientID=8", 200, R"({"holds":false})"}, Row{"/view/client?ClientID=", 400, ""},
          Row{"/view/client?ClientID=7x", 400, ""}, Row{"/view/client?ClientID=-7", 400, ""},
          Row{"/view/client?ClientID=4294967296", 400, ""}, Row{"/view/client", 400, ""},
          Row{"/view/client?7", 400, ""}, Row{"/view/client/?ClientID=7", 400, ""}}) {
        SCOPED_TRACE(row.target);
        MakeView(Doors::Local);
        http::Answer got;
        Ask(got, row.target);
        EXPECT_EQ(got.status, row.status);
        if (row.status == 200) {
            EXPECT_EQ(got.body, row.body);
        }
    }
    EXPECT_EQ(Ask(Doors::Local, "/view/client?ClientID=7", kElsewhere).status, 403);
}

TEST_F(WebViewTest, TellsWhoIsKeptOutHowToGetIn) {
    EXPECT_NE(Ask(Doors::Local, "/", kElsewhere).body.find("--handbox"), std::string::npos);
}

TEST_F(WebViewTest, IsReadOnly_AndTakesHeadAndWhatTheBrowserKnows) {
    EXPECT_EQ(Ask(Doors::Local, "/", kHere, "HEAD").status, 200);
    EXPECT_EQ(Ask(Doors::Local, "/", kHere, "PUT").status, 400);
    EXPECT_EQ(Ask(Doors::Local, "/view", kHere, "PUT").status, 400);
    EXPECT_EQ(Ask(Doors::Local, "/view", kHere, "HEAD").status, 400);
    EXPECT_EQ(Ask(Doors::Local, "/", kHere, "GET", "*").status, 304);
    EXPECT_EQ(Ask(Doors::Local, "/view/more").status, 404);
}

TEST_F(WebViewTest, StopsForWhoeverMayLook_AndAnswersWhenItIsDone) {
    MakeView(Doors::Look);
    int status = 0;
    http::Dispatch(view->Branches(), {"127.0.0.1", 11111, {}},
                   {.method = "PUT",
                    .target = "/view/stop",
                    .host = "",
                    .origin = "",
                    .fetchSite = "",
                    .body = "",
                    .remoteAddress = kElsewhere},
                   [&status](const http::Answer& answer) { status = answer.status; });
    EXPECT_EQ(Heard(), Texts{"stop"});
    EXPECT_EQ(status, 0);
    stopped();
    EXPECT_EQ(status, 200);
}

TEST_F(WebViewTest, StopsForNobodyElse_AndByPutOnly) {
    EXPECT_EQ(Ask(Doors::Local, "/view/stop", kElsewhere, "PUT").status, 403);
    EXPECT_EQ(Ask(Doors::Local, "/view/stop", kHere, "GET").status, 400);
    EXPECT_EQ(Ask(Doors::Local, "/view/stop/more", kHere, "PUT").status, 400);
    view.reset();
    EXPECT_EQ(Ask(Doors::Off, "/view/stop", kHere, "PUT").status, 404);
    EXPECT_EQ(Heard(), Texts{});
}

TEST_F(WebViewTest, TellsOfEachViewWithItsRights_AndCarriesItsMessagesInTheirOrder) {
    const OpenedSocket here = Open(Doors::Look);
    const OpenedSocket there = Open(Doors::Look, kElsewhere);
    here.handlers.received("a");
    there.handlers.received("b");
    here.handlers.received("c");
    here.handlers.closed();
    EXPECT_EQ(Heard(), (Texts{"opened 1 all", "opened 2 stop", "1 a", "2 b", "1 c", "closed 1"}));
}

TEST_F(WebViewTest, SendsToTheViewThatIsMeant_AndToNoneThatHasClosed) {
    OpenedSocket first = Open();
    const OpenedSocket second = Open();
    Heard();
    second.socket->unsent = 77;
    view->Send(2, "two");
    view->Send(1, "one");
    view->Send(3, "nobody");
    EXPECT_EQ(first.socket->sent, Texts{"one"});
    EXPECT_EQ(second.socket->sent, Texts{"two"});
    EXPECT_EQ(view->Unsent(2), 77U);
    EXPECT_EQ(view->Unsent(1), 0U);
    EXPECT_EQ(view->Unsent(3), 0U);
    view->Close(2);
    EXPECT_FALSE(first.socket->closed);
    EXPECT_TRUE(second.socket->closed);
    first.handlers.closed();
    Heard();
    view->Send(1, "too late");
    view->Close(1);
    EXPECT_EQ(first.socket->sent, Texts{"one"});
    EXPECT_FALSE(first.socket->closed);
    EXPECT_EQ(first.socket.use_count(), 1);
}

TEST_F(WebViewTest, LetsMessagesInWhileACallWaits_WhereReadsGetIn) {
    const OpenedSocket page = Open();
    Heard();
    pump.Run(CallKind::Brief, [&] {
        page.handlers.received("stop");
        pump.Post(CallKind::Brief, [this] { heard.emplace_back("another call"); });
        pump.PumpStops();
        EXPECT_EQ(heard, Texts{"1 stop"});
    });
}

TEST_F(WebViewTest, ClosesAViewThatSendsMoreThanTheDriverCanTake) {
    const OpenedSocket page = Open();
    const std::string message(50'000, 'x');
    for (int i = 0; i < 20; ++i) {
        page.handlers.received(message);
    }
    EXPECT_FALSE(page.socket->closed);
    EXPECT_EQ(Heard().size(), 21U);
    for (int i = 0; i < 20; ++i) {  // those before have been taken
        page.handlers.received(message);
    }
    EXPECT_FALSE(page.socket->closed);
    page.handlers.received(message);
    EXPECT_TRUE(page.socket->closed);
    EXPECT_EQ(Heard().size(), 20U);
}

TEST_F(WebViewTest, ClosesAViewThatSendsTooManyMessagesOfNoLength) {
    const OpenedSocket page = Open();
    for (int i = 0; i < 5000; ++i) {
        page.handlers.received("");
    }
    EXPECT_TRUE(page.socket->closed);
}

}  // namespace
}  // namespace kestrane::web
