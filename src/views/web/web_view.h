#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "http/branches.h"
#include "http/web_socket.h"
#include "platform/message_pump.h"
#include "views/web/doors.h"

namespace kestrane::web {

/// One page that is open, unique in the life of the process; from 1 up.
using ViewId = std::uint64_t;

/// Whether the program at that IP address with that ClientID holds the telescope connected.
using HoldsTelescope = std::function<bool(const std::string& address, std::uint32_t number)>;

/// The functions run on the logic thread as `CallKind::Read`: also while the driver waits for the mount, so that a stop
/// in a message is seen at once. What is more than a look at a message they post again, with the kind that it needs.
struct WebViewNeeds {
    MessagePump& pump;
    Doors doors = Doors::Local;
    std::function<void(ViewId, May)> opened;            ///< `Stop` or `All`
    std::function<void(ViewId, std::string)> received;  ///< see `http::WebSocket::kMostReceived`
    std::function<void(ViewId)> closed;                 ///< once, the last call for this view
    std::function<void()> tick = {};                    ///< each `WebView::kTickMs`, for each open view
    /// Stops all that moves; `done` is to be called once, when that has been done.
    std::function<void(std::function<void()> done)> stop = {};
    HoldsTelescope holdsTelescope = {};
};

/// The hand box in a browser: the files of the page, a `WebSocket` at "/view" for each page that is open, and a PUT at
/// "/view/stop", by which a page stops all that moves when its socket is dead. A GET of "/view/client?ClientID=" tells
/// a page that is a client too whether it holds the telescope connected: {"holds": true}. It decides who may do so, and
/// carries messages without looking into them. It answers both on the logic thread. Must outlive the server of its
/// branches.
class WebView {
public:
    /// Bytes of a view's messages that may wait for the logic thread; who goes beyond them is closed.
    static constexpr std::size_t kMostWaiting = std::size_t{1024} * 1024;

    static constexpr int kTickMs = 50;

    explicit WebView(WebViewNeeds needs) : needs_(std::move(needs)) {}
    WebView(const WebView&) = delete;
    WebView& operator=(const WebView&) = delete;

    /// For the server.
    std::vector<http::Branch> Branches();

    // On the logic thread. They do nothing for a view that is not open.

    void Send(ViewId view, std::string text);
    /// Bytes that the view has not taken yet; beyond `http::WebSocket::kMostUnsent` it is closed.
    std::size_t Unsent(ViewId view) const;
    /// Closes the view when it has taken what was sent. Messages of it that wait already still come.
    void Close(ViewId view);

private:
    struct Link;

    /// The refusal of a request that the doors do not let in; status 200 if they do.
    http::Answer Admit(const http::Request& request) const;
    http::Answer AnswerTo(const http::Request& request);
    void AnswerStop(const http::Request& request, const http::AnswerFunction& answer);
    void AnswerClient(const http::Request& request, const http::AnswerFunction& answer);
    http::Answer OpenView(May may);
    void OnOpened(ViewId view, May may, const std::shared_ptr<http::WebSocket>& socket);
    void OnReceived(ViewId view, const std::shared_ptr<Link>& link, std::string text);
    void OnClosed(ViewId view);
    void OnPulse();

    WebViewNeeds needs_;
    std::atomic<bool> tickWaits_{false};                          ///< posted, and not run yet
    ViewId lastView_ = 0;                                         ///< on the I/O thread
    std::map<ViewId, std::shared_ptr<http::WebSocket>> sockets_;  ///< on the logic thread
};

}  // namespace kestrane::web
