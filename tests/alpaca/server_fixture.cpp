#include "server_fixture.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <map>
#include <netinet/in.h>
#include <stdexcept>
#include <string_view>

#include "alpaca/common_routes.h"
#include "kernel/base/errors.h"

namespace kestrane::alpaca {
namespace {

std::string Answer42(ClientObject&, const Arguments&) {
    return "42";
}

std::string AnswerNothing(ClientObject&, const Arguments&) {
    return {};
}

std::string Slew(ClientObject&, const Arguments&) {
    FakeSlews& slews = Slews();
    ++slews.started;
    ++slews.running;
    while (!slews.finish) {
        slews.pump->PumpMessages();
        std::this_thread::yield();
    }
    --slews.running;
    return {};
}

const std::map<std::pair<std::string_view, Verb>, Handler> kHandlers{
    {{"Connected", Verb::Get}, ReadConnected},
    {{"Connected", Verb::Put}, WriteConnected},
    {{"Name", Verb::Get}, [](ClientObject&, const Arguments&) { return JsonOf("Q\"\\\x05"); }},
    {{"RightAscension", Verb::Get}, [](ClientObject&, const Arguments&) { return JsonOf(12.5); }},
    {{"AtPark", Verb::Get},
     [](ClientObject&, const Arguments&) -> std::string { throw DriverError(ErrorNumber::NotConnected, "no scope"); }},
    {{"AtHome", Verb::Get},
     [](ClientObject&, const Arguments&) -> std::string { throw std::logic_error("a bug\nin two lines"); }},
    {{"CommandString", Verb::Put},
     [](ClientObject&, const Arguments& a) { return JsonOf(a.Text(0) + (a.Boolean(1) ? "!" : "")); }},
    {{"TargetDeclination", Verb::Put}, [](ClientObject&, const Arguments& a) { return JsonOf(a.Number(0)); }},
    {{"SlewSettleTime", Verb::Put}, [](ClientObject&, const Arguments& a) { return JsonOf(a.Integer(0)); }},
    {{"UTCDate", Verb::Put}, [](ClientObject&, const Arguments& a) { return JsonOf(a.UtcDate(0)); }},
    {{"Slewing", Verb::Get}, [](ClientObject&, const Arguments&) { return JsonOf(Slews().running > 0); }},
    {{"SlewToCoordinates", Verb::Put}, Slew},
    {{"AbortSlew", Verb::Put},
     [](ClientObject&, const Arguments&) {
         Slews().finish = true;
         return std::string();
     }},
    {{"FindHome", Verb::Put}, nullptr},
};

int DatagramSocketOnLoopback() {
    const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    EXPECT_EQ(::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    return socket;
}

}  // namespace

FakeSlews& Slews() {
    static FakeSlews slews;
    return slews;
}

std::vector<Route> FakeRoutes(std::vector<Route> routes) {
    for (Route& route : routes) {
        const auto own = kHandlers.find({route.name, route.verb});
        const Handler usual = route.verb == Verb::Get ? Answer42 : AnswerNothing;
        route.handler = own == kHandlers.end() ? usual : own->second;
    }
    return routes;
}

TestServer::TestServer(Options options, int listening) {
    ServerSockets sockets;
    sockets.http.push_back(listening < 0 ? ListenOnLoopback() : ::dup(listening));
    port_ = PortOfSocket(sockets.http.front());
    if (options.discovery) {
        sockets.discovery.push_back(DatagramSocketOnLoopback());
        discoveryPort_ = PortOfSocket(sockets.discovery.front());
    }
    std::promise<void> ready;
    std::future<void> running = ready.get_future();
    thread_ = std::thread([this, options, sockets, promise = std::move(ready)]() mutable {
        RunLogicThread(std::move(promise), options, sockets);
    });
    running.get();
}

TestServer::~TestServer() {
    Slews().finish = true;
    pump_->Quit();
    if (thread_.joinable()) {
        thread_.join();
    }
}

void TestServer::RunLogicThread(std::promise<void> ready, const Options& options, ServerSockets sockets) {
    pump_ = std::make_unique<PosixMessagePump>(
        [](const std::exception_ptr& fault) { EXPECT_EQ(fault, nullptr) << "an exception reached the pump"; });
    FakeSlews& slews = Slews();
    slews.started = slews.running = 0;
    slews.finish = false;
    slews.pump = pump_.get();
    PosixClock clock;
    FakeDevices devices(world_);
    const RouteTable routes(FakeRoutes(TelescopeRoutes()), FakeRoutes(FocuserRoutes()));
    ServerIdentity identity;
    identity.version = "5.50.03";
    ObjectServer server({.pump = *pump_,
                         .clock = clock,
                         .devices = devices,
                         .routes = routes,
                         .endProcess =
                             [this, onEnd = options.onEnd] {
                                 onEnd();
                                 pump_->Quit();
                             },
                         .identity = identity,
                         .deviceIdFile = folders_.CommonAppData() / "DeviceIds.ini",
                         .leases = options.leases,
                         .limits = options.limits,
                         .repeatTime = options.repeatTime,
                         .hostNames = {"dome.example.org"},
                         .branches = options.branches},
                        sockets);
    server_ = &server;
    ready.set_value();
    pump_->Run();
}

void TestServer::OnLogicThread(const std::function<void()>& function) {
    std::promise<void> done;
    pump_->Post(CallKind::Brief, [&] {
        function();
        done.set_value();
    });
    done.get_future().get();
}

std::size_t TestServer::ObjectCount() {
    std::size_t count = 0;
    OnLogicThread([&] { count = server_->ObjectCount(); });
    return count;
}

std::size_t TestServer::ConnectionCount() {
    std::size_t count = 0;
    OnLogicThread([&] { count = server_->ConnectionCount(); });
    return count;
}

void TestServer::WaitForEnd() {
    thread_.join();
}

}  // namespace kestrane::alpaca
