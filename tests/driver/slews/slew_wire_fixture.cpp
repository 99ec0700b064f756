#include "driver/slews/slew_wire_fixture.h"

#include <algorithm>
#include <array>

#include "kernel/base/conversions.h"

namespace kestrane {
namespace {

bool IsQuestion(std::string_view command) {
    constexpr std::array<std::string_view, 12> kQuestions{"GR", "GD", "GA",  "GZ", "GS", "GL",
                                                          "GM", "GG", "GOS", "pS", "Gt", "Gg"};
    return std::ranges::find(kQuestions, command) != kQuestions.end();
}

}  // namespace

void CommandTape::Note(std::int64_t ms, std::string_view bytes) {
    pending_ += bytes;
    for (std::size_t end = pending_.find('#'); end != std::string::npos; end = pending_.find('#')) {
        std::string command = pending_.substr(0, end);
        pending_.erase(0, end + 1);
        if (command.starts_with(':')) {
            command.erase(0, 1);
        }
        commands_.push_back({ms, command.empty() ? "#" : command});
    }
}

std::string CommandTape::Join(std::size_t from, bool motionOnly, bool timed, std::int64_t since) const {
    std::string text;
    for (std::size_t i = from; i < commands_.size(); ++i) {
        if (!motionOnly || !IsQuestion(commands_[i].text)) {
            text += text.empty() ? "" : " ";
            text += timed ? std::to_string(commands_[i].ms - since) + ":" : "";
            text += commands_[i].text;
        }
    }
    return text;
}

void StandingMount::Write(std::string_view bytes) {
    const std::size_t before = tape.Count();
    tape.Note(clock_.Elapsed(), bytes);
    if (tape.Count() > before) {
        const std::string command = tape.All(before);
        if (onCommand) {
            onCommand(command);
        }
        Answer(command);
    }
}

std::string StandingMount::Read(std::size_t maxCount) {
    const std::string bytes = ready_.substr(0, maxCount);
    ready_.erase(0, bytes.size());
    return bytes;
}

std::optional<std::int32_t> StandingMount::NextByteIn() {
    return ready_.empty() ? std::nullopt : std::optional<std::int32_t>(0);
}

void StandingMount::Stand(std::string ra, std::string dec, std::string siderealTime, std::string side) {
    replies["GR"] = std::move(ra) + "#";
    replies["GD"] = std::move(dec) + "#";
    replies["GS"] = std::move(siderealTime) + "#";
    replies["pS"] = std::move(side) + "#";
}

void StandingMount::Answer(const std::string& command) {
    constexpr std::string_view kHead = "QUAY,";
    if (!command.starts_with(kHead)) {
        ready_ += ReplyTo(command);
        return;
    }
    // The companion is in front: its head, what was asked, the number, the reply.
    const std::size_t comma = command.find(',', kHead.size());
    const std::string number = command.substr(kHead.size(), comma - kHead.size());
    const std::string asked = command.substr(comma + 1);
    ready_ += std::string(kHead) + asked.substr(0, asked.find(',')) + "," + number + "," + ReplyTo(asked);
}

std::string StandingMount::ReplyTo(const std::string& command) const {
    std::string best;
    for (const auto& [beginning, reply] : replies) {  // in order, a longer beginning after a shorter one
        best = command.starts_with(beginning) ? reply : best;
    }
    return best;
}

SlewWireTest::~SlewWireTest() {
    EndTheDriver();
}

void SlewWireTest::EndTheDriver() {
    clients_.clear();
    telescope.reset();
    driver.reset();
    if (machine.serialPorts.IsOpen(1) || tap_ || standing_) {
        machine.serialPorts.Disconnect(1);
    }
}

void SlewWireTest::Connect(const std::string& firmware, const SettingTexts& settings) {
    MountSimulatorOptions options;
    options.firmware = firmware;
    options.parkedAtPowerOn = false;
    Connect(options, settings);
}

void SlewWireTest::SeedForSlews(const SettingTexts& settings) {
    Seed({{"chkSetSlewRate", "0"}, {"chkAutoCalibrateOnFirstSlew", "0"}, {"chkKeepMountTimeSyncedToPcTime", "0"}});
    Seed(settings);
}

void SlewWireTest::Connect(const MountSimulatorOptions& options, const SettingTexts& settings) {
    BuildMount(options);
    SeedForSlews(settings);
    telescope = ConnectedTelescope();
    if (!driver->state.g_bTracking) {
        telescope->Tracking(true);
    }
    machine.AdvanceTime(10'000);
    LeaveTrackingAlone();
    tap_ = std::make_unique<SimulatorLine>(*mount);
    tap_->onWrite = [this](std::string_view bytes) { tape_.Note(machine.clock.Elapsed(), bytes); };
    machine.serialPorts.Splice(1, *tap_);
}

StandingMount& SlewWireTest::Stand() {
    standing_ = std::make_unique<StandingMount>(machine.clock);
    machine.serialPorts.Splice(1, *standing_);
    return *standing_;
}

std::string SlewWireTest::SentDuring(const std::function<void()>& call) {
    Tape().Clear();
    Try(call);
    return Tape().All();
}

std::string SlewWireTest::MotionDuring(const std::function<void()>& call) {
    Tape().Clear();
    Try(call);
    return Tape().Motion();
}

void SlewWireTest::Try(const std::function<void()>& call) {
    error = 0;
    words.clear();
    try {
        call();
    } catch (const DriverError& raised) {
        error = raised.Number();
        words = raised.Message();
    }
}

bool SlewWireTest::WaitForEnd() {
    for (int rounds = 0; rounds < 480; ++rounds) {
        if (!telescope->Slewing()) {
            return true;
        }
        machine.AdvanceTime(250);
    }
    return false;
}

void SlewWireTest::ExpectAt(double ra, double dec, std::int64_t settlingMs) {
    machine.AdvanceTime(settlingMs);
    EXPECT_FALSE(mount->Picture().slewing);
    EXPECT_NEAR(mount->Picture().rightAscension, NormalizeHours(ra), 0.01);
    EXPECT_NEAR(mount->Picture().declination, dec, 0.05);
}

Telescope& SlewWireTest::OtherClient() {
    clients_.push_back(driver->CreateTelescope());
    return *clients_.back();
}

void AnswersWith::Change(SimulatedReply& reply) {
    if (reply.name == command_ && timesLeft_ > 0) {
        --timesLeft_;
        reply.parts = {{0, bytes_}};
    }
}

When::When(VirtualPump& pump, std::function<bool()> condition, std::function<void()> action)
    : condition_(std::move(condition)), action_(std::move(action)), timer_(pump.CreateTimer([this] { Look(); })) {
    timer_->SetInterval(5);
    timer_->SetEnabled(true);
}

void When::Look() {
    if (!happened_ && condition_()) {
        happened_ = true;
        timer_->SetEnabled(false);
        action_();
    }
}

}  // namespace kestrane
