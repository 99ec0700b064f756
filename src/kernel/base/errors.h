#pragma once

#include <cstdint>
#include <deque>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace kestrane {

/// Source text of every error that reaches a client.
inline constexpr std::string_view kErrorSource = "ASCOM V2 Kestrane VTR Driver";

/// Error numbers that reach clients. The place that raises an error gives the words; the usual ones are in `MessageOf`.
enum class ErrorNumber : std::uint32_t {
    NotImplemented = 0x80040400,
    NoMount = 0x80040402,
    ValueNotSet = 0x80040403,
    NotConnected = 0x80040404,
    OutOfRange = 0x80040405,
    SyncTargetIncomplete = 0x80040407,
    IllegalWhileParked = 0x80040409,
    InvalidOperation = 0x8004040b,
    ActionNotImplemented = 0x8004040c,
    WrongTracking = 0x80040411,
    BelowHorizon = 0x80040412,
    BelowMinimumElevation = 0x80040413,
    SlewFailed = 0x80040414,
    MountRejectedTarget = 0x80040418,
    MountRejectedLatitude = 0x80040419,
    MountRejectedLongitude = 0x80040420,
    AstronomyMissing = 0x80040424,
    LostCommunications = 0x80040429,
    TargetIncomplete = 0x80040430,
};

/// The usual words of an error number; empty when each raising place has its own.
std::string_view MessageOf(ErrorNumber number);

/// A failure that is reported to a client: number, source and message. Procedures that run with errors ignored swallow
/// only this kind of failure.
class DriverError : public std::runtime_error {
public:
    /// With the usual words of the number and the driver's source.
    explicit DriverError(ErrorNumber number);
    DriverError(ErrorNumber number, std::string message);
    DriverError(std::uint32_t number, std::string source, std::string message);

    std::uint32_t Number() const { return number_; }
    const std::string& Source() const { return source_; }
    std::string Message() const { return what(); }

private:
    std::uint32_t number_;
    std::string source_;
};

/// A failing statement of the run-time kind: an empty terminated read, a text that is no integer where one is
/// needed, an object that is not there.
class RunTimeError : public DriverError {
public:
    static constexpr std::uint32_t kInvalidProcedureCall = 5;
    static constexpr std::uint32_t kOverflow = 6;
    static constexpr std::uint32_t kSubscriptOutOfRange = 9;
    static constexpr std::uint32_t kTypeMismatch = 13;
    static constexpr std::uint32_t kFileAccess = 75;
    static constexpr std::uint32_t kObjectNotSet = 91;
    static constexpr std::uint32_t kInvalidUseOfNull = 94;

    RunTimeError(std::uint32_t number, std::string message);
};

/// Raises `RunTimeError` 75: a file that cannot be read or written.
[[noreturn]] void RaiseFileAccess();

/// One swallowed failure: the place, and what it was.
struct SwallowedError {
    std::string procedure;
    std::uint32_t line = 0;
    std::uint32_t number = 0;
    std::string message;
};

/// Every failure that was swallowed by a procedure which runs with errors ignored, oldest first. Keeps the newest
/// `kCapacity`; tests look here for swallowed failures that nobody expected.
class SwallowLedger {
public:
    static constexpr std::size_t kCapacity = 1000;

    void Note(SwallowedError error);
    const std::deque<SwallowedError>& Entries() const { return entries_; }
    void Clear() { entries_.clear(); }

private:
    std::deque<SwallowedError> entries_;
};

/// A procedure that runs with errors ignored: a failing statement is abandoned and the next one runs, and an
/// assignment whose right side failed leaves the variable as it was. Catches `DriverError` only; a bug goes through.
///
///     ResumeNext errors{ledger_, "CreateLink"};
///     errors.Step([&] { link.ClearBuffers(); });
///     errors.Assign(reply, [&] { return link.ReceiveTerminated("#"); });
class ResumeNext {
public:
    ResumeNext(SwallowLedger& ledger, std::string_view procedure) : ledger_(ledger), procedure_(procedure) {}

    /// Runs one statement; false when it failed.
    template <typename Statement>
    bool Step(Statement&& statement, std::uint32_t line = __builtin_LINE()) {
        try {
            std::forward<Statement>(statement)();
            return true;
        } catch (const DriverError& error) {
            Swallow(error, line);
            return false;
        }
    }

    /// Assigns the value of `expression`; false, with `target` as it was, when that failed.
    template <typename Target, typename Expression>
    bool Assign(Target& target, Expression&& expression, std::uint32_t line = __builtin_LINE()) {
        return Step([&] { target = std::forward<Expression>(expression)(); }, line);
    }

    /// Whether any statement failed so far.
    bool Failed() const { return failed_; }

private:
    void Swallow(const DriverError& error, std::uint32_t line);

    SwallowLedger& ledger_;
    std::string procedure_;
    bool failed_ = false;
};

}  // namespace kestrane
