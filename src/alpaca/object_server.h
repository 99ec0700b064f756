#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "alpaca/client_objects.h"
#include "alpaca/inherited_sockets.h"
#include "alpaca/management.h"
#include "alpaca/routes.h"
#include "http/branches.h"
#include "http/limits.h"

namespace kestrane::alpaca {

struct ObjectServerNeeds {
    MessagePump& pump;
    Clock& clock;
    DeviceFactory& devices;
    const RouteTable& routes;
    std::function<void()> endProcess;                                ///< on the logic thread, with the gate shut
    std::function<bool(std::int32_t withoutClientsMs)> mayEnd = {};  ///< see `ClientObjectsNeeds`
    ServerIdentity identity;
    std::filesystem::path deviceIdFile;
    LeaseTimes leases;
    http::Limits limits;
    std::chrono::milliseconds repeatTime{60'000};  ///< see `RequestHandlerNeeds`
    std::vector<std::string> hostNames;  ///< names of this machine that requests may use beside its own, in lower case
    /// Whether a view shows the windows: it keeps a process that has not had a client yet. Empty: none does.
    std::function<bool()> viewIsOpen = {};
    /// A call was answered by an error; on the logic thread. Empty: nobody wants to know.
    std::function<void(std::string_view member, const std::string& why)> refused = {};
    /// Further ones. Whoever answers them must outlive the server, and may give an answer on any thread.
    std::vector<http::Branch> branches = {};
};

/// Serves the devices over HTTP and answers discovery, on an I/O thread of its own; the calls run on the logic thread
/// through the pump. Made and destroyed on the logic thread, outside every posted call; raises `std::system_error` for
/// sockets that cannot be served. Destroying it closes all connections at once and releases the client objects that are
/// left.
class ObjectServer {
public:
    ObjectServer(ObjectServerNeeds needs, const ServerSockets& sockets);
    ~ObjectServer();
    ObjectServer(const ObjectServer&) = delete;
    ObjectServer& operator=(const ObjectServer&) = delete;

    /// Who the clients are; as long as the server lives.
    ClientList& Clients();
    /// Number of client objects alive now.
    std::size_t ObjectCount() const;
    /// Number of open connections; asks the I/O thread and waits for it.
    std::size_t ConnectionCount() const;

private:
    class Inside;
    std::unique_ptr<Inside> inside_;
};

}  // namespace kestrane::alpaca
