#include "views/local/local_socket.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/write.hpp>
#include <chrono>
#include <deque>
#include <utility>

#include "views/local/private_socket.h"

namespace kestrane::local {
namespace {

namespace asio = boost::asio;
using boost::system::error_code;
using stream_protocol = asio::local::stream_protocol;

constexpr std::chrono::milliseconds kAcceptAgain{1000};  // after a failure: there was no descriptor left, say
constexpr std::chrono::milliseconds kLongestEnd{2000};   // what a view has not taken then is lost

}  // namespace

/// The connection to a view. On the I/O thread, but for what is told.
class LocalSocket::Line : public std::enable_shared_from_this<Line> {
public:
    Line(stream_protocol::socket socket, std::function<void(std::string)> received, std::function<void()> closed)
        : socket_(std::move(socket)),
          end_(socket_.get_executor()),
          received_(std::move(received)),
          closed_(std::move(closed)) {}

    /// The next message is read when this one has had its turn: a program that sends faster than it is heard waits.
    void ReadNext() {
        asio::async_read_until(socket_, asio::dynamic_buffer(bytes_, kMostReceived + 1), '\n',
                               [self = shared_from_this()](const error_code& error, std::size_t size) {
                                   if (error) {
                                       self->Cut();
                                   } else {
                                       std::string text = self->bytes_.substr(0, size - 1);
                                       self->bytes_.erase(0, size);
                                       self->received_(std::move(text));
                                   }
                               });
    }

    /// Any thread.
    void Send(std::string text) {
        text += '\n';
        unsent_ += text.size();
        asio::post(socket_.get_executor(), [self = shared_from_this(), text = std::move(text)]() mutable {
            self->queue_.push_back(std::move(text));
            if (self->unsent_ > kMostUnsent) {
                self->Cut();
            }
            self->WriteNext();
        });
    }

    /// Any thread.
    std::size_t Unsent() const { return unsent_; }

    /// Any thread. Closes when all has been sent.
    void Close() {
        asio::post(socket_.get_executor(), [self = shared_from_this()] {
            self->finishing_ = true;
            self->end_.expires_after(kLongestEnd);
            self->end_.async_wait([self](const error_code& error) {
                if (!error) {
                    self->Cut();
                }
            });
            self->WriteNext();
        });
    }

    void Cut() {
        if (std::exchange(open_, false)) {
            error_code ignored;
            socket_.close(ignored);
            end_.cancel();
            unsent_ = 0;
            closed_();
        }
    }

private:
    void WriteNext() {
        if (!open_ || writing_) {
            return;
        }
        if (queue_.empty()) {
            if (finishing_) {
                Cut();
            }
        } else {
            writing_ = true;
            asio::async_write(
                socket_, asio::buffer(queue_.front()),
                [self = shared_from_this()](const error_code& error, std::size_t) { self->Written(error); });
        }
    }

    void Written(const error_code& error) {
        writing_ = false;
        if (error) {
            Cut();
        } else if (open_) {
            unsent_ -= queue_.front().size();
            queue_.pop_front();
            WriteNext();
        }
    }

    stream_protocol::socket socket_;
    asio::steady_timer end_;
    std::function<void(std::string)> received_;
    std::function<void()> closed_;
    std::string bytes_;  ///< received, and not yet a whole message
    std::deque<std::string> queue_;
    std::atomic<std::size_t> unsent_{0};
    bool writing_ = false;
    bool finishing_ = false;
    bool open_ = true;
};

LocalSocket::LocalSocket(LocalSocketNeeds needs) : needs_(std::move(needs)) {
    io_.Start();
}

LocalSocket::~LocalSocket() {
    io_.Stop([this] {
        error_code ignored;
        acceptor_.close(ignored);
        ticks_.cancel();
        for (const auto& [id, line] : std::exchange(lines_, {})) {
            line->Cut();
        }
    });
}

void LocalSocket::Listen(int socket) {
    io_.Post([this, socket] {
        acceptor_.assign(stream_protocol(), socket);
        Accept();
    });
}

void LocalSocket::Adopt(int socket) {
    io_.Post([this, socket] { Open(stream_protocol::socket(io_.Context(), stream_protocol(), socket)); });
}

void LocalSocket::Accept() {
    acceptor_.async_accept([this](const error_code& error, stream_protocol::socket socket) {
        if (error == asio::error::operation_aborted) {
            return;
        }
        if (error) {
            const auto later = std::make_shared<asio::steady_timer>(io_.Context(), kAcceptAgain);
            later->async_wait([this, later](const error_code&) { Accept(); });
            return;
        }
        if (PeerIsThisUser(socket.native_handle()) && lines_.size() < kMostViews) {
            Open(std::move(socket));
        }
        Accept();
    });
}

void LocalSocket::Open(stream_protocol::socket socket) {
    const ViewId view = ++lastView_;
    const std::weak_ptr<int> token = token_;
    const auto line = std::make_shared<Line>(
        std::move(socket),
        [this, view, token](std::string text) {
            needs_.pump.Post(CallKind::Read, [this, view, token, text = std::move(text)] {
                if (token.expired()) {
                    return;
                }
                needs_.received(view, text);
                if (const std::shared_ptr<Line> heard = OpenLine(view)) {
                    io_.Post([heard] { heard->ReadNext(); });
                }
            });
        },
        [this, view] { OnClosed(view); });
    lines_.emplace(view, line);
    needs_.pump.Post(CallKind::Read, [this, view, token, weak = std::weak_ptr<Line>(line)] {
        if (!token.expired()) {
            open_.emplace(view, weak.lock());
            needs_.opened(view);
        }
    });
    line->ReadNext();
    if (lines_.size() == 1) {
        TickLater();
    }
}

void LocalSocket::OnClosed(ViewId view) {
    lines_.erase(view);
    needs_.pump.Post(CallKind::Read, [this, view, token = std::weak_ptr<int>(token_)] {
        if (!token.expired()) {
            open_.erase(view);
            needs_.closed(view);
        }
    });
}

/// However long the logic thread is busy, one tick waits at most.
void LocalSocket::TickLater() {
    if (lines_.empty()) {
        return;
    }
    ticks_.expires_after(std::chrono::milliseconds(kTickMs));
    ticks_.async_wait([this](const error_code& error) {
        if (error) {
            return;
        }
        if (!tickWaits_.exchange(true)) {
            needs_.pump.Post(CallKind::Read, [this, token = std::weak_ptr<int>(token_)] {
                if (!token.expired()) {
                    tickWaits_ = false;
                    needs_.tick();
                }
            });
        }
        TickLater();
    });
}

/// Null where the view is not open, or has gone before the logic thread heard of it.
std::shared_ptr<LocalSocket::Line> LocalSocket::OpenLine(ViewId view) const {
    const auto found = open_.find(view);
    return found == open_.end() ? nullptr : found->second;
}

void LocalSocket::Send(ViewId view, std::string text) {
    if (const std::shared_ptr<Line> line = OpenLine(view)) {
        line->Send(std::move(text));
    }
}

std::size_t LocalSocket::Unsent(ViewId view) const {
    const std::shared_ptr<Line> line = OpenLine(view);
    return line ? line->Unsent() : 0;
}

void LocalSocket::Close(ViewId view) {
    if (const std::shared_ptr<Line> line = OpenLine(view)) {
        line->Close();
    }
}

}  // namespace kestrane::local
