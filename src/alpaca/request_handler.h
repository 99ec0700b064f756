#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "alpaca/client_objects.h"
#include "alpaca/device_request.h"
#include "alpaca/management.h"
#include "alpaca/responses.h"
#include "alpaca/routes.h"
#include "http/request.h"
#include "platform/message_pump.h"

namespace kestrane::alpaca {

struct RequestHandlerNeeds {
    const RouteTable& routes;
    ClientObjects& objects;  ///< used only by posted calls
    MessagePump& pump;
    Management& management;
    /// Runs a function on the I/O thread; called on the logic thread.
    std::function<void(std::function<void()>)> postToIo;
    /// Whether the connection is closed, or closed by its client.
    std::function<bool(http::ConnectionId)> connectionIsGone;
    /// Runs a function on the I/O thread when so much time has passed; called there.
    std::function<void(std::chrono::milliseconds, std::function<void()>)> after;
    /// How long the answer of a PUT is kept whose client went away before it came.
    std::chrono::milliseconds repeatTime{60'000};
    /// Says to whom a connection belongs.
    std::function<void(http::ConnectionId, const std::string& holder)> setHolder;
    /// A call was answered by an error; on the logic thread. Empty: nobody wants to know.
    std::function<void(std::string_view member, const std::string& why)> refused = {};
};

/// Between HTTP and the driver: checks each request, answers what needs no device, and posts device calls to the
/// logic thread. I/O thread only, except where it says so; outlives every call it posted.
class RequestHandler {
public:
    explicit RequestHandler(RequestHandlerNeeds needs) : needs_(std::move(needs)) {}

    void Handle(const http::Request& request, const http::AnswerFunction& answer);
    /// A request that others answer, and that needs no object.
    void NoteActivity();
    /// To be called when a connection has closed.
    void ConnectionClosed(http::ConnectionId connection);

private:
    /// A device request on its way to the logic thread.
    struct DeviceCall {
        DeviceRequest request;
        TransactionIds ids;
        http::ConnectionId connection = 0;
    };
    /// A call that is not answered yet. The receivers of its answer stay here, on the I/O thread; the posted call
    /// itself carries values only.
    struct CallUnderWay {
        std::string putIdentity;
        http::ConnectionId connection = 0;  ///< the one that waits for the answer
        std::vector<http::AnswerFunction> answers;
    };

    void HandleManagement(const http::Request& request, const http::AnswerFunction& answer);
    void HandleDevice(const http::Request& request, const http::AnswerFunction& answer);
    /// Lets a repeated PUT wait for the answer of the running one whose client has gone; false when there is no such
    /// call.
    bool JoinRunningPut(const DeviceRequest& request, http::ConnectionId connection,
                        const http::AnswerFunction& answer);
    /// Answers a repeated PUT whose first client went away before the answer came: somebody may have aborted meanwhile
    /// what it started, and it must not start again. False when no such answer is kept.
    bool AnswerFromMemory(const DeviceRequest& request, http::ConnectionId connection,
                          const http::AnswerFunction& answer);
    /// For a request that starts no call of its own: its client is there all the same.
    void NoteClient(const DeviceRequest& request, http::ConnectionId connection);
    void Remember(const std::string& putIdentity, const http::Answer& answer);
    void StartCall(DeviceRequest request, http::ConnectionId connection, const http::AnswerFunction& answer);
    void PostCall(std::shared_ptr<const DeviceCall> call, CallKind kind);
    void FinishCall(std::uint32_t serverTransaction, const http::Answer& answer);
    http::Answer RunCall(const DeviceCall& call);
    bool CameBeforeAStop(const DeviceCall& call);
    void AnnounceConnection(http::ConnectionId connection);
    void TellObjects(std::function<void(ClientObjects&)> message);
    /// The next server transaction number.
    std::uint32_t NextTransaction();

    RequestHandlerNeeds needs_;
    std::uint32_t lastServerTransaction_ = 0;
    std::set<http::ConnectionId> clientConnections_;            ///< open ones that carried a device request
    std::map<std::uint32_t, CallUnderWay> underWay_;            ///< by server transaction
    std::deque<std::pair<std::string, http::Answer>> unheard_;  ///< by PUT, the oldest first
    /// The latest stop that has run, as a server transaction, by form and motion. Logic thread only.
    std::map<std::pair<const StopForm*, std::int32_t>, std::uint32_t> lastStops_;
};

}  // namespace kestrane::alpaca
