#include "views/web/web_view.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <chrono>
#include <optional>
#include <utility>

#include "views/web/page_answers.h"

namespace kestrane::web {
namespace {

constexpr std::string_view kSocketPath = "/view";
constexpr std::string_view kStopPath = "/view/stop";
constexpr std::string_view kClientPath = "/view/client";
/// Nothing for what is no number of a client.
std::optional<std::uint32_t> ClientIdIn(std::string_view query) {
    constexpr std::string_view kName = "ClientID=";
    std::uint32_t number = 0;
    const std::string_view text = query.substr(std::min(query.size(), kName.size()));
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isWhole = error == std::errc() && end == text.data() + text.size();
    return query.starts_with(kName) && isWhole ? std::optional(number) : std::nullopt;
}

/// A short message costs more than its bytes while it waits.
constexpr std::size_t kCostOfAMessage = 256;

}  // namespace

/// What both threads know of a view.
struct WebView::Link {
    std::shared_ptr<http::WebSocket> socket;  ///< on the I/O thread; null once it is closed
    std::atomic<std::size_t> waiting{0};      ///< bytes
};

std::vector<http::Branch> WebView::Branches() {
    const http::RequestFunction handle = [this](const http::Request& request, const http::AnswerFunction& answer) {
        answer(AnswerTo(request));
    };
    std::vector<http::Branch> branches;
    for (const char* path : {"/", "/page", "/setup"}) {
        branches.push_back({.path = path, .handle = handle, .takesHead = true});
    }
    branches.push_back({.path = std::string(kSocketPath), .handle = handle});
    branches.push_back({.path = std::string(kStopPath),
                        .handle = [this](const http::Request& request,
                                         const http::AnswerFunction& answer) { AnswerStop(request, answer); },
                        .isUrgent = true});
    branches.push_back({.path = std::string(kClientPath),
                        .handle = [this](const http::Request& request, const http::AnswerFunction& answer) {
                            AnswerClient(request, answer);
                        }});
    return branches;
}

http::Answer WebView::Admit(const http::Request& request) const {
    if (needs_.doors == Doors::Off) {
        return http::RefusalAnswer(404, "The hand box is switched off here.");
    }
    if (MayOf(needs_.doors, request.remoteAddress) == May::Nothing) {
        return http::RefusalAnswer(403,
                                   "The hand box can be opened on the driver's own machine only. Start the driver with "
                                   "--handbox look or lan to change that.");
    }
    return {};
}

http::Answer WebView::AnswerTo(const http::Request& request) {
    if (http::Answer refusal = Admit(request); refusal.status != 200) {
        return refusal;
    }
    if (request.verb != http::Verb::Get) {
        return http::RefusalAnswer(400, "A page can only be read.");
    }
    return request.path == kSocketPath ? OpenView(MayOf(needs_.doors, request.remoteAddress))
                                       : PageAnswerTo(request.path, request.ifNoneMatch);
}

/// Whoever may look may stop.
void WebView::AnswerStop(const http::Request& request, const http::AnswerFunction& answer) {
    if (const http::Answer refusal = Admit(request); refusal.status != 200) {
        answer(refusal);
    } else if (request.verb != http::Verb::Put || request.path != kStopPath) {
        answer(http::RefusalAnswer(400, "To stop is a PUT request."));
    } else {
        needs_.pump.Post(CallKind::Read, [this, answer] {
            needs_.stop([answer] { answer({200, "text/plain; charset=utf-8", "Stopped.\n"}); });
        });
    }
}

/// `Connected` tells every client whether the link is open, and not who holds it.
void WebView::AnswerClient(const http::Request& request, const http::AnswerFunction& answer) {
    const std::optional<std::uint32_t> number = ClientIdIn(request.query);
    if (const http::Answer refusal = Admit(request); refusal.status != 200) {
        answer(refusal);
    } else if (request.verb != http::Verb::Get || request.path != kClientPath || !number) {
        answer(http::RefusalAnswer(400, "To ask is a GET request with a ClientID."));
    } else {
        needs_.pump.Post(CallKind::Read, [this, address = request.remoteAddress, client = *number, answer] {
            const bool holds = needs_.holdsTelescope && needs_.holdsTelescope(address, client);
            answer({200, "application/json", holds ? R"({"holds":true})" : R"({"holds":false})"});
        });
    }
}

http::Answer WebView::OpenView(May may) {
    const ViewId view = ++lastView_;
    const auto link = std::make_shared<Link>();
    return http::WebSocketAnswer({
        .opened =
            [this, view, may, link](const std::shared_ptr<http::WebSocket>& socket) {
                link->socket = socket;
                OnOpened(view, may, socket);
            },
        .received = [this, view, link](std::string text) { OnReceived(view, link, std::move(text)); },
        .closed =
            [this, view, link] {
                link->socket.reset();
                OnClosed(view);
            },
        .pulse = [this] { OnPulse(); },
        .pulseEvery = std::chrono::milliseconds(kTickMs),
    });
}

/// However many views are open, and however long the logic thread is busy, one tick waits at most.
void WebView::OnPulse() {
    if (tickWaits_.exchange(true)) {
        return;
    }
    needs_.pump.Post(CallKind::Read, [this] {
        tickWaits_ = false;
        if (needs_.tick) {
            needs_.tick();
        }
    });
}

void WebView::OnOpened(ViewId view, May may, const std::shared_ptr<http::WebSocket>& socket) {
    needs_.pump.Post(CallKind::Read, [this, view, may, socket] {
        sockets_.emplace(view, socket);
        needs_.opened(view, may);
    });
}

void WebView::OnReceived(ViewId view, const std::shared_ptr<Link>& link, std::string text) {
    const std::size_t cost = text.size() + kCostOfAMessage;
    link->waiting += cost;
    if (link->waiting > kMostWaiting) {
        link->socket->Close();
        return;
    }
    needs_.pump.Post(CallKind::Read, [this, view, link, cost, text = std::move(text)] {
        link->waiting -= cost;
        needs_.received(view, text);
    });
}

void WebView::OnClosed(ViewId view) {
    needs_.pump.Post(CallKind::Read, [this, view] {
        sockets_.erase(view);
        needs_.closed(view);
    });
}

void WebView::Send(ViewId view, std::string text) {
    const auto found = sockets_.find(view);
    if (found != sockets_.end()) {
        found->second->Send(std::move(text));
    }
}

std::size_t WebView::Unsent(ViewId view) const {
    const auto found = sockets_.find(view);
    return found == sockets_.end() ? 0 : found->second->Unsent();
}

void WebView::Close(ViewId view) {
    const auto found = sockets_.find(view);
    if (found != sockets_.end()) {
        found->second->Close();
    }
}

}  // namespace kestrane::web
