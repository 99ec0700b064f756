#include "platform/posix/scripted_http_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace kestrane::test {
namespace {

constexpr int kLimitMs = 5000;

bool AwaitReadable(int socket) {
    pollfd waited{socket, POLLIN, 0};
    return poll(&waited, 1, kLimitMs) > 0;
}

std::size_t BodyLength(const std::string& head) {
    const std::string name = "Content-Length: ";
    const std::size_t at = head.find(name);
    return at == std::string::npos ? 0 : std::stoul(head.substr(at + name.size()));
}

bool IsWhole(const std::string& request) {
    const std::size_t head = request.find("\r\n\r\n");
    return head != std::string::npos && request.size() >= head + 4 + BodyLength(request);
}

}  // namespace

bool ScriptedHttpServer::Visit::Read() {
    std::string request;
    while (!IsWhole(request)) {
        char byte = 0;
        if (!AwaitReadable(socket_) || ::recv(socket_, &byte, 1, 0) != 1) {
            return false;
        }
        request += byte;
    }
    requests_.push_back(request);
    return true;
}

void ScriptedHttpServer::Visit::Send(const std::string& bytes) const {
    (void)::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
}

void ScriptedHttpServer::Visit::AwaitClose() const {
    char byte = 0;
    while (socket_ >= 0 && AwaitReadable(socket_) && ::recv(socket_, &byte, 1, 0) > 0) {
    }
}

void ScriptedHttpServer::Visit::Close() {
    if (socket_ >= 0) {
        ::close(std::exchange(socket_, -1));
    }
}

ScriptedHttpServer::ScriptedHttpServer(std::vector<Script> visits)
    : listener_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    ::bind(listener_, reinterpret_cast<sockaddr*>(&address), size);
    ::listen(listener_, 5);
    ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size);
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this, visits = std::move(visits)] {
        for (const Script& script : visits) {
            if (!AwaitReadable(listener_)) {
                return;
            }
            Visit visit(::accept(listener_, nullptr, nullptr), requests_);
            script(visit);
        }
    });
}

ScriptedHttpServer::~ScriptedHttpServer() {
    Requests();
    ::close(listener_);
}

const std::vector<std::string>& ScriptedHttpServer::Requests() {
    if (thread_.joinable()) {
        thread_.join();
    }
    return requests_;
}

ScriptedHttpServer::Script ScriptedHttpServer::Answers(std::string reply) {
    return [reply = std::move(reply)](Visit& visit) {
        while (visit.Read()) {
            visit.Send(reply);
        }
    };
}

std::string ScriptedHttpServer::Ok(const std::string& body) {
    return "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

}  // namespace kestrane::test
