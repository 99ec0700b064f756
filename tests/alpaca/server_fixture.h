#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "alpaca/object_server.h"
#include "fake_devices.h"
#include "http/raw_client.h"
#include "platform/posix/posix_clock.h"
#include "platform/posix/posix_message_pump.h"
#include "support/temporary_folder.h"

namespace kestrane::alpaca {

using http::ListenOnLoopback;
using http::PortOfSocket;
using http::RawClient;

/// The route tables of the driver with handlers that need no driver:
///   Connected             as it is, on fake devices
///   Name                  the text Q"\ with a control character
///   RightAscension        12.5
///   AtPark                raises 0x80040404
///   AtHome                fails in a way that is no driver's error
///   CommandString         gives its text back, with "!" after it for raw
///   TargetDeclination     PUT gives its number back
///   SlewSettleTime        PUT gives its number back
///   UTCDate               PUT gives its date back
///   Slewing               whether a `SlewToCoordinates` runs
///   SlewToCoordinates     pumps until `FinishSlews`; counts its calls
///   AbortSlew             finishes the slews
///   everything else       42 for GET, nothing for PUT; FindHome stays without a handler
std::vector<Route> FakeRoutes(std::vector<Route> routes);

/// What the fake slews share with the test.
struct FakeSlews {
    std::atomic<int> started{0};
    std::atomic<int> running{0};
    std::atomic<bool> finish{false};
    MessagePump* pump = nullptr;
};
FakeSlews& Slews();

/// A real server on a port of its own, with its logic thread, and fake devices behind it.
class TestServer {
public:
    struct Options {
        LeaseTimes leases{600'000, 600'000};
        http::Limits limits;
        std::chrono::milliseconds repeatTime{60'000};
        bool discovery = false;
        std::vector<http::Branch> branches = {};  ///< of the server, beside its own
        std::function<void()> onEnd = [] {};      ///< on the logic thread, when the process would end
    };

    TestServer() : TestServer(Options()) {}
    /// On a socket that listens already; a copy of it is served.
    explicit TestServer(Options options, int listening = -1);
    ~TestServer();
    TestServer(const TestServer&) = delete;
    TestServer& operator=(const TestServer&) = delete;

    RawClient Connect() const { return RawClient(port_); }
    std::uint16_t Port() const { return port_; }
    std::uint16_t DiscoveryPort() const { return discoveryPort_; }
    FakeWorld& World() { return world_; }

    /// Runs a function on the logic thread, from its outermost loop or a pump, and waits for it.
    void OnLogicThread(const std::function<void()>& function);
    std::size_t ObjectCount();
    std::size_t ConnectionCount();
    /// Waits until the server has ended the process, which here ends the logic thread.
    void WaitForEnd();

private:
    void RunLogicThread(std::promise<void> ready, const Options& options, ServerSockets sockets);

    FakeWorld world_;
    TemporaryFolders folders_;
    std::uint16_t port_ = 0;
    std::uint16_t discoveryPort_ = 0;
    std::unique_ptr<PosixMessagePump> pump_;
    ObjectServer* server_ = nullptr;  ///< on the logic thread
    std::thread thread_;
};

}  // namespace kestrane::alpaca
