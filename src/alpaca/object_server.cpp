#include "alpaca/object_server.h"

#include <algorithm>
#include <boost/asio/steady_timer.hpp>
#include <future>

#include "alpaca/device_request.h"
#include "alpaca/discovery.h"
#include "alpaca/request_handler.h"
#include "http/io_thread.h"
#include "http/server.h"

namespace kestrane::alpaca {

class ObjectServer::Inside {
public:
    Inside(ObjectServerNeeds needs, const ServerSockets& sockets);
    ~Inside();
    Inside(const Inside&) = delete;
    Inside& operator=(const Inside&) = delete;

    std::size_t ObjectCount() const { return objects_.Count(); }
    ClientList& Clients() { return objects_; }
    std::size_t ConnectionCount();

private:
    ClientObjectsNeeds ObjectNeeds();
    RequestHandlerNeeds HandlerNeeds();
    std::vector<http::Branch> Branches();
    http::ServerNeeds HttpNeeds();
    bool IsUrgent(std::string_view method, std::string_view target) const;
    void AddSockets(const ServerSockets& sockets);

    ObjectServerNeeds needs_;
    http::IoThread io_;
    ClientObjects objects_;
    Management management_;
    RequestHandler handler_;
    http::Server http_;
    std::vector<std::unique_ptr<Discovery>> discovery_;
};

ObjectServer::Inside::Inside(ObjectServerNeeds needs, const ServerSockets& sockets)
    : needs_(std::move(needs)),
      objects_(ObjectNeeds()),
      management_(needs_.identity, needs_.deviceIdFile),
      handler_(HandlerNeeds()),
      http_(io_.Context(), HttpNeeds()) {
    AddSockets(sockets);
    http_.Start();
    for (const auto& discovery : discovery_) {
        discovery->Start();
    }
    io_.Start();
}

ObjectServer::Inside::~Inside() {
    io_.Stop([this] {
        http_.Stop();
        for (const auto& discovery : discovery_) {
            discovery->Stop();
        }
    });
}

void ObjectServer::Inside::AddSockets(const ServerSockets& sockets) {
    for (const int socket : sockets.http) {
        http_.AddListener(socket);
    }
    for (const int socket : sockets.discovery) {
        discovery_.push_back(std::make_unique<Discovery>(io_.Context(), socket, http_.BoundTo(), [this] {
            needs_.pump.Post(CallKind::Brief, [this] { objects_.NoteActivity(); });
        }));
    }
}

/// The logic thread asks the gate, the I/O thread decides, and the answer comes back on the logic thread.
ClientObjectsNeeds ObjectServer::Inside::ObjectNeeds() {
    RequestGate gate;
    gate.close = [this](std::function<void(bool)> done) {
        io_.Post([this, done = std::move(done)] {
            http_.CloseGate(
                [this, done](bool closed) { needs_.pump.Post(CallKind::Brief, [done, closed] { done(closed); }); });
        });
    };
    gate.open = [this] { io_.Post([this] { http_.OpenGate(); }); };
    return {needs_.pump,       needs_.clock,  needs_.devices, std::move(gate),
            needs_.endProcess, needs_.leases, needs_.mayEnd,  needs_.viewIsOpen};
}

RequestHandlerNeeds ObjectServer::Inside::HandlerNeeds() {
    return {needs_.routes,
            objects_,
            needs_.pump,
            management_,
            [this](std::function<void()> function) { io_.Post(std::move(function)); },
            [this](http::ConnectionId id) { return http_.ConnectionIsGone(id); },
            [this](std::chrono::milliseconds delay, std::function<void()> function) {
                const auto timer = std::make_shared<boost::asio::steady_timer>(io_.Context(), delay);
                timer->async_wait([timer, function = std::move(function)](const auto& error) {
                    if (!error) {
                        function();
                    }
                });
            },
            needs_.repeatTime,
            [this](http::ConnectionId id, const std::string& holder) { http_.SetHolder(id, holder); },
            needs_.refused};
}

std::vector<http::Branch> ObjectServer::Inside::Branches() {
    std::vector<http::Branch> branches;
    for (const http::Branch& branch : needs_.branches) {
        branches.push_back(branch);
        branches.back().handle = [this, handle = branch.handle](const http::Request& request,
                                                                const http::AnswerFunction& answer) {
            handler_.NoteActivity();
            handle(request,
                   [this, answer](const http::Answer& given) { io_.Post([answer, given] { answer(given); }); });
        };
    }
    branches.push_back({"", [this](const http::Request& request, const http::AnswerFunction& answer) {
                            handler_.Handle(request, answer);
                        }});
    return branches;
}

bool ObjectServer::Inside::IsUrgent(std::string_view method, std::string_view target) const {
    const auto takes = [target](const http::Branch& branch) { return branch.isUrgent && branch.path == target; };
    return IsStop(method, target, needs_.routes) || (method == "PUT" && std::ranges::any_of(needs_.branches, takes));
}

http::ServerNeeds ObjectServer::Inside::HttpNeeds() {
    std::vector<std::string> names = http::MachineNames();
    names.insert(names.end(), needs_.hostNames.begin(), needs_.hostNames.end());
    return {.limits = needs_.limits,
            .branches = Branches(),
            .names = std::move(names),
            .closed = [this](http::ConnectionId id) { handler_.ConnectionClosed(id); },
            .isUrgent = [this](std::string_view method, std::string_view target) { return IsUrgent(method, target); }};
}

std::size_t ObjectServer::Inside::ConnectionCount() {
    std::promise<std::size_t> count;
    io_.Post([this, &count] { count.set_value(http_.ConnectionCount()); });
    return count.get_future().get();
}

ObjectServer::ObjectServer(ObjectServerNeeds needs, const ServerSockets& sockets)
    : inside_(std::make_unique<Inside>(std::move(needs), sockets)) {}

ObjectServer::~ObjectServer() = default;

ClientList& ObjectServer::Clients() {
    return inside_->Clients();
}

std::size_t ObjectServer::ObjectCount() const {
    return inside_->ObjectCount();
}

std::size_t ObjectServer::ConnectionCount() const {
    return inside_->ConnectionCount();
}

}  // namespace kestrane::alpaca
