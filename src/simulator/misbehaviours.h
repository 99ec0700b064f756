#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <string_view>

#include "simulator/mount_simulator.h"

namespace kestrane {

inline constexpr int kEveryTime = std::numeric_limits<int>::max();

/// What all faults of single replies share: they wait for replies to one command ("GR"; "Sr" with any argument; "" for
/// any command), act that many times, and then no more.
class ReplyMisbehaviour : public Misbehaviour {
public:
    void Change(SimulatedReply& reply) final;
    int StrikesLeft() const { return timesLeft_; }

protected:
    ReplyMisbehaviour(std::string_view command, int times);
    virtual void Strike(SimulatedReply& reply) = 0;

private:
    std::string command_;
    int timesLeft_;
};

/// The reply never comes.
class DropsReply final : public ReplyMisbehaviour {
public:
    explicit DropsReply(std::string_view command = "", int times = kEveryTime);

private:
    void Strike(SimulatedReply& reply) override;
};

/// The reply comes this much later.
class AnswersLate final : public ReplyMisbehaviour {
public:
    AnswersLate(std::string_view command, std::int32_t milliseconds, int times = kEveryTime);

private:
    void Strike(SimulatedReply& reply) override;
    std::int32_t milliseconds_;
};

/// Only the first `keep` bytes come.
class CutsReply final : public ReplyMisbehaviour {
public:
    CutsReply(std::string_view command, std::size_t keep, int times = kEveryTime);

private:
    void Strike(SimulatedReply& reply) override;
    std::size_t keep_;
};

/// The reply comes twice.
class DoublesReply final : public ReplyMisbehaviour {
public:
    explicit DoublesReply(std::string_view command = "", int times = kEveryTime);

private:
    void Strike(SimulatedReply& reply) override;
};

/// The byte at `position` (from 0, counted from the start; the last byte when the reply is shorter) becomes `wrong`.
class CorruptsReply final : public ReplyMisbehaviour {
public:
    explicit CorruptsReply(std::string_view command = "", int times = kEveryTime, std::size_t position = 1,
                           char wrong = '?');

private:
    void Strike(SimulatedReply& reply) override;
    std::size_t position_;
    char wrong_;
};

/// An alarm letter (X servo fault, Y low power, Z motor stall) comes before the reply.
class InsertsAlarm final : public ReplyMisbehaviour {
public:
    explicit InsertsAlarm(char letter, std::string_view command = "", int times = 1);

private:
    void Strike(SimulatedReply& reply) override;
    char letter_;
};

/// A goto stops suddenly this many degrees before its end, and stays there. Tracking goes on.
class Stalls final : public Misbehaviour {
public:
    explicit Stalls(double degreesShort, bool stillReportsSlewing = false)
        : degreesShort_(degreesShort), stillReportsSlewing_(stillReportsSlewing) {}
    double StallsShortBy() const override { return degreesShort_; }
    bool StalledStillSlews() const override { return stillReportsSlewing_; }

private:
    double degreesShort_;
    bool stillReportsSlewing_;
};

/// The mount sends without end, with its replies somewhere in between.
class NeverStopsSending final : public Misbehaviour {
public:
    explicit NeverStopsSending(std::string_view babble = "U") : babble_(babble) {}
    std::string_view Babble() const override { return babble_; }

private:
    std::string babble_;
};

/// Each reply has `probability` (0 to 1) of being dropped, late, cut, doubled, corrupted or given an alarm letter. The
/// same seed gives the same sequence of faults.
class RandomStorm final : public Misbehaviour {
public:
    RandomStorm(std::uint32_t seed, double probability);
    void Change(SimulatedReply& reply) override;
    int Strikes() const { return strikes_; }

private:
    std::uint32_t Below(std::uint32_t limit) { return static_cast<std::uint32_t>(random_() % limit); }

    std::mt19937 random_;
    double probability_;
    int strikes_ = 0;
};

}  // namespace kestrane
