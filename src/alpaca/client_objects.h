#pragma once

#include <compare>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "alpaca/client_object.h"
#include "alpaca/device_kind.h"
#include "http/request.h"
#include "platform/clock.h"
#include "platform/message_pump.h"
#include "ui/client_list.h"

namespace kestrane::alpaca {

/// Who a client is: programs at one address may use the same ClientID, and then share the object.
struct ClientName {
    std::string address;  ///< remote IP address
    std::uint32_t clientId = 0;

    auto operator<=>(const ClientName&) const = default;  // NOLINT(modernize-use-nullptr): a false finding
};

struct ClientKey {
    ClientName client;
    DeviceKind device = DeviceKind::Telescope;

    auto operator<=>(const ClientKey&) const = default;  // NOLINT(modernize-use-nullptr): a false finding
};

/// How long an object lives after its client has gone, in milliseconds (up to 24 days).
struct LeaseTimes {
    /// Not connected: after its last request. One whose motion the mount has not heard end stays as long as `connected`
    /// after that: with the object nobody would know of the motion.
    std::int32_t idle = 10'000;
    std::int32_t connected = 3'600'000;  ///< connected: after the last TCP connection of its client closed
};

/// The lease times, changed by KESTRANE_LEASE_IDLE_S and KESTRANE_LEASE_CONNECTED_S: seconds, fractions allowed, 0 to
/// 2000000; any other text (and null) leaves the default.
LeaseTimes LeaseTimesFrom(const char* idleSeconds, const char* connectedSeconds);

/// The entrance for requests, as the leases need it. `close` shuts it if nothing is under way (no request in work, none
/// half read, none waiting to be read) and reports on the logic thread whether it did. While it is shut, new clients
/// wait outside, in the listening socket, for the next process.
struct RequestGate {
    std::function<void(std::function<void(bool closed)> done)> close;
    std::function<void()> open;
};

struct ClientObjectsNeeds {
    MessagePump& pump;
    Clock& clock;
    DeviceFactory& devices;
    RequestGate gate;
    std::function<void()> endProcess;
    LeaseTimes leases;
    /// Whether the process may end, so many milliseconds after its last lease was over. While it has something to do
    /// without clients, it is asked again each second. Empty: it may.
    std::function<bool(std::int32_t withoutClientsMs)> mayEnd = {};
    /// Whether a view shows the windows: it is no client, but keeps a process that has not had one yet. Empty: none.
    std::function<bool()> viewIsOpen = {};
};

/// The objects of all clients: made by a client's first device request, released when its lease is over. The release
/// that leaves none ends the process, and so does a lease without any object; both only with the gate shut, so that no
/// request is lost. Logic thread only; outlives every call that was posted for it.
class ClientObjects final : public ClientList {
public:
    /// More objects than any real clients need together. A further client takes the place of the one that is not
    /// connected and has been silent longest; when all are connected, it is refused by `std::runtime_error`.
    static constexpr std::size_t kMostObjects = 1000;
    /// A motion of a client without any open connection ends so long after its last sign of life, in milliseconds, that
    /// of an object that is not connected at the end of its idle lease.
    static constexpr std::int32_t kMotionWithoutClient = 60'000;
    /// When the mount did not hear that, it is tried again so much later, in milliseconds.
    static constexpr std::int32_t kMotionStopAgain = 10'000;
    /// As many more for clients that want to stop the telescope.
    static constexpr std::size_t kMostForStops = 100;
    /// Pause before the next try when the gate could not be shut, in milliseconds.
    static constexpr std::int32_t kGateRetry = 200;
    /// Pause before it is asked again whether the process may end, in milliseconds.
    static constexpr std::int32_t kEndRetry = 1'000;

    explicit ClientObjects(ClientObjectsNeeds needs);

    void ConnectionOpened(http::ConnectionId id);
    void ConnectionClosed(http::ConnectionId id);
    /// The connection carried a request of the client; nothing happens when it has closed since then.
    void ConnectionServes(const ClientName& name, http::ConnectionId connection);
    /// A request that needs no object: it only keeps a process without objects alive.
    void NoteActivity();

    /// Whether the client has an object that can be called. Making one is more than a cached read may do.
    bool HasObject(const ClientKey& key) const;
    /// Whether the object is being made right now, further up on the stack: a call on it has to wait.
    bool BeingCreated(const ClientKey& key) const;
    /// Runs a call on the client's object; makes the object first if there is none. The object lives until the call is
    /// over. `member` is what a person is told that the client runs.
    std::string Call(const ClientKey& key, http::ConnectionId connection, std::string_view member,
                     const std::function<std::string(ClientObject&)>& call, CallKind kind = CallKind::Brief);

    std::size_t Count() const { return slots_.size(); }

    // ClientList
    std::vector<ListedClient> Clients() const override;
    void ReleaseClient(const ListedClientName& name) override;

private:
    struct Slot {
        std::unique_ptr<ClientObject> object;  ///< null while being created
        int calls = 0;                         ///< calls on the stack, and stops of its motions
        Tick lastUse;                          ///< end of the last call
        Tick lastSign;                         ///< the same, or the last closing of a connection of its client
        std::optional<Tick> stopAgain;         ///< when a motion that could not be ended is to be ended again
        std::vector<std::string> running;      ///< members on the stack, the innermost last
        std::optional<DateTime> connectedSince;
        DateTime lastRequest;
    };
    struct Client {
        std::set<http::ConnectionId> connections;  ///< open ones that carried a request of the client
    };
    using Slots = std::map<ClientKey, Slot>;
    struct InUse;

    Slots::iterator FindOrCreate(const ClientKey& key, CallKind kind);
    void NoteConnected(Slot& slot);
    void ReleaseNow(const ListedClientName& name);
    static bool MayGo(const Slot& slot);
    void MakeRoom();
    void ForgetClientWithoutUse(const ClientName& name);
    bool HasAnyObject(const ClientName& name) const;

    /// When the object's lease is over; false while it has no end.
    bool LeaseEnd(const ClientKey& key, const Slot& slot, Tick& end) const;
    /// When a motion that the client has left running is to be ended; false when there is none.
    bool MotionEnd(const ClientKey& key, const Slot& slot, Tick& end) const;
    void EndMotionsOfVanishedClients();
    std::vector<ClientKey> Keys() const;
    bool HasConnection(const ClientName& name) const;
    bool LeaseIsOver(const ClientKey& key, const Slot& slot) const;
    std::optional<std::int32_t> MsWithoutClients() const;
    bool EverythingIsOver() const { return MsWithoutClients().has_value(); }
    bool MayEnd() const;
    void WakeAt(Tick end);
    void WakeForAll();
    void OnTimer();
    void ReleaseWhatIsOver();
    void Release(Slots::iterator slot);
    void ShutGate();
    void OnGate(bool closed);
    void FinishProcess();

    ClientObjectsNeeds needs_;
    Slots slots_;
    std::map<ClientName, Client> clients_;
    std::set<http::ConnectionId> open_;
    Tick lastActivity_;
    std::unique_ptr<PumpTimer> timer_;
    bool timerRuns_ = false;
    Tick timerEnd_;
    bool releasePosted_ = false;
    bool gateAsked_ = false;
};

}  // namespace kestrane::alpaca
