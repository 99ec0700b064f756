#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <utility>

#include "simulator/mount_simulator.h"
#include "support/virtual_clock.h"
#include "support/virtual_serial_ports.h"

namespace kestrane {

/// A source of faults: the same seed gives the same ones.
class Chance {
public:
    /// `probability` of a strike, 0 to 1.
    Chance(std::uint32_t seed, double probability) : random_(seed), probability_(probability) {}

    bool Strikes();
    std::uint32_t Below(std::uint32_t limit) { return static_cast<std::uint32_t>(random_() % limit); }
    int StrikesSoFar() const { return strikes_; }
    void SetProbability(double probability) { probability_ = probability; }

private:
    std::mt19937 random_;
    double probability_;
    int strikes_ = 0;
};

/// A road to a simulated mount that has faults, as a night sees it.
class StormyRoad {
public:
    virtual ~StormyRoad() = default;
    StormyRoad(const StormyRoad&) = delete;
    StormyRoad& operator=(const StormyRoad&) = delete;

    std::function<void(std::string_view bytes)> onWrite;  ///< what the driver sends, before any fault

    /// Keeps what was written and read from now on, and what a fault has made of it, each line with its time.
    void KeepTail(const VirtualClock& clock) { clock_ = &clock; }
    const std::deque<std::string>& Tail() const { return tail_; }
    /// A line of its own in what is kept.
    void Mark(std::string_view text);

    /// Whether a fault has made another command of one since the last look, such as ":MS#" of ":GS#": the mount then
    /// does what nobody has asked for.
    virtual bool TakeForged() = 0;
    /// Replies to "GR" and "GD" that went out without a fault.
    virtual int GoodRaReplies() const = 0;
    virtual int GoodDecReplies() const = 0;

protected:
    StormyRoad() = default;
    /// Adds to what was read, in one line with what was read just before.
    void MarkRead(std::string_view text);

private:
    const VirtualClock* clock_ = nullptr;
    std::deque<std::string> tail_;
    bool reading_ = false;  ///< the last line of the tail is what was read
};

/// A serial line to a simulated mount on which each command and each reply may be lost, late, cut, doubled, hit by
/// noise, or changed in a digit; before a reply an alarm letter may stand. Both outlive the line.
class StormyLine final : public LineEnd, public StormyRoad {
public:
    StormyLine(MountSimulator& mount, Chance& chance);

    bool forges = true;  ///< whether bytes of a command may change, which may make another command of it

    bool TakeForged() override { return std::exchange(forged_, false); }

    /// Whether a stop has been lost since the last look, by itself or with the command before it, which was cut.
    bool TakeLostStop() { return std::exchange(lostStop_, false); }

    int GoodRaReplies() const override;
    int GoodDecReplies() const override;

    void Write(std::string_view bytes) override;
    std::string Read(std::size_t maxCount) override;
    std::optional<std::int32_t> NextByteIn() override { return mount_.NextByteIn(); }
    void Opened() override;

private:
    class ReplyStorm;

    MountSimulator& mount_;
    Chance& chance_;
    ReplyStorm* replies_;  ///< owned by the mount
    bool forged_ = false;
    bool lostStop_ = false;
    bool cut_ = false;  ///< the last command arrived without its end
};

}  // namespace kestrane
