#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kestrane {

/// A reply of one character.
struct ReceivedCharacter {
    std::string reply;          ///< empty when none came
    bool afterAnother = false;  ///< other bytes stood before it: it may belong to an earlier exchange
};

/// The way to the mount, over any transport. Texts are UTF-8; on a serial line each character up to 0xFF is one byte,
/// and any other goes out as "?". Logic thread only; nothing here pumps. Unless stated otherwise no member raises: a
/// closed or dead line reads as empty text.
class MountLink {
public:
    virtual ~MountLink() = default;

    virtual bool Connected() = 0;
    /// Opens or closes. A line that cannot be opened stays closed: read `Connected` back. A transport may raise its own
    /// `DriverError` while it opens, as the platform's serial object does; the driver's own serial layer only stays
    /// closed. True on an open line is harmless.
    virtual void Connected(bool connect) = 0;

    /// Whether this is the link over IP, in either of its forms. The settings may name another one already: they choose
    /// the link of the next start.
    virtual bool IsOverIp() const { return false; }
    /// Where a link over IP leads and why nothing came from there, for a person; empty over a serial line.
    virtual std::string WhyNothingCame() const { return {}; }

    /// Whether a text that is sent now goes out, as far as the transport knows.
    virtual bool CanSend() { return Connected(); }

    /// The system's error of the last opening that failed; 0 when it is not known.
    virtual std::int32_t OpenError() { return 0; }

    virtual std::int32_t Port() = 0;
    virtual void Port(std::int32_t port) = 0;
    virtual std::int32_t Speed() = 0;
    virtual void Speed(std::int32_t baud) = 0;

    /// Limit of one read in milliseconds. On a closed line only stored, for the next connect.
    virtual std::int32_t ReceiveTimeoutMS() = 0;
    virtual void ReceiveTimeoutMS(std::int32_t milliseconds) = 0;
    /// The same in whole seconds.
    virtual std::int32_t ReceiveTimeout() = 0;
    virtual void ReceiveTimeout(std::int32_t seconds) = 0;

    /// Drops everything that waits.
    virtual void ClearBuffers() = 0;
    /// What is there; waits for a first byte for at most the read limit.
    virtual std::string Receive() = 0;
    /// Exactly `count` characters, or what came by the read limit (and then a receive counted error is counted).
    virtual std::string ReceiveCounted(std::int32_t count) = 0;
    /// Up to and with the terminator, or what came by the read limit (and then a receive terminated error is counted).
    /// On a serial line a read that brings nothing at all raises `RunTimeError` 5: this shows the exchange that the
    /// line is silent.
    virtual std::string ReceiveTerminated(std::string_view terminator) = 0;
    /// One character of what waits, as `ReceiveCounted` reads it; for emptying the line one by one.
    virtual std::string DrainOne() { return ReceiveCounted(1); }
    /// One character, as `ReceiveCounted` reads it. When an alarm letter came in its place, the short read counts, and
    /// one more character is read for each such letter, three at most. What waits after another character than "0" is
    /// dropped, counted as a retransmit and logged; a single "0" there is the reply, since a late one stood before it,
    /// but it may itself be a late byte that stands after a refusal.
    virtual ReceivedCharacter ReceiveCharacter() = 0;
    /// The bytes that wait now, without the alarm letters; waits for none. What waits before a command goes out belongs
    /// to an earlier one.
    virtual std::string TakeLateBytes() = 0;
    virtual void Transmit(std::string_view text) = 0;

    /// The port's time-out triple: total constant, per-character multiplier, interval, in milliseconds. Unchanged where
    /// the line has none.
    virtual void GetReadTimeouts(std::int32_t& total, std::int32_t& multiplier, std::int32_t& interval) = 0;
};

}  // namespace kestrane
