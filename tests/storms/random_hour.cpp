#include "storms/random_hour.h"

#include <algorithm>
#include <cmath>
#include <exception>

#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "storms/seed_mount.h"
#include "storms/storm_times.h"
#include "support/seed_settings.h"

namespace kestrane {
namespace {

using storm::kReadMs, storm::kSecond;

constexpr std::int64_t kStopMs = 5 * kSecond;
constexpr std::int64_t kQuietMs = 10 * kSecond;
constexpr int kMoreLooks = 3;  // what moves may just have begun or ended, and a garbled reply is put right by the next
constexpr std::int64_t kMoreLooksMs = 6 * kSecond;
constexpr double kPoleDegrees = 85.0;  // degrees
constexpr std::int64_t kForgedMs = 300 * kSecond;
constexpr double kSidereal = 15.041 / 3600.0;  // degrees per second
constexpr double kTrackingRange = 0.1;         // lunar, solar and King, as parts of the sidereal rate
constexpr double kCustomRange = 0.5;           // of custom rates
constexpr double kStandsStill = 1e-6;          // degrees per second
constexpr double kSmallCustomRate = 3.0;       // arc-seconds per second
constexpr double kClockOffSeconds = 5.0;

}  // namespace

RandomHour::RandomHour(const Plan& plan)
    : plan_(plan),
      line_(plan.seed, 0.0),
      choice_(plan.seed + 2'000'000, 0.0),
      customRates_(plan.seed % 3 == 0),
      counterweightUpPark_(plan.seed % 4 == 0),
      mount_(machine_.clock, storm::MountOfSeed(plan.seed)),
      table_(Calls(customRates_)) {
    auto line = std::make_unique<StormyLine>(mount_, line_);
    stormy_ = line.get();
    stormy_->forges = plan_.seed % 4 == 0;  // what follows from that is nobody's fault, and much is not looked at then
    if (plan_.tail) {
        stormy_->KeepTail(machine_.clock);
    }
    machine_.serialPorts.Connect(1, std::move(line));
    SettingTexts settings{{"chkEnableDebugLog", plan_.tail ? "1" : "0"},
                          {"txtUserParkAlt", "30"},
                          {"txtUserParkAz", "120"},
                          {"CounterWeightsUpPark", counterweightUpPark_ ? "1" : "0"},
                          {"CounterWeightsUpHourAngle", "2"},
                          {"CounterWeightsUpTimeOffset", "10"},
                          {"CounterWeightsUpParkIntermediateSlewDec", "40"},
                          {"txtSlewEastFirstHours", OneOf({"1", "10"})},
                          {"cbxParkTo", std::to_string(Below(7))},
                          {"cbxUnparkFrom", std::to_string(Below(8))}};
    for (const char* flag :
         {"chkSlewEast", "chkConvertAltAzToRaDec", "chkAutoCalibrateOnFirstSlew", "chkSynchronousPulseGuide",
          "chkRaMoveAxisOfZeroStopsTracking", "chkEnableMountTracking", "chkKeepMountTimeSyncedToPcTime"}) {
        settings.emplace_back(flag, OneOf({"0", "1"}));
    }
    SeedSettings(machine_, settings);
    driver_ = Main(machine_.Services(), true);
    if (plan_.tail) {
        driver_->log.SetListener([this](std::string_view origin, int level, std::string_view message) {
            if (message.find(":G") == std::string_view::npos && origin != "ParseProtocolHours" &&
                !message.starts_with("GET ")) {
                stormy_->Mark("L" + std::to_string(level) + " " + std::string(origin) + " | " + std::string(message));
            }
        });
    }
    for (TelescopeObject& client : clients_) {
        client = driver_->CreateTelescope();
        client->Connected(true);
    }
    focuser_ = driver_->CreateFocuser();
    focuser_->Link(true);
    machine_.AdvanceTime(20 * kSecond);
    first_ = mount_.Picture();
}

RandomHour::~RandomHour() {
    focuser_ = {};
    clients_ = {};
    driver_.reset();
    machine_.serialPorts.Disconnect(1);
}

std::vector<RandomHour::Call> RandomHour::Calls(bool customRates) {
    constexpr CallKind kBrief = CallKind::Brief;
    constexpr CallKind kLong = CallKind::WaitsLong;
    constexpr CallKind kStopsOne = CallKind::StopsOne;
    using T = Telescope;
    std::vector<Call> calls{
        {6, "slew", kBrief, [this](T& client) { client.SlewToCoordinatesAsync(SomeRa(), SomeDec()); }},
        {3, "slew and wait", kLong, [this](T& client) { client.SlewToCoordinates(SomeRa(), SomeDec()); }},
        {2, "slew to target", kBrief,
         [this](T& client) {
             client.TargetRightAscension(SomeRa());
             client.TargetDeclination(SomeDec());
             client.SlewToTargetAsync();
         }},
        {2, "slew to Alt/Az", kBrief, [this](T& client) { client.SlewToAltAzAsync(Below(360), 20.0 + Below(60)); }},
        {4, "axis", kBrief,
         [this](T& client) {
             MoveAxis(client, OneOf({0.2, -0.2, 1.0, -1.0}));
         }},
        {3, "axis ends", kStopsOne, [this](T& client) { MoveAxis(client, 0.0); }},
        {3, "tracking on", kBrief, [this](T& client) { Track([&] { client.Tracking(true); }); }},
        {2, "tracking off", kStopsOne, [](T& client) { client.Tracking(false); }},
        {1, "tracking rate", kBrief,
         [this](T& client) { Track([&] { client.TrackingRate(static_cast<std::int32_t>(Below(4))); }); }},
        {3, "park", kLong, [](T& client) { client.Park(); }},
        {3, "park to", kLong, [this](T& client) { Park(client); }},
        {1, "cancel park", kLong, [](T& client) { client.CommandString("RAW,CancelPark", true); }},
        {6, "unpark", kLong, [](T& client) { client.Unpark(); }},
        {2, "unpark from", kLong,
         [this](T& client) { Track([&] { client.CommandString(Verb("UnparkMount", 8), true); }); }},
        {1, "set park", kBrief, [](T& client) { client.SetPark(); }},
        {1, "init", kLong,
         [this](T& client) {
             Track([&] { client.CommandString(Verb("InitMount,TrackingRate=0,Unpark=", 8), true); });
         }},
        {1, "time", kLong, [](T& client) { client.CommandString("RAW,InitTime", true); }},
        {1, "sync", kBrief, [](T& client) { client.SyncToCoordinates(client.RightAscension(), client.Declination()); }},
        {1, "stop by text", kLong, [](T& client) { client.CommandBlind("Q", false); }},
        {1, "move by text", kLong,
         [this](T& client) {
             client.CommandBlind(OneOf({"Mn", "Ms", "Me", "Mw"}), false);
         }},
        {1, "press park", kBrief, [this](T&) { Press("btnPark"); }},
        {1, "press unpark", kBrief, [this](T&) { Press("btnUNPARK"); }},
        {1, "focuser", kBrief, [this](T&) { focuser_->Move(static_cast<std::int32_t>(Below(2000)) - 1000); }},
        {1, "focuser halts", kStopsOne, [this](T&) { focuser_->Halt(); }},
        {1, "reconnect", kLong,
         [](T& client) {
             client.Connected(false);
             client.Connected(true);
         }},
    };
    if (customRates) {
        calls.push_back({2, "RA rate", kBrief, [this](T& client) {
                             client.RightAscensionRate(OneOf({0.1, -0.1, 0.0}));
                         }});
        calls.push_back({2, "Dec rate", kBrief, [this](T& client) {
                             client.DeclinationRate(OneOf({kSmallCustomRate, -kSmallCustomRate, 0.0}));
                         }});
    } else {
        calls.push_back({8, "pulse", kBrief, [this](T& client) {
                             const auto duration = static_cast<std::int32_t>(OneOf({20, 200, 900, 4'000}));
                             pulsesEndAt_ = std::max(pulsesEndAt_, machine_.clock.Elapsed() + duration + 10 * kSecond);
                             client.PulseGuide(static_cast<std::int32_t>(Below(4)), duration);
                         }});
    }
    return calls;
}

void RandomHour::MoveAxis(Telescope& client, double rate) {
    takenOver_ = takenOver_ || mount_.Picture().slewing;
    client.MoveAxis(static_cast<std::int32_t>(Below(2)), rate);
}

void RandomHour::Track(const std::function<void()>& turnOn) {
    parkLeft_ = parkLeft_ || mount_.Picture().parked;
    turnOn();
}

void RandomHour::Park(Telescope& client) {
    const bool wasParked = mount_.Picture().parked;
    client.CommandString(Verb("ParkMount", 7), true);
    leaveUnheard_ = wasParked && mount_.Picture().parked && driver_->persist.Read(setting::ParkStatus) != "Parked";
}

double RandomHour::SomeRa() {
    return NormalizeHours(mount_.Picture().siderealTime - 4.0 + 0.1 * Below(80));
}

std::string RandomHour::Verb(std::string_view verb, int arguments) {
    const std::string joint = verb.ends_with('=') ? "" : ",";
    return "RAW," + std::string(verb) + joint + std::to_string(Below(static_cast<std::uint32_t>(arguments)));
}

void RandomHour::Press(std::string_view button) {
    driver_->handBox.Find<Button>(button)->FireClick();
}

std::vector<std::string> RandomHour::Run() {
    line_.SetProbability(plan_.probability);
    const std::int64_t end = machine_.clock.Elapsed() + plan_.lengthMs;
    while (machine_.clock.Elapsed() < end && wrong_.empty()) {
        for (std::uint32_t left = 1 + Below(6); left > 0; --left) {
            DoSomething();
            Pass(Below(2) == 0 ? Below(2'000) : Below(15'000));
        }
        if (Below(2) == 0 && AllHaveBegun()) {
            CheckStopped();
        }
        CheckQuiet();
        CheckSettings();
    }
    return wrong_;
}

void RandomHour::DoSomething() {
    int left = 0;
    for (const Call& call : table_) {
        left += call.weight;
    }
    left = static_cast<int>(Below(static_cast<std::uint32_t>(left)));
    const Call* chosen = &table_.front();
    for (const Call& call : table_) {
        chosen = &call;
        left -= call.weight;
        if (left < 0) {
            break;
        }
    }
    Post(*chosen, Below(static_cast<std::uint32_t>(clients_.size())));
}

void RandomHour::Post(const Call& call, std::size_t client) {
    ++posted_;
    ++calls_;
    machine_.pump.Post(call.kind, [this, call, client] {
        ++begun_;
        const std::string name = std::to_string(client) + " " + std::string(call.name);
        stormy_->Mark("* " + name);
        try {
            call.make(*clients_[client]);
        } catch (const DriverError& error) {
            stormy_->Mark("! " + name + ": " + error.Message());
        }
        stormy_->Mark("= " + name);
    });
}

void RandomHour::Pass(std::int64_t milliseconds) {
    for (std::int64_t passed = 0; passed < milliseconds; passed += kReadMs) {
        machine_.AdvanceTime(std::min(kReadMs, milliseconds - passed));
        machine_.pump.Post(CallKind::Brief, [this] {
            try {
                clients_[0]->Slewing();
            } catch (const DriverError&) {
            }
        });
        forgedAt_ = stormy_->TakeForged() ? machine_.clock.Elapsed() : forgedAt_;
        stopLost_ = stormy_->TakeLostStop() || (stopLost_ && !Stands(mount_.Picture()));
    }
}

/// A call that waits for its turn would begin after the stop.
bool RandomHour::AllHaveBegun() {
    Pass(1);
    return begun_ == posted_;
}

void RandomHour::StopEverything() {
    ++stops_;
    stormy_->TakeLostStop();
    stopLost_ = false;
    stormy_->Mark("* STOP");
    const bool byPerson = driver_->state.g_bParked || Below(2) == 0;
    machine_.pump.Post(CallKind::Stop, [this, byPerson] {
        try {
            byPerson ? driver_->panel.AbortSlew() : clients_[Below(3)]->AbortSlew();
        } catch (const DriverError& error) {
            stormy_->Mark("! STOP: " + error.Message());
            driver_->panel.AbortSlew();
        }
    });
}

void RandomHour::CheckStopped() {
    StopEverything();
    Pass(kStopMs);
    const MountPicture picture = mount_.Picture();
    const bool mayBeUnseen = stopLost_ && !picture.slewing;
    if (!Stands(picture) && !mayBeUnseen && !MayBeForged()) {
        Wrong("after a stop the mount moves by " + FormatUs(picture.hourSpeed, "0.000000") + " and " +
              FormatUs(picture.polarSpeed, "0.000000") + " degrees per second");
    }
}

/// Whether nothing but tracking moves, at whatever rate.
bool RandomHour::Stands(const MountPicture& picture) const {
    const double range = customRates_ ? kCustomRange : kTrackingRange;
    const bool tracks = std::abs(std::abs(picture.hourSpeed) / kSidereal - 1.0) < range;
    const bool hourAxisStands = std::abs(picture.hourSpeed) < kStandsStill || (tracks && picture.tracking != '9');
    const double most = customRates_ ? 1.1 * kSmallCustomRate / 3600.0 : kStandsStill;
    return !picture.slewing && hourAxisStands && std::abs(picture.polarSpeed) <= most;
}

void RandomHour::CheckQuiet() {
    Pass(kQuietMs);
    std::string disagreement = Disagreement();
    for (int looks = kMoreLooks; looks > 0 && !disagreement.empty(); --looks) {
        Pass(kMoreLooksMs);
        disagreement = Disagreement();
    }
    if (!disagreement.empty() && !MayBeForged()) {
        Wrong(disagreement);
    }
    parks_ += mount_.Picture().parked ? 1 : 0;
}

std::string RandomHour::Disagreement() {
    const MountPicture picture = mount_.Picture();
    const DriverState& state = driver_->state;
    const auto says = [](std::string_view name, bool value) {
        return std::string(name) + " is " + std::string(TrueFalse(value)) + "; ";
    };
    if (state.g_bPollSuspended) {
        return {};
    }
    std::string wrong;
    try {
        const bool moves = storm::Moves(picture);
        // A client's own axes slew for that client alone.
        const bool anySlews = std::ranges::any_of(clients_, [](const auto& client) { return client->Slewing(); });
        const bool nearPole = !state.g_bGosActive && std::abs(picture.declination) > kPoleDegrees;
        if (!state.g_bMoveSent && !takenOver_ && !stopLost_ && !nearPole &&
            anySlews != (moves || driver_->axisMotions.AnyRuns())) {
            wrong += says("Slewing", anySlews);
        }
        takenOver_ = takenOver_ && moves;
        if (picture.slewing && !takenOver_ && !nearPole && !clients_[0]->Slewing()) {
            wrong += says("Slewing", false);
        }
        const bool underWay = moves || state.g_bSlewing || state.g_bParking;
        parkLeft_ = parkLeft_ && !picture.parked;
        const bool mayBeUnheard = !state.g_bGosActive && plan_.probability > 0.0;
        const bool atPark = clients_[0]->AtPark();
        const bool parked = picture.parked || !picture.initialised;
        const bool mayDiffer = state.g_bGosActive ? false : parked || parkLeft_ || mayBeUnheard;
        if (atPark != parked && !underWay && !mayDiffer) {
            wrong += says("AtPark", atPark);
        }
        if (clients_[0]->Tracking() != (picture.tracking != '9') && !underWay && !mayBeUnheard) {
            wrong += says("Tracking", picture.tracking == '9');
        }
        if (clients_[0]->IsPulseGuiding() && machine_.clock.Elapsed() > pulsesEndAt_) {
            wrong += says("IsPulseGuiding", true);
        }
        leaveUnheard_ = leaveUnheard_ && picture.parked;
        const std::string kept = driver_->persist.Read(setting::ParkStatus);
        if (kept == "Parked" && !picture.parked && !underWay && !parkLeft_ && plan_.probability == 0.0) {
            wrong += "ParkStatus is Parked; ";
        }
        const bool keepsParks = state.g_nParkStarted > 0 && !state.g_bRev160;
        if (kept != "Parked" && picture.parked && atPark && keepsParks && !leaveUnheard_) {
            wrong += "ParkStatus is " + kept + "; ";
        }
    } catch (const DriverError& error) {
        wrong = error.Message();
    }
    return wrong;
}

/// Nobody sets the site, the zone or the directions, and no other meridian delay than that of a park.
void RandomHour::CheckSettings() {
    const MountPicture now = mount_.Picture();
    const auto differ = [](double one, double other) { return std::abs(one - other) > 1e-3; };
    std::string wrong;
    if (differ(now.latitude, first_.latitude) || differ(now.longitudeWest, first_.longitudeWest)) {
        wrong += "the site; ";
    }
    if (differ(now.zone, first_.zone)) {
        wrong += "the zone; ";
    }
    if (!counterweightUpPark_ && differ(now.meridianDelay, 0.0)) {
        wrong += "the meridian delay; ";
    }
    if (now.swappedEastWest || now.swappedNorthSouth) {
        wrong += "the directions; ";
    }
    if (!wrong.empty() && forgedAt_ < 0) {
        Wrong("nobody set " + wrong);
    }
}

bool RandomHour::MayBeForged() {
    return machine_.clock.Elapsed() - forgedAt_ < kForgedMs;
}

void RandomHour::Wrong(const std::string& text) {
    wrong_.push_back("seed " + std::to_string(plan_.seed) + ", " + std::to_string(machine_.clock.Elapsed() / kSecond) +
                     " s: " + text);
    if (plan_.tail) {
        for (const std::string& line : stormy_->Tail()) {
            *plan_.tail << line << "\n";
        }
        *plan_.tail << wrong_.back() << "\n";
    }
}

}  // namespace kestrane
