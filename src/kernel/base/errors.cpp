#include "kernel/base/errors.h"

#include <array>

namespace kestrane {
namespace {

struct MessageRow {
    ErrorNumber number;
    std::string_view message;
};

constexpr std::array kMessages{
    MessageRow{ErrorNumber::NoMount, "No mount on IP Address or COM port, or initialization failed."},
    MessageRow{ErrorNumber::NotConnected, "The scope is not connected"},
    MessageRow{ErrorNumber::OutOfRange, "The property value is out of range"},
    MessageRow{ErrorNumber::SyncTargetIncomplete,
               "The sync operation failed because target coordinates are incomplete."},
    MessageRow{ErrorNumber::IllegalWhileParked, "Illegal operation while parked"},
    MessageRow{ErrorNumber::InvalidOperation, "Invalid operation"},
    MessageRow{ErrorNumber::WrongTracking, "Wrong tracking state"},
    MessageRow{ErrorNumber::BelowHorizon, "The selected coordinates are below the horizon."},
    MessageRow{ErrorNumber::BelowMinimumElevation,
               "The selected coordinates are below the current minimum elevation setting."},
    MessageRow{ErrorNumber::SlewFailed, "The slew failed for some unknown reason."},
    MessageRow{ErrorNumber::AstronomyMissing, "Can't Load Astro32.DLL. I need this."},
    MessageRow{ErrorNumber::LostCommunications, "Lost communications with mount."},
    MessageRow{ErrorNumber::TargetIncomplete, "The slew operation failed because target coordinates are incomplete."},
};

}  // namespace

std::string_view MessageOf(ErrorNumber number) {
    for (const MessageRow& row : kMessages) {
        if (row.number == number) {
            return row.message;
        }
    }
    return {};
}

DriverError::DriverError(ErrorNumber number) : DriverError(number, std::string(MessageOf(number))) {}

DriverError::DriverError(ErrorNumber number, std::string message)
    : DriverError(static_cast<std::uint32_t>(number), std::string(kErrorSource), std::move(message)) {}

DriverError::DriverError(std::uint32_t number, std::string source, std::string message)
    : std::runtime_error(std::move(message)), number_(number), source_(std::move(source)) {}

RunTimeError::RunTimeError(std::uint32_t number, std::string message)
    : DriverError(number, std::string(kErrorSource), std::move(message)) {}

void RaiseFileAccess() {
    throw RunTimeError(RunTimeError::kFileAccess, "Path/File access error");
}

void SwallowLedger::Note(SwallowedError error) {
    if (entries_.size() >= kCapacity) {
        entries_.pop_front();
    }
    entries_.push_back(std::move(error));
}

void ResumeNext::Swallow(const DriverError& error, std::uint32_t line) {
    failed_ = true;
    ledger_.Note({procedure_, line, error.Number(), error.Message()});
}

}  // namespace kestrane
