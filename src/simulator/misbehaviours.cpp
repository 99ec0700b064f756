#include "simulator/misbehaviours.h"

#include <algorithm>
#include <cassert>
#include <utility>
#include <vector>

namespace kestrane {
namespace {

void Delay(SimulatedReply& reply, std::int32_t milliseconds) {
    if (!reply.parts.empty()) {
        reply.parts.front().delayMs += milliseconds;
    }
}

void Cut(SimulatedReply& reply, std::size_t keep) {
    for (SimulatedReply::Part& part : reply.parts) {
        part.bytes.resize(std::min(part.bytes.size(), keep));
        keep -= part.bytes.size();
    }
}

void Double(SimulatedReply& reply) {
    const std::vector<SimulatedReply::Part> again = reply.parts;
    reply.parts.insert(reply.parts.end(), again.begin(), again.end());
}

void Corrupt(SimulatedReply& reply, std::size_t position, char wrong) {
    for (SimulatedReply::Part& part : reply.parts) {
        if (!part.bytes.empty() && (position < part.bytes.size() || &part == &reply.parts.back())) {
            part.bytes[std::min(position, part.bytes.size() - 1)] = wrong;
            return;
        }
        position -= part.bytes.size();
    }
}

void Alarm(SimulatedReply& reply, char letter) {
    if (!reply.parts.empty()) {
        reply.parts.front().bytes.insert(0, 1, letter);
    }
}

std::size_t Length(const SimulatedReply& reply) {
    std::size_t length = 0;
    for (const SimulatedReply::Part& part : reply.parts) {
        length += part.bytes.size();
    }
    return length;
}

}  // namespace

ReplyMisbehaviour::ReplyMisbehaviour(std::string_view command, int times) : command_(command), timesLeft_(times) {
    assert(times >= 0);
}

void ReplyMisbehaviour::Change(SimulatedReply& reply) {
    const bool meant = command_.empty() || command_ == reply.name || command_ == reply.command;
    if (timesLeft_ == 0 || !meant) {
        return;
    }
    timesLeft_ -= timesLeft_ == kEveryTime ? 0 : 1;
    Strike(reply);
}

DropsReply::DropsReply(std::string_view command, int times) : ReplyMisbehaviour(command, times) {}
void DropsReply::Strike(SimulatedReply& reply) {
    reply.parts.clear();
}

AnswersLate::AnswersLate(std::string_view command, std::int32_t milliseconds, int times)
    : ReplyMisbehaviour(command, times), milliseconds_(milliseconds) {}
void AnswersLate::Strike(SimulatedReply& reply) {
    Delay(reply, milliseconds_);
}

CutsReply::CutsReply(std::string_view command, std::size_t keep, int times)
    : ReplyMisbehaviour(command, times), keep_(keep) {}
void CutsReply::Strike(SimulatedReply& reply) {
    Cut(reply, keep_);
}

DoublesReply::DoublesReply(std::string_view command, int times) : ReplyMisbehaviour(command, times) {}
void DoublesReply::Strike(SimulatedReply& reply) {
    Double(reply);
}

CorruptsReply::CorruptsReply(std::string_view command, int times, std::size_t position, char wrong)
    : ReplyMisbehaviour(command, times), position_(position), wrong_(wrong) {}
void CorruptsReply::Strike(SimulatedReply& reply) {
    Corrupt(reply, position_, wrong_);
}

InsertsAlarm::InsertsAlarm(char letter, std::string_view command, int times)
    : ReplyMisbehaviour(command, times), letter_(letter) {}
void InsertsAlarm::Strike(SimulatedReply& reply) {
    Alarm(reply, letter_);
}

RandomStorm::RandomStorm(std::uint32_t seed, double probability) : random_(seed), probability_(probability) {
    assert(probability >= 0 && probability <= 1);
}

void RandomStorm::Change(SimulatedReply& reply) {
    if (static_cast<double>(random_()) >= probability_ * 4294967296.0 || Length(reply) == 0) {
        return;
    }
    ++strikes_;
    const auto length = static_cast<std::uint32_t>(Length(reply));
    switch (Below(6)) {
        case 0:
            reply.parts.clear();
            break;
        case 1:
            Delay(reply, static_cast<std::int32_t>(Below(3000)) + 1);
            break;
        case 2:
            Cut(reply, Below(length));
            break;
        case 3:
            Double(reply);
            break;
        case 4:
            Corrupt(reply, Below(length), static_cast<char>(Below(256)));
            break;
        default:
            Alarm(reply, static_cast<char>('X' + static_cast<int>(Below(3))));
            break;
    }
}

}  // namespace kestrane
