#include "storms/storm_night.h"

#include <algorithm>
#include <cmath>

#include "kernel/base/conversions.h"
#include "storms/storm_times.h"
#include "support/seed_settings.h"
#include "support/stands_west.h"

namespace kestrane {
namespace {

using storm::kMinute, storm::kReadMs, storm::kSecond;

constexpr std::int64_t kLookMs = 250;
constexpr std::int64_t kMomentMs = 5;
constexpr std::int64_t kLongestSlewMs = 4 * kMinute;
constexpr double kAcrossHours = 2.0;  // on either side of the meridian
constexpr std::int64_t kSideReadMs = 10 * kSecond;
constexpr std::int64_t kCalmMs = 2 * kMinute;
constexpr std::int64_t kUnwatchedMs = 30 * kSecond;  // a motion may be unseen for as long as replies may be lost
constexpr std::int64_t kAfterMotionMs = 5 * kSecond;
constexpr double kMovesDegreesPerSecond = 0.05;  // far above tracking
constexpr double kRightHours = 0.02;
constexpr double kRightDegrees = 0.2;
constexpr double kNearPole = 80.0;
// The good replies to all tries of one query may wait unread when the wrong value is kept.
constexpr int kRepliesUnderWay = 3;
constexpr double kClockOffHours = 3.0 / 3600.0;

MountSimulatorOptions OptionsOf(const StormNight::Plan& plan) {
    MountSimulatorOptions options;
    options.firmware = plan.firmware;
    options.parkedAtPowerOn = false;
    return options;
}

double HoursApart(double one, double other) {
    return std::abs(NormalizeHourAngle(one - other));
}

}  // namespace

void StormReport::Add(const StormReport& other) {
    for (const auto count : {&StormReport::faults, &StormReport::slews, &StormReport::stuckFlags,
                             &StormReport::unaskedMotions, &StormReport::wrongWrites, &StormReport::outlivedReadings}) {
        this->*count += other.*count;
    }
    notes.insert(notes.end(), other.notes.begin(), other.notes.end());
}

StormNight::StormNight(const Plan& plan)
    : plan_(plan), line_(plan.seed, 0.0), choice_(plan.seed + 1'000'000, 0.0), mount_(machine_.clock, OptionsOf(plan)) {
    ConnectRoad();
    stormy_->onWrite = [this](std::string_view bytes) { OnWrite(bytes); };
    if (plan_.tail) {
        stormy_->KeepTail(machine_.clock);
    }
    SeedSettings(machine_, {{"chkEnableDebugLog", "0"}, {"chkAutoCalibrateOnFirstSlew", plan.calibrates ? "1" : "0"}});
    SeedSettings(machine_, {{"chkIPAddress", plan.overIp ? "1" : "0"}, {"txtIpAddress", "mount.example"}});
    driver_ = Main(machine_.Services(), true);
    client_ = driver_->CreateTelescope();
    client_->Connected(true);
    Try([&] { client_->Tracking(true); });
    machine_.AdvanceTime(20 * kSecond);
    meridianDelay_ = mount_.Picture().meridianDelay;
}

StormNight::~StormNight() {
    client_ = {};
    driver_.reset();
    machine_.serialPorts.Disconnect(1);
    machine_.http.StopServing();
}

void StormNight::ConnectRoad() {
    if (plan_.overIp) {
        adapter_ = std::make_unique<StormyAdapter>(machine_.clock, mount_, line_);
        stormy_ = adapter_.get();
        machine_.http.Serve([this](const HttpRequest& request) { return adapter_->Answer(request); });
        return;
    }
    auto line = std::make_unique<StormyLine>(mount_, line_);
    stormy_ = line.get();
    machine_.serialPorts.Connect(1, std::move(line));
}

StormReport StormNight::Run() {
    line_.SetProbability(plan_.probability);
    const std::int64_t end = machine_.clock.Elapsed() + plan_.lengthMs;
    while (machine_.clock.Elapsed() < end) {
        Cycle();
    }
    line_.SetProbability(0.0);
    Watch(kCalmMs);
    LookAtStuckFlags();
    report_.faults = line_.StrikesSoFar();
    return report_;
}

StormReport StormNight::RunCableOut(const Moment& moment, std::int64_t outMs) {
    return RunOutage(moment, outMs, [this](bool begins) { mount_.SetLineDead(begins); });
}

StormReport StormNight::RunAdapterFault(const Moment& moment, AdapterFault fault, std::int64_t outMs) {
    return RunOutage(moment, outMs, [=, this](bool begins) {
        begins ? adapter_->Begin(fault, outMs) : adapter_->Begin(AdapterFault::None, 0);
    });
}

StormReport StormNight::RunOutage(const Moment& moment, std::int64_t outMs,
                                  const std::function<void(bool begins)>& outage) {
    StandBeforeTwoLegs();
    machine_.pump.Post(CallKind::WaitsLong, [this] { SlewTo(HourAngleRa(kAcrossHours), RandomDec()); });
    const std::int64_t begin = machine_.clock.Elapsed();
    const std::uint32_t slewsBefore = driver_->state.g_nSlewsTaken;
    const auto since = [&] { return machine_.clock.Elapsed() - begin; };
    const auto hasCome = [&] {
        return moment({driver_->state, mount_.Picture(), since(), driver_->state.g_nSlewsTaken - slewsBefore});
    };
    while (!hasCome() && since() < kLongestSlewMs) {
        machine_.AdvanceTime(kMomentMs);
        if (since() % kReadMs == 0) {
            Read();
        }
    }
    report_.faults += since() < kLongestSlewMs ? 1 : 0;
    outage(true);
    Watch(outMs);
    outage(false);
    WaitForEndOfSlew();
    if (slewAsked_) {
        Note(&StormReport::stuckFlags, "the slew has no end");
    }
    Watch(kCalmMs);
    LookAtStuckFlags();
    return report_;
}

void StormNight::Cycle() {
    switch (choice_.Below(10)) {
        case 0:
            Slew();
            Watch(choice_.Below(30) * kSecond);
            Abort();
            break;
        case 1:
            MoveAnAxis();
            break;
        default:
            Slew();
            WaitForEndOfSlew();
            if (slewAsked_) {
                Abort();  // as a program does that loses patience
            }
            break;
    }
    Watch((1 + choice_.Below(3)) * kMinute);
}

/// Leaves a mount without a way of its own around the pier so that a slew over the meridian needs two legs.
void StormNight::StandBeforeTwoLegs() {
    SlewTo(HourAngleRa(-kAcrossHours), RandomDec());
    WaitForEndOfSlew();
    Watch(kMinute);
    mount_.Add(std::make_unique<StandsWest>());
    Watch(kSideReadMs);
}

void StormNight::WaitForEndOfSlew() {
    for (std::int64_t left = kLongestSlewMs; slewAsked_ && left > 0; left -= kSecond) {
        Watch(kSecond);
    }
}

/// Right ascension, in hours, so far east of the meridian.
double StormNight::HourAngleRa(double hoursEast) {
    return NormalizeHours(mount_.Picture().siderealTime + hoursEast);
}

double StormNight::RandomDec() {
    return -10.0 + choice_.Below(80);
}

void StormNight::Slew() {
    const double ra = HourAngleRa(-4.0 + 0.1 * choice_.Below(80));
    SlewTo(ra, RandomDec());
}

void StormNight::SlewTo(double ra, double dec) {
    slewAsked_ = true;  // also when it raises: the mount may have understood
    ++report_.slews;
    stormy_->Mark("* slews");
    if (!Try([&] { client_->SlewToCoordinatesAsync(ra, dec); })) {
        Abort();  // as a careful program does: a garbled answer can hide that the mount has accepted
    }
}

void StormNight::Abort() {
    stormy_->Mark("* aborts");
    for (int attempt = 0; attempt < 3; ++attempt) {
        if (Try([&] { client_->AbortSlew(); })) {
            break;
        }
    }
    Watch(kAfterMotionMs);
    slewAsked_ = false;
}

void StormNight::MoveAnAxis() {
    axisAsked_ = true;
    stormy_->Mark("* moves an axis");
    const auto axis = static_cast<std::int32_t>(choice_.Below(2));
    Try([&] { client_->MoveAxis(axis, choice_.Below(2) == 0 ? 0.5 : -0.5); });
    Watch(3 * kSecond);
    Try([&] { client_->MoveAxis(axis, 0.0); });
    Watch(kAfterMotionMs);
    axisAsked_ = false;
}

void StormNight::Watch(std::int64_t milliseconds) {
    for (std::int64_t passed = 0; passed < milliseconds; passed += kLookMs) {
        machine_.AdvanceTime(kLookMs);
        Look();
        if (passed % kReadMs == 0) {
            Read();
        }
    }
}

void StormNight::Read() {
    Try([&] { client_->RightAscension(); });
    Try([&] { client_->Declination(); });
    bool slewing = true;
    if (Try([&] { slewing = client_->Slewing(); }) && !slewing) {
        if (slewAsked_) {
            stormy_->Mark("* sees no slew any more");
        }
        slewAsked_ = false;
    }
}

void StormNight::Look() {
    const MountPicture picture = mount_.Picture();
    LookForUnaskedMotion(picture);
    LookAtCoordinates(picture);
}

void StormNight::LookForUnaskedMotion(const MountPicture& picture) {
    const bool moves = std::max(std::abs(picture.hourSpeed), std::abs(picture.polarSpeed)) > kMovesDegreesPerSecond;
    forged_ = stormy_->TakeForged() || (forged_ && (picture.slewing || moves));
    if (picture.slewing && !wasSlewing_ && !slewAsked_ && !forged_) {
        Note(&StormReport::unaskedMotions, "a goto that nobody asked for");
    }
    wasSlewing_ = picture.slewing;
    lastMotion_ = moves ? machine_.clock.Elapsed() : lastMotion_;
    if (!moves || slewAsked_ || axisAsked_ || forged_ || driver_->state.g_bSlewing) {
        unwatchedSince_ = -1;
    } else if (unwatchedSince_ < 0) {
        unwatchedSince_ = machine_.clock.Elapsed();
    } else if (machine_.clock.Elapsed() - unwatchedSince_ > kUnwatchedMs) {
        Note(&StormReport::unaskedMotions, "a motion that nobody watches");
        unwatchedSince_ = -1;
        Try([&] { client_->MoveAxis(0, 0.0); });
        Abort();
    }
}

void StormNight::LookAtCoordinates(const MountPicture& picture) {
    // A moving mount is somewhere else by the time its reply has come, and at the pole the right ascension jumps.
    if (machine_.clock.Elapsed() - lastMotion_ < kAfterMotionMs || std::abs(picture.declination) > kNearPole) {
        ra_.since = dec_.since = -1;
        return;
    }
    const DriverState& state = driver_->state;
    LookAtOne(ra_, HoursApart(state.g_dRa, picture.rightAscension) < kRightHours, stormy_->GoodRaReplies(),
              "right ascension");
    LookAtOne(dec_, std::abs(state.g_dDec - picture.declination) < kRightDegrees, stormy_->GoodDecReplies(),
              "declination");
}

void StormNight::LookAtOne(WrongReading& reading, bool right, int goodReplies, std::string_view name) {
    if (right) {
        reading.since = -1;
    } else if (reading.since < 0) {
        reading = {machine_.clock.Elapsed(), goodReplies};
    } else if (goodReplies > reading.goodReplies + kRepliesUnderWay) {
        Note(&StormReport::outlivedReadings, "a wrong " + std::string(name));
        reading.since = -1;
    }
}

void StormNight::LookAtStuckFlags() {
    const DriverState& state = driver_->state;
    const std::pair<std::string_view, bool> flags[] = {
        {"g_bLostComms", state.g_bLostComms},
        {"g_bLowPower", state.g_bLowPower},
        {"g_bResync", state.g_bResync},
        {"g_bInPoll", state.g_bInPoll},
        {"g_bPollSuspended", state.g_bPollSuspended},
        {"g_bSlewing", state.g_bSlewing},
        {"g_bMountSlewing", state.g_bMountSlewing},
        {"g_bSafeSlewPending", state.g_bSafeSlewPending},
        {"g_bSlewCompletePending", state.g_bSlewCompletePending},
        {"g_bAbortSlew", state.g_bAbortSlew},
        {"g_bParked", state.g_bParked != mount_.Picture().parked},
        {"g_bParking", state.g_bParking},
        {"g_bAxisMotionBegun", state.g_bAxisMotionBegun},
        {"g_bGosActive", state.g_bGosActive != state.g_bGosSupported},
        {"the poll", !driver_->handBox.tmrQueryRaDecAltAz.Enabled()},
    };
    for (const auto& [name, stuck] : flags) {
        if (stuck) {
            Note(&StormReport::stuckFlags, "stuck: " + std::string(name));
        }
    }
}

void StormNight::OnWrite(std::string_view bytes) {
    half_ += bytes;
    for (std::size_t end = half_.find('#'); end != std::string::npos; end = half_.find('#')) {
        const std::string command = half_.substr(0, end);
        half_.erase(0, end + 1);
        if (command.size() > 3 && command[0] == ':' && command[1] == 'S') {
            LookAtSetting(command.substr(1, 2), std::string_view(command).substr(3));
        }
    }
}

/// No client sets anything, so what goes out can only be what the driver keeps right by itself.
void StormNight::LookAtSetting(std::string_view command, std::string_view argument) {
    if (IsWrongSetting(command, argument)) {
        Note(&StormReport::wrongWrites, std::string(command) + " " + std::string(argument));
    }
}

bool StormNight::IsWrongSetting(std::string_view command, std::string_view argument) {
    if (command == "St" || command == "Sg") {
        return true;
    }
    if (command != "SM" && command != "SG" && command != "SL") {
        return false;
    }
    LogState quiet;
    Log log(quiet, machine_.clock);
    double hours = 0.0;
    if (!ParseProtocolHours(argument, hours, log)) {
        return true;
    }
    if (command == "SL") {
        return !IsClockTime(hours);
    }
    const double right = command == "SM" ? meridianDelay_ : machine_.clock.TimeZoneOffset();
    return std::abs(hours - right) > kClockOffHours;
}

/// The clock that the mount is given may stand for sidereal zones: only the minutes and seconds are compared.
bool StormNight::IsClockTime(double hours) {
    const DateTime now = machine_.clock.GetLocalTime();
    const double given = std::fmod(hours, 1.0);
    const double right = now.minute / 60.0 + now.second / 3600.0;
    return HoursApart(given, right) <= kClockOffHours || HoursApart(given + 1.0, right) <= kClockOffHours ||
           HoursApart(given, right + 1.0) <= kClockOffHours;
}

void StormNight::Note(int StormReport::*count, const std::string& text) {
    ++(report_.*count);
    report_.notes.push_back("firmware " + plan_.firmware + ", seed " + std::to_string(plan_.seed) + ", " +
                            std::to_string(machine_.clock.Elapsed() / kSecond) + " s: " + text);
    if (plan_.tail) {
        for (const std::string& line : stormy_->Tail()) {
            *plan_.tail << line << "\n";
        }
        *plan_.tail << report_.notes.back() << "\n\n";
    }
}

bool StormNight::Try(const std::function<void()>& call) {
    try {
        call();
        return true;
    } catch (const DriverError& error) {
        stormy_->Mark("! " + std::string(error.what()));
        return false;
    }
}

}  // namespace kestrane
