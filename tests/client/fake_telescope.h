#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <mutex>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "client/client.h"
#include "client/fake_alpaca_server.h"

namespace kestrane::client {

using Answer = FakeAlpacaServer::Answer;
using Request = FakeAlpacaServer::Request;

/// A telescope that is connected, stands at 0 h / 90 degrees and takes four looks to arrive at a target.
class FakeTelescope {
public:
    Answer operator()(const Request& request) {
        const std::string path = request.target.substr(0, request.target.find('?'));
        const std::string prefix = isFocuser ? "/api/v1/focuser/0/" : "/api/v1/telescope/0/";
        if (!path.starts_with(prefix)) {
            return {FakeAlpacaServer::Http("no such device", "400 Bad Request"), false};
        }
        const std::string member = path.substr(prefix.size());
        const std::lock_guard lock(mutex_);
        return request.verb == "GET" ? Get(member) : Put(member, request.body);
    }

    bool isFocuser = false;
    bool isConnected = true;
    std::atomic<int> looksLeft = 0;
    double reachesDec = 10.0;
    int looks = 4;                                     ///< that a slew takes
    std::function<double(int looksLeft)> wayDec = {};  ///< declination on the way; empty: where it started
    bool hasMount = true;
    bool slews = true;                  ///< else it takes a slew and stands
    bool parks = true;                  ///< else it takes a park and stands in the end
    bool unparks = true;                ///< else it takes an unpark and stays parked
    bool choosesTracking = true;        ///< else it takes a write of Tracking and goes on as before
    int looksParked = 0;                ///< that it is still parked after an unpark
    std::string refused = {};           ///< a member whose PUT it refuses
    bool answersTexts = true;           ///< else it hangs up
    std::string driverReply = "reply";  ///< to a text
    Answer slewAnswer = FakeAlpacaServer::Done();

private:
    Answer Get(const std::string& member) {
        if (member == "connected") {
            return FakeAlpacaServer::Value(isConnected ? "true" : "false");
        }
        if (!isConnected) {
            return FakeAlpacaServer::Error(0x404, "not connected");
        }
        if (member == "slewing") {
            return FakeAlpacaServer::Value(looksLeft-- > 0 ? "true" : "false");
        }
        if (member == "rightascension") {
            return FakeAlpacaServer::Value(isThere_ ? "5.5" : "0.0");
        }
        if (member == "declination") {
            const double onTheWay = isThere_ && wayDec ? wayDec(looksLeft) : 90.0;
            return FakeAlpacaServer::Value(std::to_string(isThere_ && looksLeft <= 0 ? reachesDec : onTheWay));
        }
        if (member == "atpark") {
            return FakeAlpacaServer::Value(isParked_ || looksParked-- > 0 ? "true" : "false");
        }
        if (member == "tracking") {
            return FakeAlpacaServer::Value(tracks_ ? "true" : "false");
        }
        if (member == "ispulseguiding" || member == "ismoving") {
            return FakeAlpacaServer::Value(looksLeft-- > 0 ? "true" : "false");
        }
        if (member == "sitelatitude") {
            return FakeAlpacaServer::Value("47");
        }
        if (member == "siderealtime") {
            return FakeAlpacaServer::Value("18.6");
        }
        if (member == "driverinfo") {
            return FakeAlpacaServer::Value(R"("one\r\ntwo")");
        }
        if (member == "equatorialsystem") {
            return FakeAlpacaServer::Value("2");
        }
        return FakeAlpacaServer::Error(0x400, member + " is not implemented");
    }

    Answer Put(const std::string& member, const std::string& body) {
        if (member == refused) {
            return FakeAlpacaServer::Error(0x40b, "Invalid operation");
        }
        if (member == "connected") {
            if (!hasMount && body.starts_with("Connected=True")) {
                return FakeAlpacaServer::Error(0x402, "No mount.");
            }
            isConnected = body.starts_with("Connected=True");
        } else if (member == "slewtocoordinatesasync") {
            isThere_ = slews;
            looksLeft = slews ? looks : 0;
            return slewAnswer;
        } else if (member == "park") {
            isParked_ = parks;
            looksLeft = looks;
        } else if (member == "unpark") {
            isParked_ = !unparks;
        } else if (member == "tracking" && choosesTracking) {
            tracks_ = body.starts_with("Tracking=True");
        } else if (member == "pulseguide" || member == "move") {
            looksLeft = looks;
        } else if (member == "abortslew" || member == "halt") {
            looksLeft = 0;
        } else if (member == "commandstring" && !answersTexts) {
            return {"", true};
        } else if (member == "commandstring") {
            return FakeAlpacaServer::Value("\"" + driverReply + "\"");
        }
        return FakeAlpacaServer::Done();
    }

    std::mutex mutex_;
    bool isThere_ = false;
    bool isParked_ = false;
    bool tracks_ = false;
};

struct Outcome {
    ExitCode code;
    std::string out;
    std::string notes;
};

/// A text that says when somebody writes to it.
class WatchedText final : public std::stringbuf {
public:
    explicit WatchedText(std::function<void()> onWritten) : onWritten_(std::move(onWritten)) {}

protected:
    int sync() override {
        if (onWritten_) {
            onWritten_();
        }
        return 0;
    }

private:
    std::function<void()> onWritten_;
};

/// The program on a time of its own that only its waits move.
inline Outcome RunHere(std::vector<std::string> words, double interruptedAfter = 1e9,
                       std::function<void()> onNotes = {}) {
    std::ostringstream out;
    WatchedText noted(std::move(onNotes));
    std::ostream notes(&noted);
    double now = 946728000.0;
    const double end = now + interruptedAfter;
    const ExitCode code =
        RunClient(words, {out, notes, false, [&] { return now; }, [&](double seconds) { now += seconds; }, [] {},
                          [&] { return now >= end; }});
    return {code, out.str(), noted.str()};
}

inline Outcome RunAt(FakeAlpacaServer& server, std::vector<std::string> words, double interruptedAfter = 1e9,
                     std::function<void()> onNotes = {}) {
    words.push_back("--port");
    words.push_back(std::to_string(server.Port()));
    return RunHere(std::move(words), interruptedAfter, std::move(onNotes));
}

/// An event that a request waits for, so that its answer is held back until then.
class Gate {
public:
    void Open() {
        const std::lock_guard lock(mutex_);
        isOpen_ = true;
        opened_.notify_all();
    }
    /// False when it does not open within ten seconds.
    bool Pass() {
        std::unique_lock lock(mutex_);
        return opened_.wait_for(lock, std::chrono::seconds(10), [this] { return isOpen_; });
    }

private:
    std::mutex mutex_;
    std::condition_variable opened_;
    bool isOpen_ = false;
};

/// Member of a request, as in its path.
inline std::string MemberOf(const Request& request) {
    const std::string path = request.target.substr(0, request.target.find('?'));
    return path.substr(path.rfind('/') + 1);
}

/// Verb and member of each request, in order.
inline std::vector<std::string> Calls(FakeAlpacaServer& server) {
    std::vector<std::string> calls;
    for (const Request& request : server.Requests()) {
        calls.push_back(request.verb + " " + MemberOf(request));
    }
    return calls;
}

/// Member and values of each PUT, in order: "tracking Tracking=True".
inline std::vector<std::string> Puts(FakeAlpacaServer& server) {
    std::vector<std::string> puts;
    for (const Request& request : server.Requests()) {
        if (request.verb == "PUT") {
            const std::string values = request.body.substr(0, request.body.find("ClientID="));
            puts.push_back(MemberOf(request) + (values.empty() ? "" : " " + values.substr(0, values.size() - 1)));
        }
    }
    return puts;
}

/// A client of a server with one telescope, which a test may change before or between its runs.
class ClientTest : public testing::Test {
protected:
    Outcome Run(std::vector<std::string> words, double interruptedAfter = 1e9) {
        return RunAt(server, std::move(words), interruptedAfter);
    }
    /// What the first PUT of a member had in its body; nothing when there was none.
    std::optional<std::string> PutTo(std::string_view member) {
        for (const Request& request : server.Requests()) {
            if (request.verb == "PUT" && MemberOf(request) == member) {
                return request.body;
            }
        }
        return std::nullopt;
    }

    FakeTelescope telescope;
    FakeAlpacaServer server{std::ref(telescope)};
};

}  // namespace kestrane::client
