#include "alpaca/client_objects.h"

#include <algorithm>
#include <cassert>
#include <stdexcept>

#include "alpaca/parameter_values.h"

namespace kestrane::alpaca {
namespace {

constexpr double kLongestLeaseSeconds = 2'000'000;

void LayOver(std::int32_t& milliseconds, const char* seconds) {
    const std::optional<double> value = seconds == nullptr ? std::nullopt : ParseNumber(seconds);
    if (value && *value >= 0 && *value <= kLongestLeaseSeconds) {
        milliseconds = static_cast<std::int32_t>(*value * 1000);
    }
}

ListedClientName NameOf(const ClientKey& key) {
    return {key.client.address, key.client.clientId, key.device == DeviceKind::Telescope ? "Telescope" : "Focuser"};
}

/// The innermost last, as they wait for each other.
std::string Joined(const std::vector<std::string>& members) {
    std::string all;
    for (const std::string& member : members) {
        all += (all.empty() ? "" : ", ") + member;
    }
    return all;
}

}  // namespace

LeaseTimes LeaseTimesFrom(const char* idleSeconds, const char* connectedSeconds) {
    LeaseTimes times;
    LayOver(times.idle, idleSeconds);
    LayOver(times.connected, connectedSeconds);
    return times;
}

ClientObjects::ClientObjects(ClientObjectsNeeds needs)
    : needs_(std::move(needs)),
      lastActivity_(needs_.clock.GetTickCount()),
      timer_(needs_.pump.CreateTimer([this] { OnTimer(); })) {
    WakeForAll();
}

void ClientObjects::ConnectionOpened(http::ConnectionId id) {
    open_.insert(id);
}

void ClientObjects::ConnectionClosed(http::ConnectionId id) {
    open_.erase(id);
    std::vector<ClientName> left;
    for (auto& [name, client] : clients_) {
        if (client.connections.erase(id) > 0) {
            for (auto& [key, slot] : slots_) {
                if (key.client == name) {
                    slot.lastSign = needs_.clock.GetTickCount();
                }
            }
            left.push_back(name);
        }
    }
    for (const ClientName& name : left) {
        ForgetClientWithoutUse(name);
    }
    WakeForAll();
}

void ClientObjects::NoteActivity() {
    lastActivity_ = needs_.clock.GetTickCount();
}

bool ClientObjects::HasObject(const ClientKey& key) const {
    const auto slot = slots_.find(key);
    return slot != slots_.end() && slot->second.object != nullptr;
}

bool ClientObjects::BeingCreated(const ClientKey& key) const {
    const auto slot = slots_.find(key);
    return slot != slots_.end() && slot->second.object == nullptr;
}

/// Nothing releases the object meanwhile.
struct ClientObjects::InUse {
    Slot& slot;
    InUse(Slot& used, std::string_view member) : slot(used) {
        ++slot.calls;
        slot.running.emplace_back(member);
    }
    InUse(const InUse&) = delete;
    InUse& operator=(const InUse&) = delete;
    ~InUse() {
        slot.running.pop_back();
        --slot.calls;
    }
};

std::string ClientObjects::Call(const ClientKey& key, http::ConnectionId connection, std::string_view member,
                                const std::function<std::string(ClientObject&)>& call, CallKind kind) {
    struct EndOfCall {
        ClientObjects& objects;
        Slots::iterator slot;
        EndOfCall(ClientObjects& all, Slots::iterator used) : objects(all), slot(used) {}
        EndOfCall(const EndOfCall&) = delete;
        EndOfCall& operator=(const EndOfCall&) = delete;
        ~EndOfCall() {
            slot->second.lastUse = slot->second.lastSign = objects.needs_.clock.GetTickCount();
            slot->second.stopAgain.reset();
            objects.NoteConnected(slot->second);
            Tick end;
            if (objects.LeaseEnd(slot->first, slot->second, end)) {
                objects.WakeAt(end);
            }
            if (objects.MotionEnd(slot->first, slot->second, end)) {
                objects.WakeAt(end);
            }
        }
    };
    NoteActivity();
    const EndOfCall end{*this, FindOrCreate(key, kind)};
    const InUse use{end.slot->second, member};
    end.slot->second.lastRequest = needs_.clock.GetLocalTime();
    ConnectionServes(key.client, connection);
    return call(*end.slot->second.object);
}

/// Whether nobody misses the object: it is not connected and leaves nothing moving.
bool ClientObjects::MayGo(const Slot& slot) {
    return slot.object && slot.calls == 0 && !slot.object->IsConnected() && !slot.object->Device().MovesOn();
}

/// Releases the object that may go and has been silent longest, if there is one.
void ClientObjects::MakeRoom() {
    auto longest = slots_.end();
    for (auto slot = slots_.begin(); slot != slots_.end(); ++slot) {
        if (MayGo(slot->second) && (longest == slots_.end() || slot->second.lastUse - longest->second.lastUse < 0)) {
            longest = slot;
        }
    }
    if (longest != slots_.end()) {
        Release(longest);
    }
}

ClientObjects::Slots::iterator ClientObjects::FindOrCreate(const ClientKey& key, CallKind kind) {
    assert(!BeingCreated(key));
    const auto found = slots_.find(key);
    if (found != slots_.end()) {
        return found;
    }
    if (slots_.size() >= kMostObjects) {
        MakeRoom();
    }
    if (slots_.size() >= kMostObjects + (kind == CallKind::Stop ? kMostForStops : 0)) {
        throw std::runtime_error("too many clients");
    }
    const auto made = slots_.emplace(key, Slot{}).first;
    try {
        made->second.object = std::make_unique<ClientObject>(needs_.devices.Create(key.device));
    } catch (...) {
        slots_.erase(made);
        throw;
    }
    return made;
}

void ClientObjects::ConnectionServes(const ClientName& name, http::ConnectionId connection) {
    if (open_.contains(connection)) {
        clients_[name].connections.insert(connection);
    }
}

bool ClientObjects::HasAnyObject(const ClientName& name) const {
    return slots_.contains({name, DeviceKind::Telescope}) || slots_.contains({name, DeviceKind::Focuser});
}

void ClientObjects::ForgetClientWithoutUse(const ClientName& name) {
    const auto client = clients_.find(name);
    if (client == clients_.end() || HasAnyObject(name)) {
        return;
    }
    // A connection that uses ever new ClientIDs must not fill the table.
    if (client->second.connections.empty() || clients_.size() > kMostObjects) {
        clients_.erase(client);
    }
}

bool ClientObjects::LeaseEnd(const ClientKey& key, const Slot& slot, Tick& end) const {
    if (slot.object == nullptr || slot.calls > 0) {
        return false;
    }
    const bool connected = slot.object->IsConnected();
    if (connected && HasConnection(key.client)) {
        return false;
    }
    if (connected) {
        end = slot.lastSign + needs_.leases.connected;
    } else if (slot.object->Device().MovesOn()) {  // the object is all that knows of the motion
        end = slot.lastUse + std::max(needs_.leases.idle, needs_.leases.connected);
    } else {
        end = slot.lastUse + needs_.leases.idle;
    }
    return true;
}

bool ClientObjects::HasConnection(const ClientName& name) const {
    const auto client = clients_.find(name);
    return client != clients_.end() && !client->second.connections.empty();
}

bool ClientObjects::MotionEnd(const ClientKey& key, const Slot& slot, Tick& end) const {
    if (slot.object == nullptr || slot.calls > 0 || !slot.object->Device().MovesOn()) {
        return false;
    }
    const bool connected = slot.object->IsConnected();
    const bool gone = !HasConnection(key.client);
    if (connected && !gone) {
        return false;
    }
    const Tick vanished = slot.lastSign + kMotionWithoutClient;
    const Tick idle = slot.lastUse + needs_.leases.idle;
    end = slot.stopAgain.value_or(connected || (gone && vanished - idle < 0) ? vanished : idle);
    return true;
}

/// A telescope that turns with nobody to stop it runs into its pier.
void ClientObjects::EndMotionsOfVanishedClients() {
    // Stops get in between the exchanges, and with them new clients: the table may change.
    for (const ClientKey& key : Keys()) {
        const auto found = slots_.find(key);
        Tick end;
        if (found != slots_.end() && MotionEnd(key, found->second, end) && needs_.clock.GetTickCount() - end >= 0) {
            const InUse use{found->second, "the end of its motion"};
            found->second.object->Device().EndMotions();
            found->second.stopAgain = needs_.clock.GetTickCount() + kMotionStopAgain;
        }
    }
}

std::vector<ClientKey> ClientObjects::Keys() const {
    std::vector<ClientKey> keys;
    for (const auto& [key, slot] : slots_) {
        keys.push_back(key);
    }
    return keys;
}

bool ClientObjects::LeaseIsOver(const ClientKey& key, const Slot& slot) const {
    Tick end;
    return LeaseEnd(key, slot, end) && needs_.clock.GetTickCount() - end >= 0;
}

/// Since the lease was over for the only object left, or for a process without objects; nothing before.
std::optional<std::int32_t> ClientObjects::MsWithoutClients() const {
    Tick end = lastActivity_ + needs_.leases.idle;
    if (slots_.size() > 1 || (slots_.size() == 1 && !LeaseEnd(slots_.begin()->first, slots_.begin()->second, end))) {
        return {};
    }
    const std::int32_t passed = needs_.clock.GetTickCount() - end;
    return passed >= 0 ? std::optional(passed) : std::nullopt;
}

bool ClientObjects::MayEnd() const {
    const std::optional<std::int32_t> withoutClientsMs = MsWithoutClients();
    return withoutClientsMs && (!needs_.mayEnd || needs_.mayEnd(*withoutClientsMs));
}

void ClientObjects::WakeAt(Tick end) {
    if (timerRuns_ && timerEnd_ - end <= 0) {
        return;
    }
    timerRuns_ = true;
    timerEnd_ = end;
    timer_->SetEnabled(false);
    timer_->SetInterval(std::max<std::int32_t>(1, end - needs_.clock.GetTickCount()));
    timer_->SetEnabled(true);
}

void ClientObjects::WakeForAll() {
    if (slots_.empty()) {
        WakeAt(lastActivity_ + needs_.leases.idle);
    }
    for (const auto& [key, slot] : slots_) {
        Tick end;
        if (LeaseEnd(key, slot, end)) {
            WakeAt(end);
        }
        if (MotionEnd(key, slot, end)) {
            WakeAt(end);
        }
    }
}

void ClientObjects::OnTimer() {
    timer_->SetEnabled(false);
    timerRuns_ = false;
    if (releasePosted_ || gateAsked_) {
        return;
    }
    releasePosted_ = true;
    // A release writes `Connected`, which may wait: it must not start inside a brief call.
    needs_.pump.Post(CallKind::WaitsLong, [this] { ReleaseWhatIsOver(); });
}

void ClientObjects::ReleaseWhatIsOver() {
    releasePosted_ = false;
    if (slots_.empty() && needs_.viewIsOpen && needs_.viewIsOpen()) {
        NoteActivity();
    }
    EndMotionsOfVanishedClients();
    for (const ClientKey& key : Keys()) {
        // A release may pump, so each time the table is looked at again.
        const auto slot = slots_.find(key);
        if (slots_.size() > 1 && slot != slots_.end() && LeaseIsOver(key, slot->second)) {
            Release(slot);
        }
    }
    if (!EverythingIsOver()) {
        WakeForAll();
    } else if (MayEnd()) {
        ShutGate();
    } else {
        WakeAt(needs_.clock.GetTickCount() + kEndRetry);
    }
}

void ClientObjects::Release(Slots::iterator slot) {
    const ClientName name = slot->first.client;
    const std::unique_ptr<ClientObject> object = std::move(slot->second.object);
    // First out of the table: a request that comes in during the release gets an object of its own.
    slots_.erase(slot);
    ForgetClientWithoutUse(name);
    object->Disconnect();
}

void ClientObjects::NoteConnected(Slot& slot) {
    if (!slot.object->IsConnected()) {
        slot.connectedSince.reset();
    } else if (!slot.connectedSince) {
        slot.connectedSince = needs_.clock.GetLocalTime();
    }
}

std::vector<ListedClient> ClientObjects::Clients() const {
    std::vector<ListedClient> clients;
    for (const auto& [key, slot] : slots_) {
        if (slot.object) {
            clients.push_back({NameOf(key), slot.connectedSince, slot.lastRequest, Joined(slot.running)});
        }
    }
    return clients;
}

void ClientObjects::ReleaseClient(const ListedClientName& name) {
    // It may wait: it must not start inside the press of a button.
    needs_.pump.Post(CallKind::WaitsLong, [this, name] { ReleaseNow(name); });
}

/// An object in use stays for its calls; it is only disconnected, and goes by its lease. So does the last one, whose
/// end is that of the process.
void ClientObjects::ReleaseNow(const ListedClientName& name) {
    const auto found = std::ranges::find_if(slots_, [&](const auto& slot) { return NameOf(slot.first) == name; });
    if (found == slots_.end() || !found->second.object) {
        return;
    }
    const ClientKey key = found->first;
    {
        const InUse use{found->second, "its release"};
        ClientObject& object = *found->second.object;
        if (object.Device().MovesOn()) {
            object.Device().EndMotions();
        }
        object.Disconnect();
        NoteConnected(found->second);
    }
    const auto slot = slots_.find(key);
    if (slots_.size() > 1 && MayGo(slot->second)) {
        Release(slot);
    }
    WakeForAll();
}

void ClientObjects::ShutGate() {
    if (gateAsked_) {
        return;
    }
    gateAsked_ = true;
    needs_.gate.close([this](bool closed) { OnGate(closed); });
}

void ClientObjects::OnGate(bool closed) {
    if (closed) {
        needs_.pump.Post(CallKind::WaitsLong, [this] { FinishProcess(); });
        return;
    }
    gateAsked_ = false;
    WakeAt(needs_.clock.GetTickCount() + kGateRetry);
}

void ClientObjects::FinishProcess() {
    if (!MayEnd()) {
        gateAsked_ = false;
        needs_.gate.open();
        WakeForAll();
        return;
    }
    if (!slots_.empty()) {
        Release(slots_.begin());
    }
    needs_.endProcess();
}

}  // namespace kestrane::alpaca
