#pragma once

#include <algorithm>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/websocket/stream.hpp>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kestrane::http {

/// A client of a `WebSocket` as a browser is one, which waits as long as it takes.
class WebSocketClient {
public:
    using Headers = std::vector<std::pair<std::string, std::string>>;

    /// Connects to 127.0.0.1 and asks for the socket.
    WebSocketClient(std::uint16_t port, const std::string& path, const Headers& headers = {}) {
        stream_.next_layer().connect({boost::asio::ip::address_v4::loopback(), port});
        stream_.set_option(
            boost::beast::websocket::stream_base::decorator([headers](boost::beast::websocket::request_type& request) {
                for (const auto& [name, value] : headers) {
                    request.set(name, value);
                }
            }));
        boost::beast::websocket::response_type response;
        boost::system::error_code ignored;
        stream_.handshake(response, "localhost:" + std::to_string(port), path, ignored);
        status_ = static_cast<int>(response.result_int());
        refusal_ = response.body();
    }

    /// Status of the answer: 101 when there is a socket now.
    int Status() const { return status_; }
    const std::string& Refusal() const { return refusal_; }

    /// Sends a text in pieces of so many bytes, each a frame of its own.
    void Send(const std::string& text, std::size_t pieces = 65536) {
        stream_.write_buffer_bytes(std::max<std::size_t>(pieces, 8));
        stream_.auto_fragment(true);
        boost::system::error_code ignored;
        stream_.write(boost::asio::buffer(text), ignored);
    }
    void SendBinary(const std::string& bytes) {
        stream_.binary(true);
        Send(bytes);
    }
    /// The next message; nothing when the socket has closed.
    std::optional<std::string> Read() {
        boost::beast::flat_buffer buffer;
        boost::system::error_code error;
        stream_.read_message_max(0);
        stream_.read(buffer, error);
        return error ? std::nullopt : std::optional(boost::beast::buffers_to_string(buffer.data()));
    }
    void Close() {
        boost::system::error_code ignored;
        stream_.close(boost::beast::websocket::close_code::normal, ignored);
    }
    /// Why the server has closed: a code of the protocol; 0 when it said nothing.
    int ReasonOfClose() const { return stream_.reason().code; }

private:
    boost::asio::io_context io_;
    boost::beast::websocket::stream<boost::asio::ip::tcp::socket> stream_{io_};
    int status_ = 0;
    std::string refusal_;
};

}  // namespace kestrane::http
