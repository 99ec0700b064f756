#pragma once

#include <atomic>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/steady_timer.hpp>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "http/io_thread.h"
#include "platform/message_pump.h"

namespace kestrane::local {

/// One program that is connected, unique in the life of the process; from 1 up.
using ViewId = std::uint64_t;

/// The functions run on the logic thread as `CallKind::Read`: also while the driver waits for the mount, so that a stop
/// in a message is seen at once. What is more than a look at a message they post again, with the kind that it needs.
struct LocalSocketNeeds {
    MessagePump& pump;
    std::function<void(ViewId)> opened;
    std::function<void(ViewId, const std::string&)> received;
    std::function<void(ViewId)> closed;  ///< once, the last call for this view
    std::function<void()> tick;          ///< each `LocalSocket::kTickMs` while a view is open
};

/// Programs of the driver's own user on this machine as views: over a listening socket, or one end of a pair. A message
/// is a line of text that ends with "\n". It carries messages without looking into them. The thread that waits for them
/// is its own; all members are for the logic thread.
class LocalSocket {
public:
    static constexpr std::size_t kMostReceived = std::size_t{64} * 1024;  ///< bytes of a message; a longer one closes
    static constexpr std::size_t kMostUnsent = std::size_t{1024} * 1024;  ///< bytes; who goes beyond them is closed
    static constexpr std::size_t kMostViews = 16;
    static constexpr int kTickMs = 50;

    explicit LocalSocket(LocalSocketNeeds needs);
    /// Closes all. No function of `needs` is called any more.
    ~LocalSocket();
    LocalSocket(const LocalSocket&) = delete;
    LocalSocket& operator=(const LocalSocket&) = delete;

    /// Takes over a socket of the file system that listens. Programs of other users are turned away.
    void Listen(int socket);
    /// Takes over a connected socket: the program at its other end is a view from now on.
    void Adopt(int socket);

    // They do nothing for a view that is not open.

    void Send(ViewId view, std::string text);
    /// Bytes that the system has not taken yet.
    std::size_t Unsent(ViewId view) const;
    /// Closes the view when the system has taken what was sent. Messages of it that wait already still come.
    void Close(ViewId view);

private:
    class Line;

    std::shared_ptr<Line> OpenLine(ViewId view) const;
    void Accept();
    void Open(boost::asio::local::stream_protocol::socket socket);
    void OnClosed(ViewId view);
    void TickLater();

    LocalSocketNeeds needs_;
    http::IoThread io_;
    std::shared_ptr<int> token_ = std::make_shared<int>();  ///< for posted calls, which may outlive this object
    std::map<ViewId, std::shared_ptr<Line>> open_;          ///< on the logic thread
    std::atomic<bool> tickWaits_{false};                    ///< posted, and not run yet

    // On the thread of `io_`.
    boost::asio::local::stream_protocol::acceptor acceptor_{io_.Context()};
    boost::asio::steady_timer ticks_{io_.Context()};
    std::map<ViewId, std::shared_ptr<Line>> lines_;
    ViewId lastView_ = 0;
};

}  // namespace kestrane::local
