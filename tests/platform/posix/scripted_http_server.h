#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace kestrane::test {

/// A server on a free port of 127.0.0.1 that does what a test wants, on a thread of its own: one visit for each
/// connection, in the order in which they come.
class ScriptedHttpServer {
public:
    /// One connection from the server's side. Every wait ends after 5 s.
    class Visit {
    public:
        Visit(int socket, std::vector<std::string>& requests) : socket_(socket), requests_(requests) {}
        ~Visit() { Close(); }
        Visit(const Visit&) = delete;
        Visit& operator=(const Visit&) = delete;
        /// Reads one request, head and body, and keeps it for `Requests`; false when the client has closed.
        bool Read();
        void Send(const std::string& bytes) const;
        /// Waits until the client closes.
        void AwaitClose() const;
        void Close();

    private:
        int socket_;
        std::vector<std::string>& requests_;
    };
    using Script = std::function<void(Visit&)>;

    explicit ScriptedHttpServer(std::vector<Script> visits);
    ~ScriptedHttpServer();
    ScriptedHttpServer(const ScriptedHttpServer&) = delete;
    ScriptedHttpServer& operator=(const ScriptedHttpServer&) = delete;

    std::uint16_t Port() const { return port_; }
    /// Waits until all visits are over, and gives the requests that came.
    const std::vector<std::string>& Requests();

    /// Answers each request with this text until the client closes.
    static Script Answers(std::string reply);
    static std::string Ok(const std::string& body);

private:
    int listener_ = -1;
    std::uint16_t port_ = 0;
    std::vector<std::string> requests_;
    std::thread thread_;
};

}  // namespace kestrane::test
