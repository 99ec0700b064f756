#pragma once

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
#include "support/simulator_line.h"
#include "support/stands_west.h"
#include "support/virtual_serial_ports.h"

namespace kestrane {

/// What the driver has written to a mount, command by command, with the times.
class CommandTape {
public:
    void Note(std::int64_t ms, std::string_view bytes);
    void Clear() { commands_.clear(); }
    std::size_t Count() const { return commands_.size(); }

    /// All commands from the one with that index on, a blank between two.
    std::string All(std::size_t from = 0) const { return Join(from, false, false); }
    /// The same without the questions of the poll: what can move the mount or tells it where to.
    std::string Motion(std::size_t from = 0) const { return Join(from, true, false); }
    /// The same, each after the milliseconds from a time on.
    std::string TimedMotion(std::int64_t since) const { return Join(0, true, true, since); }
    /// All commands, each after the milliseconds from the first one.
    std::string Timed() const { return Join(0, false, true, commands_.front().ms); }

private:
    struct Command {
        std::int64_t ms;
        std::string text;
    };
    std::string Join(std::size_t from, bool motionOnly, bool timed, std::int64_t since = 0) const;

    std::string pending_;
    std::vector<Command> commands_;
};

/// A mount that stands as a test wants it, answers at once and never moves: for positions that must be exact to the
/// last bit, and for replies that no healthy mount gives.
class StandingMount final : public LineEnd {
public:
    explicit StandingMount(VirtualClock& clock) : clock_(clock) {}

    void Write(std::string_view bytes) override;
    std::string Read(std::size_t maxCount) override;
    std::optional<std::int32_t> NextByteIn() override;

    void Stand(std::string ra, std::string dec, std::string siderealTime, std::string side);

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
    void Answer(const std::string& command);
    std::string ReplyTo(const std::string& command) const;

    VirtualClock& clock_;
    std::string ready_;
};

/// A connected client with a tap on the wire, ten seconds after the connect. Neither the slew rate of the settings nor
/// the calibration of the directions stands in the way unless a test seeds it, nor does a clock that is set.
class SlewWireTest : public DriverFixture {
public:
    ~SlewWireTest() override;

protected:
    void Connect(const std::string& firmware, const SettingTexts& settings = {});
    void Connect(const MountSimulatorOptions& options, const SettingTexts& settings = {});
    /// The settings of such a connect, and others.
    void SeedForSlews(const SettingTexts& settings);
    /// All clients go, and the process ends; `Connect` begins anew.
    void EndTheDriver();
    /// The end of a slew puts the displayed rate back on the mount, once one was displayed: not in these tests.
    void LeaveTrackingAlone() { driver->state.g_bRestoreRatePending = false; }
    /// Puts a mount that stands in the place of the simulated one.
    StandingMount& Stand();
    CommandTape& Tape() { return standing_ ? standing_->tape : tape_; }

    /// What went over the wire during a call, all of it.
    std::string SentDuring(const std::function<void()>& call);
    /// The same without the questions.
    std::string MotionDuring(const std::function<void()>& call);
    /// Keeps number and words of the error that a call raises.
    void Try(const std::function<void()>& call);
    /// Asks as a client does; false if the slew has no end within two minutes.
    bool WaitForEnd();
    /// After so long the simulated mount stands there: hours, which may be out of their range, and degrees.
    void ExpectAt(double ra, double dec, std::int64_t settlingMs = 3'000);
    bool PollRuns() { return !driver->state.g_bPollSuspended && driver->handBox.tmrQueryRaDecAltAz.Enabled(); }
    /// Another client, connected like the first.
    Telescope& OtherClient();

    TelescopeObject telescope;
    std::uint32_t error = 0;  ///< of the last call, 0 for none
    std::string words;        ///< of that error

private:
    CommandTape tape_;
    std::unique_ptr<SimulatorLine> tap_;
    std::unique_ptr<StandingMount> standing_;
    std::vector<TelescopeObject> clients_;
};

/// Has one answer to a command, so many times: "1" to "MS".
class AnswersWith final : public Misbehaviour {
public:
    AnswersWith(std::string command, std::string bytes, int times = 1)
        : command_(std::move(command)), bytes_(std::move(bytes)), timesLeft_(times) {}
    void Change(SimulatedReply& reply) override;

private:
    std::string command_;
    std::string bytes_;
    int timesLeft_;
};

/// Does something once, as soon as a condition holds, looking every five milliseconds whenever somebody pumps.
class When {
public:
    When(VirtualPump& pump, std::function<bool()> condition, std::function<void()> action);
    bool Happened() const { return happened_; }

private:
    void Look();

    std::function<bool()> condition_;
    std::function<void()> action_;
    bool happened_ = false;
    std::unique_ptr<PumpTimer> timer_;
};

}  // namespace kestrane
