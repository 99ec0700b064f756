#include "platform/posix/https_pages.h"

#include <boost/asio/ssl.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/ssl.hpp>
#include <chrono>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>

namespace kestrane {
namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
using ErrorCode = boost::system::error_code;

constexpr unsigned kHttp11 = 11;
constexpr unsigned kGood = 200;

asio::ssl::context TlsFor(const std::string& trusted) {
    asio::ssl::context tls(asio::ssl::context::tls_client);
    tls.set_verify_mode(asio::ssl::verify_peer);
    if (trusted.empty()) {
        tls.set_default_verify_paths();
    } else {
        tls.load_verify_file(trusted);
    }
    return tls;
}

/// One page, step by step; a step that fails ends it without a body.
class Fetching {
public:
    Fetching(const WebPageRequest& request, const std::string& trusted)
        : request_(request),
          host_(request.host.substr(0, request.host.find(':'))),
          service_(host_.size() < request.host.size() ? request.host.substr(host_.size() + 1) : "443"),
          tls_(TlsFor(trusted)),
          stream_(context_, tls_) {}

    std::optional<std::string> Run() {
        if (!NameHost()) {
            return std::nullopt;
        }
        stream_.set_verify_callback(asio::ssl::host_name_verification(host_));
        resolver_.async_resolve(host_, service_, [this](const ErrorCode& error, const auto& found) {
            if (!error) {
                Connect(found);
            }
        });
        context_.run_for(std::chrono::milliseconds(request_.withinMs));
        return std::move(body_);
    }

private:
    /// One server may have a certificate for each of its names. OpenSSL has a macro for this call.
    bool NameHost() {
        std::string host = host_;
        return SSL_ctrl(stream_.native_handle(), SSL_CTRL_SET_TLSEXT_HOSTNAME, TLSEXT_NAMETYPE_host_name,
                        host.data()) == 1;
    }
    void Connect(const asio::ip::tcp::resolver::results_type& found) {
        beast::get_lowest_layer(stream_).async_connect(found, [this](const ErrorCode& error, const auto&) {
            if (!error) {
                Handshake();
            }
        });
    }
    void Handshake() {
        stream_.async_handshake(asio::ssl::stream_base::client, [this](const ErrorCode& error) {
            if (!error) {
                Write();
            }
        });
    }
    void Write() {
        message_ = {beast::http::verb::get, request_.target, kHttp11};
        message_.set(beast::http::field::host, request_.host);
        for (const auto& [name, value] : request_.headers) {
            message_.set(name, value);
        }
        beast::http::async_write(stream_, message_, [this](const ErrorCode& error, std::size_t) {
            if (!error) {
                Read();
            }
        });
    }
    void Read() {
        parser_.body_limit(request_.mostBodyBytes);
        beast::http::async_read(stream_, buffer_, parser_, [this](const ErrorCode& error, std::size_t) {
            if (!error && parser_.get().result_int() == kGood) {
                body_ = parser_.get().body();
            }
        });
    }

    const WebPageRequest& request_;
    const std::string host_, service_;
    asio::io_context context_{1};
    asio::ssl::context tls_;
    asio::ip::tcp::resolver resolver_{context_};
    beast::ssl_stream<beast::tcp_stream> stream_;
    beast::http::request<beast::http::empty_body> message_;
    beast::http::response_parser<beast::http::string_body> parser_;
    beast::flat_buffer buffer_;
    std::optional<std::string> body_;
};

}  // namespace

/// To the pump, as long as that is there.
class HttpsPages::Door {
public:
    explicit Door(MessagePump& pump) : pump_(&pump) {}

    void Post(std::function<void()> call) {
        const std::lock_guard lock(mutex_);
        if (pump_ != nullptr) {
            pump_->Post(CallKind::Brief, std::move(call));
        }
    }
    void Close() {
        const std::lock_guard lock(mutex_);
        pump_ = nullptr;
    }
    bool IsOpen() {
        const std::lock_guard lock(mutex_);
        return pump_ != nullptr;
    }

private:
    std::mutex mutex_;
    MessagePump* pump_;
};

HttpsPages::HttpsPages(MessagePump& pump, std::string trusted)
    : door_(std::make_shared<Door>(pump)), trusted_(std::move(trusted)) {}

HttpsPages::~HttpsPages() {
    door_->Close();
}

void HttpsPages::Fetch(WebPageRequest request, std::function<void(std::optional<std::string> body)> done) {
    const auto tell = [door = door_, done = std::move(done)](std::optional<std::string> body) {
        door->Post([door, done, body = std::move(body)] {
            if (door->IsOpen()) {
                done(body);
            }
        });
    };
    const auto fetch = [request = std::move(request), trusted = trusted_, tell] {
        try {
            Fetching fetching(request, trusted);
            tell(fetching.Run());  // before the end of `fetching`, which waits for a slow lookup of a name
        } catch (const std::exception&) {
            tell(std::nullopt);  // nothing may leave the thread
        }
    };
    try {
        std::thread(fetch).detach();
    } catch (const std::system_error&) {
        tell(std::nullopt);
    }
}

}  // namespace kestrane
