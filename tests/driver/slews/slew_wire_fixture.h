#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/message_pump.h"
#include "support/driver_fixture.h"
#include "support/virtual_serial_ports.h"

namespace kestrane {

/// What the driver has written to a mount, command by command, with the times.
class CommandTape {
public:
    void Note(std::int64_t ms, std::string_view bytes) {
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
    void Clear() { commands_.clear(); }
    std::size_t Count() const { return commands_.size(); }

    /// All commands from the one with that index on, a blank between two.
    std::string All(std::size_t from = 0) const { return Join(from, false, false); }
    /// The same without the questions of the poll: what can move the mount or tells it where to.
    std::string Motion(std::size_t from = 0) const { return Join(from, true, false); }
    /// All commands, each behind the milliseconds from the first one.
    std::string Timed() const { return Join(0, false, true); }

private:
    struct Command {
        std::int64_t ms;
        std::string text;
    };
    static bool IsQuestion(std::string_view command) {
        for (const std::string_view question :
             {"GR", "GD", "GA", "GZ", "GS", "GL", "GM", "GG", "GOS", "pS", "Gt", "Gg"}) {
            if (command == question) {
                return true;
            }
        }
        return false;
    }
    std::string Join(std::size_t from, bool motionOnly, bool timed) const {
        std::string text;
        for (std::size_t i = from; i < commands_.size(); ++i) {
            if (!motionOnly || !IsQuestion(commands_[i].text)) {
                text += text.empty() ? "" : " ";
                text += timed ? std::to_string(commands_[i].ms - commands_.front().ms) + ":" : "";
                text += commands_[i].text;
            }
        }
        return text;
    }

    std::string pending_;
    std::vector<Command> commands_;
};

/// Lies on the line to a simulated mount and keeps what the driver writes.
class TappedLine final : public LineEnd {
public:
    TappedLine(VirtualClock& clock, MountSimulator& mount) : clock_(clock), mount_(mount) {}
    void Write(std::string_view bytes) override {
        tape.Note(clock_.Elapsed(), bytes);
        mount_.Write(bytes);
    }
    std::string Read(std::size_t maxCount) override { return mount_.Read(maxCount); }
    std::optional<std::int32_t> NextByteIn() override { return mount_.NextByteIn(); }

    CommandTape tape;

private:
    VirtualClock& clock_;
    MountSimulator& mount_;
};

/// A mount that stands as a test wants it, answers at once and never moves: for positions that must be exact to the
/// last bit, and for replies that no healthy mount gives.
class StandingMount final : public LineEnd {
public:
    explicit StandingMount(VirtualClock& clock) : clock_(clock) {}
    void Write(std::string_view bytes) override {
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
    std::string Read(std::size_t maxCount) override {
        const std::string bytes = ready_.substr(0, maxCount);
        ready_.erase(0, bytes.size());
        return bytes;
    }
    std::optional<std::int32_t> NextByteIn() override {
        return ready_.empty() ? std::nullopt : std::optional<std::int32_t>(0);
    }
    void Stand(std::string ra, std::string dec, std::string siderealTime, std::string side) {
        replies["GR"] = std::move(ra) + "#";
        replies["GD"] = std::move(dec) + "#";
        replies["GS"] = std::move(siderealTime) + "#";
        replies["pS"] = std::move(side) + "#";
    }

    CommandTape tape;
    std::function<void(const std::string& command)> onCommand;  ///< before the reply
    /// By the beginning of the command; the longest counts. What has none is not answered.
    std::map<std::string, std::string> replies{
        {"GR", "03:00:00.00#"},
        {"GD", "+45*00:00.0#"},
        {"GA", "+60*00:00.0#"},
        {"GZ", "180*00:00.0#"},
        {"GS", "04:00:00#"},
        {"GL", "20:00:00#"},
        {"GM", "00:00:00.0#"},
        {"GG", "-01#"},
        {"pS", "East#"},
        {"GOS", "020000232O0000#"},
        {"Sr", "1"},
        {"Sd", "1"},
        {"Sa", "1"},
        {"Sz", "1"},
        {"RR", "1"},
        {"RD", "1"},
        {"MS", "0"},
        {"*SLEW", "OK#"},
    };

private:
    void Answer(const std::string& command) {
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
    std::string ReplyTo(const std::string& command) const {
        std::string best;
        for (const auto& [beginning, reply] : replies) {  // in order, a longer beginning behind a shorter one
            best = command.starts_with(beginning) ? reply : best;
        }
        return best;
    }

    VirtualClock& clock_;
    std::string ready_;
};

/// A connected client with a tap on the wire, ten seconds after the connect. Neither the slew rate of the settings nor
/// the calibration of the directions stands in the way unless a test seeds it, nor does a clock that is set.
class SlewWireTest : public DriverFixture {
protected:
    using Settings = std::vector<std::pair<std::string, std::string>>;

    ~SlewWireTest() override {
        clients_.clear();
        telescope.reset();
        driver.reset();
        if (machine.serialPorts.IsOpen(1) || tap_ || standing_) {
            machine.serialPorts.Disconnect(1);
        }
    }

    void Connect(const std::string& firmware, const Settings& settings = {}) {
        MountSimulatorOptions options;
        options.firmware = firmware;
        options.parkedAtPowerOn = false;
        Connect(options, settings);
    }
    void Connect(const MountSimulatorOptions& options, const Settings& settings = {}) {
        BuildMount(options);
        Seed({{"chkSetSlewRate", "0"}, {"chkAutoCalibrateOnFirstSlew", "0"}, {"chkKeepMountTimeSyncedToPcTime", "0"}});
        Seed(settings);
        telescope = ConnectedTelescope();
        if (!driver->state.g_bTracking) {
            telescope->Tracking(true);
        }
        machine.AdvanceTime(10'000);
        LeaveTrackingAlone();
        tap_ = std::make_unique<TappedLine>(machine.clock, *mount);
        machine.serialPorts.Splice(1, *tap_);
    }
    /// The end of a slew puts the displayed rate back on the mount, once one was displayed: not in these tests.
    void LeaveTrackingAlone() { driver->state.g_bRestoreRatePending = false; }
    /// Puts a mount that stands in the place of the simulated one.
    StandingMount& Stand() {
        standing_ = std::make_unique<StandingMount>(machine.clock);
        machine.serialPorts.Splice(1, *standing_);
        return *standing_;
    }
    CommandTape& Tape() { return standing_ ? standing_->tape : tap_->tape; }

    /// What went over the wire during a call, all of it.
    std::string SentDuring(const std::function<void()>& call) {
        Tape().Clear();
        Try(call);
        return Tape().All();
    }
    /// The same without the questions.
    std::string MotionDuring(const std::function<void()>& call) {
        Tape().Clear();
        Try(call);
        return Tape().Motion();
    }
    /// Keeps number and words of the error that a call raises.
    void Try(const std::function<void()>& call) {
        error = 0;
        words.clear();
        try {
            call();
        } catch (const DriverError& raised) {
            error = raised.Number();
            words = raised.Message();
        }
    }
    /// Asks as a client does; false if the slew has no end within two minutes.
    bool WaitForEnd() {
        for (int rounds = 0; rounds < 480; ++rounds) {
            if (!telescope->Slewing()) {
                return true;
            }
            machine.AdvanceTime(250);
        }
        return false;
    }
    bool PollRuns() { return !driver->state.g_bPollSuspended && driver->handBox.tmrQueryRaDecAltAz.Enabled(); }
    /// Another client, connected like the first.
    Telescope& OtherClient() {
        clients_.push_back(driver->CreateTelescope());
        return *clients_.back();
    }

    TelescopeObject telescope;
    std::uint32_t error = 0;  ///< of the last call, 0 for none
    std::string words;        ///< of that error

private:
    std::unique_ptr<TappedLine> tap_;
    std::unique_ptr<StandingMount> standing_;
    std::vector<TelescopeObject> clients_;
};

/// Says that it stands on the west side of the pier wherever it stands: with the hour angle of a healthy mount, a slew
/// over the meridian then takes two legs.
class StandsWest final : public Misbehaviour {
public:
    void Change(SimulatedReply& reply) override {
        if (reply.name == "pS") {
            reply.parts = {{0, "West#"}};
        }
    }
};

/// Has one answer to a command, so many times: "1" to "MS".
class AnswersWith final : public Misbehaviour {
public:
    AnswersWith(std::string command, std::string bytes, int times = 1)
        : command_(std::move(command)), bytes_(std::move(bytes)), timesLeft_(times) {}
    void Change(SimulatedReply& reply) override {
        if (reply.name == command_ && timesLeft_ > 0) {
            --timesLeft_;
            reply.parts = {{0, bytes_}};
        }
    }

private:
    std::string command_;
    std::string bytes_;
    int timesLeft_;
};

/// Does something once, as soon as a condition holds, looking every five milliseconds whenever somebody pumps.
class When {
public:
    When(VirtualPump& pump, std::function<bool()> condition, std::function<void()> action)
        : condition_(std::move(condition)), action_(std::move(action)), timer_(pump.CreateTimer([this] { Look(); })) {
        timer_->SetInterval(5);
        timer_->SetEnabled(true);
    }
    bool Happened() const { return happened_; }

private:
    void Look() {
        if (!happened_ && condition_()) {
            happened_ = true;
            timer_->SetEnabled(false);
            action_();
        }
    }

    std::function<bool()> condition_;
    std::function<void()> action_;
    bool happened_ = false;
    std::unique_ptr<PumpTimer> timer_;
};

}  // namespace kestrane
