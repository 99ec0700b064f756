#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "server/client_objects.h"
#include "server/management.h"
#include "server/own_hosts.h"
#include "server/request_parameters.h"
#include "server/responses.h"
#include "server/routes.h"

namespace kestrane::server {

/// A complete request as it came over a connection.
struct HttpRequest {
    std::string method;
    std::string target;
    std::string body;
    std::string host;    ///< `Host` header, empty when there is none
    std::string origin;  ///< `Origin` header, empty when there is none
    std::string remoteAddress;
    std::string localAddress;
    std::uint16_t localPort = 0;
    ConnectionId connection = 0;
};

/// Takes the answer of one request, once, on the I/O thread.
using AnswerFunction = std::function<void(HttpAnswer)>;

struct RequestHandlerNeeds {
    const RouteTable& routes;
    ClientObjects& objects;  ///< reached by posted calls only
    MessagePump& pump;
    Management& management;
    std::vector<std::string> machineNames;
    bool boundToLoopback = true;
    /// Runs a function on the I/O thread; called on the logic thread.
    std::function<void(std::function<void()>)> postToIo;
    /// Whether the connection is closed, or closed by its client.
    std::function<bool(ConnectionId)> connectionIsGone;
};

/// Between HTTP and the driver: checks each request, answers what needs no device, and posts device calls to the
/// logic thread. I/O thread only; outlives every call it posted.
class RequestHandler {
public:
    explicit RequestHandler(RequestHandlerNeeds needs) : needs_(std::move(needs)) {}

    void Handle(const HttpRequest& request, const AnswerFunction& answer);
    /// To be called when a connection has closed.
    void ConnectionClosed(ConnectionId connection);

    /// Device calls that were posted and are not answered yet, also those whose client has gone.
    std::size_t CallsUnderWay() const { return underWay_.size(); }
    /// Whether the connection carried a device request, so that it may keep a client's object alive.
    bool CarriesClient(ConnectionId connection) const { return clientConnections_.contains(connection); }

private:
    /// A device request that passed every check.
    struct DeviceCall {
        const Route* route = nullptr;
        ClientKey key;
        TransactionIds ids;
        Arguments arguments;
        ConnectionId connection = 0;
    };
    /// A call that is not answered yet. What waits for it stays here, on the I/O thread; the posted call itself
    /// carries values only.
    struct CallUnderWay {
        std::string putIdentity;      ///< empty when a repeat cannot be told
        ConnectionId connection = 0;  ///< the one that waits for the answer
        std::vector<AnswerFunction> answers;
    };

    void HandleDevice(const HttpRequest& request, const RequestTarget& target, const AnswerFunction& answer);
    bool JoinRunningPut(const std::string& identity, const HttpRequest& request, const ClientName& client,
                        const AnswerFunction& answer);
    void StartCall(const DeviceCall& call, std::string putIdentity, const AnswerFunction& answer);
    void PostCall(std::shared_ptr<const DeviceCall> call);
    void FinishCall(std::uint32_t serverTransaction, const HttpAnswer& answer);
    HttpAnswer RunCall(const DeviceCall& call);
    void AnnounceConnection(ConnectionId connection);
    /// Gives the request the next server transaction number.
    TransactionIds IdsOf(const RequestParameters& parameters, NameMatch match);
    void HandleManagement(const RequestTarget& target, const AnswerFunction& answer);
    bool IsForeign(const HttpRequest& request) const;

    RequestHandlerNeeds needs_;
    std::uint32_t lastServerTransaction_ = 0;
    std::set<ConnectionId> clientConnections_;
    std::map<std::uint32_t, CallUnderWay> underWay_;  ///< by server transaction
};

}  // namespace kestrane::server
