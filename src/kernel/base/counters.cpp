#include "kernel/base/counters.h"

#include <limits>

namespace kestrane {

void Counters::CountRetransmit() {
    Count(&CounterState::g_nRetransmits, "Retransmits: ", LogLevel::Warning);
}

void Counters::CountReceiveCountedError() {
    Count(&CounterState::g_nReceiveCountedErrors, "RECEIVE COUNTED ERRORS: ", LogLevel::Error);
}

void Counters::CountReceiveTerminatedError() {
    Count(&CounterState::g_nReceiveTerminatedErrors, "RECEIVE TERMINATED ERRORS: ", LogLevel::Error);
}

void Counters::CountMotorStall() {
    Count(&CounterState::g_nMotorStalls, "MOTOR STALL DETECTEDS: ", LogLevel::Error);
}

void Counters::CountServoFault() {
    Count(&CounterState::g_nServoFaults, "SERVO FAULT DETECTEDS: ", LogLevel::Error);
}

void Counters::CountLowPower() {
    Count(&CounterState::g_nLowPower, "LOW POWER DETECTEDS: ", LogLevel::Error);
}

void Counters::Count(std::int32_t CounterState::*counter, std::string_view text, LogLevel level) {
    std::int32_t& value = state_.*counter;
    if (value < std::numeric_limits<std::int32_t>::max()) {
        ++value;
    }
    log_.LogMessage("Telescope", level, std::string(text) + std::to_string(value));
    if (view_ != nullptr) {
        view_->UpdateErrorCounts();
    }
}

std::string AlarmFilter::FilterAlarms(std::string& reply) {
    const auto takeOut = [&reply](char letter) {
        const std::size_t at = reply.find(letter);
        if (at == std::string::npos) {
            return false;
        }
        reply = RemoveChar(reply, at + 1);
        return true;
    };
    if (takeOut('X')) {
        counters_.CountServoFault();
    }
    if (takeOut('Y')) {
        counters_.CountLowPower();
        if (actions_ != nullptr) {
            actions_->ShowLowPower();
        }
    }
    if (takeOut('Z')) {
        counters_.CountMotorStall();
    }
    return reply;
}

std::string RemoveChar(std::string_view text, std::size_t position) {
    if (position == 0 || position > text.size()) {
        return {};
    }
    std::string result(text);
    return result.erase(position - 1, 1);
}

}  // namespace kestrane
