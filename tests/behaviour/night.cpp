#include "behaviour/night.h"

#include <initializer_list>
#include <utility>

#include "kernel/base/conversions.h"
#include "kernel/base/date_time.h"
#include "kernel/base/text.h"
#include "simulator/misbehaviours.h"
#include "support/seed_settings.h"

namespace kestrane {
namespace {

constexpr std::int32_t kPatienceIntervalMs = 3'000;

std::string Escaped(std::string_view text) {
    std::string escaped;
    for (const char character : text) {
        const auto code = static_cast<unsigned char>(character);
        escaped += code < 32 || code > 126 ? "<" + std::to_string(code) + ">" : std::string(1, character);
    }
    return escaped;
}

/// How a call enters the logic thread, as over the network.
CallKind KindOf(ClientCall call) {
    switch (call) {
        case ClientCall::AbortSlew:
            return CallKind::Stop;
        case ClientCall::SlewToCoordinates:
        case ClientCall::SlewToTarget:
        case ClientCall::SlewToAltAz:
        case ClientCall::Reconnect:
        case ClientCall::CommandString:
        case ClientCall::CommandBlind:
        case ClientCall::CommandBool:
        case ClientCall::DriverVerb:
            return CallKind::WaitsLong;
        default:
            return CallKind::Brief;
    }
}

std::size_t IndexOf(const PlannedCall& planned, std::size_t count) {
    return static_cast<std::size_t>(planned.first * 1'000) % count;
}

}  // namespace

/// Writes down both directions of the line, and says which exchange begins.
class Night::TapedLine final : public LineEnd {
public:
    explicit TapedLine(Night& night) : night_(night), line_(night.mount_) {}

    void Write(std::string_view bytes) override {
        night_.Note('>', Escaped(bytes));
        line_.Write(bytes);
        night_.OnExchange(++exchanges_);
    }
    std::string Read(std::size_t maxCount) override {
        std::string bytes = line_.Read(maxCount);
        if (!bytes.empty()) {
            night_.Note('<', Escaped(bytes));
        }
        return bytes;
    }
    std::optional<std::int32_t> NextByteIn() override { return line_.NextByteIn(); }
    void Opened() override {
        night_.Note('o', "opened");
        line_.Opened();
    }

private:
    Night& night_;
    SimulatorLine line_;
    std::size_t exchanges_ = 0;
};

Night::Night(std::uint32_t seed) : plan_(seed), machine_(plan_.firstTick), mount_(machine_.clock, plan_.mount) {
    machine_.serialPorts.Connect(1, std::make_unique<TapedLine>(*this));
}

Night::~Night() = default;

void Night::Note(char mark, std::string_view text) {
    record_ += std::to_string(machine_.clock.Elapsed());
    record_ += ' ';
    record_ += mark;
    record_ += ' ';
    record_ += text;
    record_ += '\n';
}

std::string Night::Run() {
    Start();
    PlanCalls();
    PlanFaults();
    patience_ = machine_.pump.CreateTimer([this] { StopWhatStillMoves(); });
    patience_->SetInterval(kPatienceIntervalMs);
    patience_->SetEnabled(true);
    machine_.AdvanceTime(plan_.endMs);
    Note('f', Flags());
    patience_.reset();
    clients_ = {};
    driver_.reset();
    return std::move(record_);
}

void Night::Start() {
    SeedSettings(machine_, plan_.settings);
    driver_ = Main(machine_.Services(), true);
    driver_->log.SetListener([this](std::string_view origin, int level, std::string_view message) {
        Note('L', std::string(origin) + " " + std::to_string(level) + " " + Escaped(message));
    });
    for (std::size_t i = 0; i < clients_.size(); ++i) {
        clients_[i] = driver_->CreateTelescope();
        const auto atMs = static_cast<std::int64_t>(i) * 700;
        machine_.pump.PostAt(atMs, CallKind::WaitsLong, [this, i] {
            try {
                clients_[i]->Connected(true);
                Note('=', "connected " + std::to_string(i));
            } catch (const DriverError& error) {
                Note('!', "not connected " + std::to_string(i) + " " + error.Message());
            }
        });
    }
}

void Night::PlanCalls() {
    for (const PlannedCall& planned : plan_.calls) {
        machine_.pump.PostAt(planned.atMs, KindOf(planned.call), [this, planned] { Call(planned); });
    }
    for (const PlannedPress& press : plan_.presses) {
        machine_.pump.PostAt(press.atMs, CallKind::Brief, [this, press] { Press(press); });
    }
}

void Night::PlanFaults() {
    for (const PlannedFault& fault : plan_.faults) {
        machine_.pump.PostAt(fault.atMs, CallKind::Brief, [this, fault] { Strike(fault); });
    }
}

void Night::Call(const PlannedCall& planned) {
    const std::string call = "client " + std::to_string(planned.client) + " call " +
                             std::to_string(static_cast<int>(planned.call)) + " (" + PlainNumber(planned.first) + ", " +
                             PlainNumber(planned.second) + ")";
    Note('?', call);
    try {
        const std::string answer = Answer(planned);
        Note('=', call + " " + Escaped(answer) + " " + Flags());
    } catch (const DriverError& error) {
        Note('!', call + " " + std::to_string(error.Number()) + " " + error.Message() + " " + Flags());
    }
}

std::string Night::Answer(const PlannedCall& planned) {
    constexpr std::array<std::string_view, 5> kStrings{"GR", "pS", "GOS", "V", "Gt"};
    constexpr std::array<std::string_view, 4> kBlinds{"U", "RC1", "Q", "pP"};
    constexpr std::array<std::string_view, 4> kBools{"Sr10:00:00.0", "MS", "Sd+20*00:00", "RR0.00000"};
    constexpr std::array<std::string_view, 6> kVerbs{"Version",       "AutoCalibrateNSEW",      "InitTime",
                                                     "GetComRetries", "GetCommunicationErrors", "GetRaDecEvents"};
    Telescope& client = *clients_[planned.client];
    const double first = planned.first;
    const double second = planned.second;
    const auto list = [](auto... values) { return (... + (PlainNumber(values) + " ")); };
    switch (planned.call) {
        case ClientCall::SlewToCoordinates:
            client.SlewToCoordinates(first, second);
            return "";
        case ClientCall::SlewToCoordinatesAsync:
            client.SlewToCoordinatesAsync(first, second);
            return "";
        case ClientCall::SlewToTarget:
        case ClientCall::SlewToTargetAsync:
            client.TargetRightAscension(first);
            client.TargetDeclination(second);
            planned.call == ClientCall::SlewToTarget ? client.SlewToTarget() : client.SlewToTargetAsync();
            return "";
        case ClientCall::SlewToAltAz:
        case ClientCall::SlewToAltAzAsync:
            if (client.Tracking() && planned.client != 0) {
                client.Tracking(false);
            }
            planned.call == ClientCall::SlewToAltAz ? client.SlewToAltAz(first, second)
                                                    : client.SlewToAltAzAsync(first, second);
            return "";
        case ClientCall::MoveAxis:
        case ClientCall::EndAxis:
            client.MoveAxis(static_cast<std::int32_t>(first), second);
            return "";
        case ClientCall::AbortSlew:
            client.AbortSlew();
            return "";
        case ClientCall::Tracking:
            client.Tracking(second > 0);
            return std::string(TrueFalse(client.Tracking()));
        case ClientCall::TrackingRate:
            client.TrackingRate(static_cast<std::int32_t>(IndexOf(planned, 5)));
            return std::to_string(client.TrackingRate());
        case ClientCall::RightAscensionRate:
            client.RightAscensionRate(first);
            return list(client.RightAscensionRate());
        case ClientCall::DeclinationRate:
            client.DeclinationRate(first);
            return list(client.DeclinationRate());
        case ClientCall::GuideRate:
            client.GuideRateDeclination(0.0010445 * static_cast<double>(1 + IndexOf(planned, 4)));
            return list(client.GuideRateRightAscension());
        case ClientCall::SlewSettleTime:
            client.SlewSettleTime(static_cast<std::int16_t>(IndexOf(planned, 3)));
            return "";
        case ClientCall::Slewing:
            return std::string(TrueFalse(client.Slewing()));
        case ClientCall::AtPark:
            return std::string(TrueFalse(client.AtPark())) + std::string(TrueFalse(client.IsPulseGuiding()));
        case ClientCall::Position:
            return list(client.RightAscension(), client.Declination(), client.Altitude(), client.Azimuth(),
                        client.SiderealTime());
        case ClientCall::Site:
            return list(client.SiteLatitude(), client.SiteLongitude(), client.SiteElevation());
        case ClientCall::SetSite:
            client.SiteLatitude(first);
            client.SiteLongitude(second);
            return "";
        case ClientCall::UtcDate:
            return DateTimeText(client.utcDate());
        case ClientCall::SetUtcDate:
            client.utcDate(machine_.clock.Utc());
            return "";
        case ClientCall::PierSide:
            return std::to_string(client.SideOfPier()) + std::to_string(client.DestinationSideOfPier(first, second));
        case ClientCall::Reconnect:
            client.Connected(false);
            client.Connected(true);
            return std::string(TrueFalse(client.Connected()));
        case ClientCall::CommandString:
            return client.CommandString(kStrings[IndexOf(planned, kStrings.size())], false);
        case ClientCall::CommandBlind:
            client.CommandBlind(kBlinds[IndexOf(planned, kBlinds.size())], false);
            return "";
        case ClientCall::CommandBool:
            return std::string(TrueFalse(client.CommandBool(kBools[IndexOf(planned, kBools.size())], false)));
        case ClientCall::DriverVerb:
            return client.CommandString("RAW," + std::string(kVerbs[IndexOf(planned, kVerbs.size())]), true);
        case ClientCall::Count:
            break;
    }
    return "?";
}

void Night::Press(const PlannedPress& press) {
    const std::string_view name = kPressedControls[press.control];
    Note('p', name);
    Control* const control = driver_->handBox.Find(name);
    if (auto* const box = dynamic_cast<CheckBox*>(control)) {
        box->Checked(!box->Checked());
    } else if (auto* const visible = dynamic_cast<VisibleControl*>(control)) {
        visible->FireClick();
    }
}

void Night::Strike(const PlannedFault& fault) {
    using Kind = PlannedFault::Kind;
    Note('x', std::to_string(static_cast<int>(fault.kind)) + " " + fault.command);
    const auto add = [&](std::unique_ptr<Misbehaviour> misbehaviour) { mount_.Add(std::move(misbehaviour)); };
    switch (fault.kind) {
        case Kind::Drop:
            return add(std::make_unique<DropsReply>(fault.command, fault.size));
        case Kind::Late:
            return add(std::make_unique<AnswersLate>(fault.command, 300 * fault.size, 2));
        case Kind::Cut:
            return add(std::make_unique<CutsReply>(fault.command, static_cast<std::size_t>(fault.size), 2));
        case Kind::Double:
            return add(std::make_unique<DoublesReply>(fault.command, fault.size));
        case Kind::Corrupt:
            return add(std::make_unique<CorruptsReply>(fault.command, fault.size));
        case Kind::Alarm:
            return add(std::make_unique<InsertsAlarm>("XYZ"[fault.size % 3], fault.command));
        case Kind::Storm:
            return add(std::make_unique<RandomStorm>(fault.seed, 0.03 * fault.size));
        case Kind::Stall:
            return add(std::make_unique<Stalls>(3.0 * fault.size, fault.size == 4));
        case Kind::DeadLine:
            mount_.SetLineDead(true);
            machine_.pump.PostAt(machine_.clock.Elapsed() + 1'500 * fault.size, CallKind::Brief,
                                 [this] { mount_.SetLineDead(false); });
            return;
        case Kind::Count:
            return;
    }
}

/// As another thread would: the stop waits until the driver lets it in.
void Night::OnExchange(std::size_t exchange) {
    for (const PlannedStop& stop : plan_.stops) {
        if (stop.exchange != exchange) {
            continue;
        }
        machine_.pump.Post(CallKind::Stop, [this, stop] {
            if (!clients_[stop.client]) {
                return;  // it was asked for too late
            }
            Note('s', std::to_string(stop.client));
            try {
                stop.byDriver ? driver_->InternalInstance().AbortSlewDriver() : clients_[stop.client]->AbortSlew();
                Note('=', "stopped " + Flags());
            } catch (const DriverError& error) {
                Note('!', "not stopped " + error.Message() + " " + Flags());
            }
        });
    }
}

void Night::StopWhatStillMoves() {
    if (machine_.clock.Elapsed() < plan_.patienceEndsMs) {
        return;
    }
    mount_.ClearMisbehaviours();
    mount_.SetLineDead(false);
    driver_->InternalInstance().AbortSlewDriver();
}

/// What the driver believes of the mount's motion.
std::string Night::Flags() const {
    const DriverState& state = driver_->state;
    std::string flags;
    for (const bool flag : std::initializer_list<bool>{
             state.g_bSlewing, state.g_bMountSlewing, state.g_bAbortSlew, state.g_bSafeSlewPending,
             state.g_bSlewCompletePending, state.g_bParking, state.g_bAbortPark, state.g_bParked, state.g_bTracking}) {
        flags += flag ? '1' : '0';
    }
    return flags + " " + PlainNumber(state.g_dRa) + " " + PlainNumber(state.g_dDec);
}

}  // namespace kestrane
