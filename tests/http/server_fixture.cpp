#include "server_fixture.h"

#include <future>

namespace kestrane::http {
namespace {

Answer Echo(const Request& request) {
    std::string text = request.verb == Verb::Get ? "GET " : "PUT ";
    text += request.path + "?" + request.query + " " + request.body;
    return {200, "text/plain", text};
}

}  // namespace

Limits QuickLimits() {
    Limits limits;
    limits.step = std::chrono::milliseconds(10);
    limits.readSteps = 10;
    limits.idleSteps = 20;
    limits.writeSteps = 30;
    limits.drainSteps = 10;
    return limits;
}

TestServer::TestServer(Limits limits) : server_(io_.Context(), Needs(limits)) {
    const int listening = ListenOnLoopback();
    port_ = PortOfSocket(listening);
    server_.AddListener(listening);
    server_.Start();
    io_.Start();
}

TestServer::~TestServer() {
    Stop();
}

void TestServer::Stop() {
    io_.Stop([this] { server_.Stop(); });
}

void TestServer::HandleSocket(const Request& request, const AnswerFunction& answer) {
    socketRequests_.push_back(request);
    const auto socket = std::make_shared<std::weak_ptr<WebSocket>>();
    answer(WebSocketAnswer({.opened =
                                [this, socket](const std::shared_ptr<WebSocket>& opened) {
                                    *socket = opened;
                                    sockets_.push_back(opened);
                                },
                            .received = [socket](std::string text) { socket->lock()->Send(std::move(text)); },
                            .closed = [this] { ++socketsClosed_; }}));
}

std::vector<std::shared_ptr<WebSocket>> TestServer::Sockets(std::size_t count) {
    std::vector<std::shared_ptr<WebSocket>> sockets;
    while (sockets.size() < count) {
        OnIoThread([&] { sockets = sockets_; });
    }
    return sockets;
}

std::vector<Request> TestServer::SocketRequests() {
    std::vector<Request> requests;
    OnIoThread([&] { requests = socketRequests_; });
    return requests;
}

ServerNeeds TestServer::Needs(const Limits& limits) {
    const auto counted = [this](auto handle) {
        return [this, handle](const Request& request, const AnswerFunction& answer) {
            ++handled_;
            const std::size_t holder = request.path.find('/', 1);
            if (holder != std::string::npos) {
                server_.SetHolder(request.connection, request.path.substr(holder + 1));
            }
            handle(request, answer);
        };
    };
    const auto now = [](const Request& request, const AnswerFunction& answer) { answer(Echo(request)); };
    const auto later = [this](const Request& request, const AnswerFunction& answer) {
        io_.Post([echo = Echo(request), answer] { answer(echo); });
    };
    const auto kept = [](const Request& request, const AnswerFunction& answer) {
        Answer echo = Echo(request);
        echo.keepsConnection = true;
        answer(echo);
    };
    const auto held = [this](const Request& request, const AnswerFunction& answer) {
        heldAnswers_.emplace_back(answer, Echo(request));
        ++held_;
    };
    return {.limits = limits,
            .branches = {{"/now", counted(now)},
                         {"/later", counted(later)},
                         {"/kept", counted(kept)},
                         {"/held", counted(held)},
                         {"/socket", [this](const Request& request,
                                            const AnswerFunction& answer) { HandleSocket(request, answer); }}},
            .names = {},
            .closed = [this](ConnectionId) { ++closed_; },
            .isUrgent =
                [this](std::string_view method, std::string_view target) {
                    ++considered_;
                    return method == "PUT" && target == "/now/urgent";
                }};
}

void TestServer::OnIoThread(const std::function<void()>& function) {
    std::promise<void> done;
    io_.Post([&] {
        function();
        done.set_value();
    });
    done.get_future().get();
}

void TestServer::Release() {
    OnIoThread([this] {
        for (const auto& [answer, echo] : std::exchange(heldAnswers_, {})) {
            answer(echo);
        }
        held_ = 0;
    });
}

bool TestServer::CloseGate() {
    std::promise<bool> closed;
    io_.Post([&] { server_.CloseGate([&closed](bool quiet) { closed.set_value(quiet); }); });
    return closed.get_future().get();
}

void TestServer::OpenGate() {
    OnIoThread([this] { server_.OpenGate(); });
}

std::size_t TestServer::ConnectionCount() {
    std::size_t count = 0;
    OnIoThread([&] { count = server_.ConnectionCount(); });
    return count;
}

}  // namespace kestrane::http
