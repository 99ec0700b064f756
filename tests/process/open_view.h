#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "process/process_fixture.h"

namespace kestrane::process {

/// A view that is open, over a `Socket` that carries messages. Reads what comes, and answers each beat.
template <class Socket>
class OpenView {
public:
    template <class... Arguments>
    explicit OpenView(Arguments&&... socket) : socket_(std::forward<Arguments>(socket)...) {}

    /// Reads on until a message has `part`; empty when the socket has closed before, or after so long. Beats come four
    /// times a second, so that it never waits long for a message.
    std::string WaitFor(std::string_view part, Seconds limit = kPatience) {
        return ReadUntil([&](const std::string& message) { return message.find(part) != std::string::npos; }, limit);
    }
    void LiveFor(Seconds time) {
        ReadUntil([](const std::string&) { return false; }, time);
    }

    void Do(const std::string& members) { socket_.Send("{" + members + R"(,"beat":)" + std::to_string(beat_) + "}"); }
    void Hold(const std::string& control, int number) {
        hold_ = number;
        Do(R"("do":"hold","form":"frmHandBox","id":1,"control":")" + control + R"(","hold":)" + std::to_string(number));
    }

private:
    std::string ReadUntil(const std::function<bool(const std::string&)>& wanted, Seconds limit) {
        const auto end = SteadyClock::now() + limit;
        while (SteadyClock::now() < end) {
            const std::optional<std::string> message = socket_.Read();
            if (!message) {
                return {};
            }
            if (message->starts_with(R"({"type":"beat")")) {
                beat_ = std::stoull(message->substr(message->find_last_of(':') + 1));
                Do(R"("do":"beat","hold":)" + std::to_string(hold_));
            }
            if (wanted(*message)) {
                return *message;
            }
        }
        return {};
    }

    Socket socket_;
    std::uint64_t beat_ = 0;
    int hold_ = 0;
};

}  // namespace kestrane::process
