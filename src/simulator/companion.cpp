#include "simulator/companion.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <utility>

#include "simulator/mount_exchange.h"
#include "simulator/protocol_text.h"

namespace kestrane {
namespace {

using simulator::Framed;

constexpr std::string_view kHead = "QUAY,";
constexpr std::string_view kRestPath = "/api/mount/sendcmd";
constexpr std::int32_t kLongestReplyMs = 2000;  // of the mount, after which it is taken as it is
constexpr std::size_t kAll = std::numeric_limits<std::size_t>::max();

/// The two numbers of "1.5,-20".
std::optional<std::pair<double, double>> Pair(std::string_view text) {
    const std::size_t comma = text.find(',');
    if (comma == std::string_view::npos) {
        return std::nullopt;
    }
    const auto first = simulator::ParseNumber(text.substr(0, comma));
    const auto second = simulator::ParseNumber(text.substr(comma + 1));
    return first && second ? std::optional(std::pair(*first, *second)) : std::nullopt;
}

/// Altitude and azimuth of a fixed place, degrees: a little off the cardinal points and above the horizon.
std::optional<std::pair<double, double>> FixedPlace(int number, double latitude) {
    constexpr double kOff = 10.0 / 3600.0;
    const bool south = latitude < 0;
    switch (number) {
        case 1:
            return std::pair(kOff, south ? 180 + kOff : 360 - kOff);
        case 2:
            return std::pair(kOff, south ? 90 - kOff : 90 + kOff);
        case 3:
            return std::pair(std::abs(latitude), south ? 180 - kOff : 360 - kOff);
        case 4:
            return std::pair(kOff, south ? 360 - kOff : 180 + kOff);
        case 5:
            return std::pair(kOff, south ? 180 - kOff : kOff);
        default:
            return std::nullopt;
    }
}

bool IsStop(std::string_view command) {
    return command.starts_with('Q') && command.size() <= 2;
}

bool IsOwn(std::string_view command) {
    return command == "QUAY" || command.starts_with('*') || command.starts_with("ZZ0");
}

struct Unwrap {
    std::optional<std::string> number;  ///< none without a wrap
    std::string body;
};

Unwrap Unwrapped(const std::string& command) {
    if (!command.starts_with(kHead)) {
        return {std::nullopt, command};
    }
    const std::string rest = command.substr(kHead.size());
    const std::size_t comma = rest.find(',');
    return {rest.substr(0, comma), comma == std::string::npos ? "" : rest.substr(comma + 1)};
}

// The text of a JSON literal that begins after its quote; nothing when it does not end.
std::optional<std::string> JsonText(std::string_view text) {
    std::string value;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] == '"') {
            return value;
        }
        if (text[at] != '\\') {
            value += text[at];
            continue;
        }
        ++at;
        const char escape = at < text.size() ? text[at] : '\0';
        if (escape == 'u') {
            unsigned code = 0;
            const std::string digits(text.substr(at + 1, 4));
            if (std::sscanf(digits.c_str(), "%4x", &code) != 1 || code > 0xff) {
                return std::nullopt;
            }
            value += static_cast<char>(code);
            at += 4;
        } else {
            value += escape;
        }
    }
    return std::nullopt;
}

std::optional<std::string> CommandOf(std::string_view body) {
    constexpr std::string_view kBlanks = " \t\r\n";
    constexpr std::string_view kKey = "\"Command\"";
    const std::size_t key = body.find(kKey);
    if (key == std::string_view::npos) {
        return std::nullopt;
    }
    const std::size_t colon = body.find_first_not_of(kBlanks, key + kKey.size());
    if (colon == std::string_view::npos || body[colon] != ':') {
        return std::nullopt;
    }
    const std::size_t quote = body.find_first_not_of(kBlanks, colon + 1);
    if (quote == std::string_view::npos || body[quote] != '"') {
        return std::nullopt;
    }
    return JsonText(body.substr(quote + 1));
}

std::string RestBody(std::string_view response, std::string_view result, bool success) {
    std::string escaped;
    for (const char byte : response) {
        if (byte == '"' || byte == '\\') {
            escaped += '\\';
            escaped += byte;
        } else if (static_cast<unsigned char>(byte) < 0x20) {
            std::array<char, 8> digits{};
            std::snprintf(digits.data(), digits.size(), "\\u%04x", static_cast<unsigned>(byte));
            escaped += digits.data();
        } else {
            escaped += byte;
        }
    }
    return "{\"ResponseString\": \"" + escaped + "\", \"Result\": \"" + std::string(result) +
           "\", \"Success\": " + (success ? "true" : "false") + "}";
}

std::string DateText(const DateTime& date) {
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%02d/%02d/%02d", date.month, date.day, date.year % 100);
    return text.data();
}

std::string TimeText(const DateTime& time) {
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%02d:%02d:%02d", time.hour, time.minute, time.second);
    return text.data();
}

}  // namespace

void SimulatedCompanion::Write(std::string_view bytes) {
    Advance();
    if (fault_ == Fault::Gone) {
        return;
    }
    for (const char byte : bytes) {
        if (const auto command = parser_.Feed(byte)) {
            Take(*command);
        }
    }
}

std::string SimulatedCompanion::Read(std::size_t maxCount) {
    Advance();
    const std::string bytes = out_.substr(0, maxCount);
    out_.erase(0, bytes.size());
    return bytes;
}

std::optional<std::int32_t> SimulatedCompanion::NextByteIn() {
    Advance();
    if (!out_.empty()) {
        return 0;
    }
    const std::optional<std::int32_t> next = mount_.NextByteIn();
    return next && fault_ != Fault::Gone ? std::optional(std::max(*next, 1)) : std::nullopt;
}

WebAnswer SimulatedCompanion::Post(std::string_view target, std::string_view body, std::int32_t limitMs) {
    if (fault_ == Fault::Gone) {
        return {.outcome = WebAnswer::Outcome::NoConnection, .status = 0, .body = {}};
    }
    const std::optional<std::string> command = CommandOf(body);
    if (target != kRestPath || !command) {
        const bool isPath = target == kRestPath;
        return {.outcome = WebAnswer::Outcome::Reply,
                .status = isPath ? 400U : 404U,
                .body = RestBody("", isPath ? "no command" : "no such path", false)};
    }
    const Tick start = clock_.GetTickCount();
    Write(*command);
    while (IsBusy() || fault_ == Fault::Silent) {
        const std::int32_t left = limitMs - (clock_.GetTickCount() - start);
        if (left <= 0) {
            return {.outcome = WebAnswer::Outcome::NoReply, .status = 0, .body = {}};
        }
        clock_.Sleep(std::clamp(mount_.NextByteIn().value_or(left), 1, left));
    }
    return {.outcome = WebAnswer::Outcome::Reply, .status = 200, .body = RestBody(Read(kAll), "OK", true)};
}

void SimulatedCompanion::SetFault(Fault fault) {
    Advance();
    fault_ = fault;
    if (fault == Fault::Gone) {
        work_.reset();
        waiting_.clear();
        out_.clear();
        parser_.Reset();
        planned_.reset();
        parking_ = false;
    }
}

void SimulatedCompanion::SetLag(int lag, int times, bool rightOneFollows) {
    lag_ = lag;
    lagTimes_ = lag != 0 ? times : 0;
    rightOneFollows_ = rightOneFollows;
}

void SimulatedCompanion::Advance() {
    for (;;) {
        const std::string heard = mount_.Read(kAll);
        const bool mountIsQuiet = !mount_.NextByteIn();
        if (work_) {
            work_->heard += heard;
            if (!mountIsQuiet && clock_.GetTickCount() - work_->since < kLongestReplyMs) {
                return;
            }
            GoOn();
            continue;
        }
        if (fault_ != Fault::Silent && fault_ != Fault::Gone) {
            out_ += heard;
        }
        if (waiting_.empty()) {
            if (planned_ && mountIsQuiet && clock_.GetTickCount() - planned_->since >= beforeGotoMs) {
                BeginPlanned();
                continue;
            }
            break;
        }
        const auto [number, body] = Unwrapped(waiting_.front());
        if (!number && !IsOwn(body)) {
            TellMount(body);
        } else if (mountIsQuiet) {
            Begin(body, number);
        } else {
            return;  // what still comes is the answer to a command that went through
        }
        waiting_.pop_front();
    }
    FollowPark();
}

void SimulatedCompanion::Take(const std::string& command) {
    commands_.push_back(command);
    if (IsStop(command)) {
        TellMount(command);
    } else {
        waiting_.push_back(command);
        Advance();
    }
}

void SimulatedCompanion::TellMount(std::string_view command) {
    if (command == "Q" || command == "MS" || command == "KA" || command == "PO") {
        planned_.reset();
        parking_ = false;
    }
    mount_.Write(Framed(command));
}

void SimulatedCompanion::Begin(std::string_view body, const std::optional<std::string>& number) {
    Work work{.echo = std::string(body.substr(0, body.find(','))), .number = number};
    work.passesThrough = !IsOwn(body);
    if (work.passesThrough) {
        TellMount(body);
    } else {
        CarryOut(body, work);
    }
    work.since = clock_.GetTickCount();
    work_ = std::move(work);
    SaySteps();
}

void SimulatedCompanion::CarryOut(std::string_view body, Work& work) {
    const std::size_t comma = body.find(',');
    const std::string_view argument = comma == std::string_view::npos ? "" : body.substr(comma + 1);
    const auto move = [&](bool parks) {
        work.parksAfter = parks;
        if (!work.steps.empty()) {
            parking_ = false;
            planned_.reset();
            Plan(work);
        }
    };
    const auto change = [&](bool& value) {
        value = argument.empty() ? value : argument == "1";
        work.good = value ? "1" : "0";
    };
    work.good = "1";
    if (work.echo == "QUAY") {
        work.end = "";
    } else if (work.echo == "*SLEW") {
        Slew(argument, work);
        move(false);
    } else if (work.echo == "*SLEWALTAZ") {
        SlewAltAz(Pair(argument), work);
        move(false);
    } else if (work.echo == "*PARK") {
        Park(argument, work);
        move(argument != "0");
    } else if (work.echo == "*PARKALTAZ") {
        SlewAltAz(Pair(argument), work);
        move(true);
    } else if (work.echo == "*DISABLESAFESLEW") {
        safeSlewDisabled = argument == "1";
    } else if (work.echo == "*DOESREFRACTION") {
        work.good = doesRefraction ? "1,1" : "1,0";
    } else if (work.echo == "*TIMESYNC") {
        TimeSync(argument, work);
    } else if (work.echo == "ZZ00") {
        pointingText = argument;
        work.isAnswered = false;
    } else if (work.echo == "ZZ01") {
        change(pointingCorrection);
    } else if (work.echo == "ZZ02") {
        change(trackingCorrection);
    } else {
        work.good = "0";
    }
}

void SimulatedCompanion::Slew(std::string_view coordinates, Work& work) {
    const auto place = Pair(coordinates);
    if (!place) {
        work.good = work.bad;
        return;
    }
    work.steps = {{Framed("Sr" + simulator::HoursText(place->first, 2)), "1"},
                  {Framed("Sd" + simulator::SignedDegreesText(place->second, 1)), "1"},
                  {Framed("MS"), "0"}};
}

void SimulatedCompanion::SlewAltAz(std::optional<std::pair<double, double>> place, Work& work) {
    if (!place) {
        work.good = work.bad;
        return;
    }
    work.steps = {{Framed("Sa" + simulator::SignedDegreesText(place->first, 1)), "1"},
                  {Framed("Sz" + simulator::CircleText(place->second, 1)), "1"},
                  {Framed("MS"), "0"}};
}

void SimulatedCompanion::Park(std::string_view number, Work& work) {
    if (number == "0") {
        work.steps = {{Framed("KA"), ""}};
        return;
    }
    SlewAltAz(FixedPlace(simulator::ParseInteger(number).value_or(0), mount_.Picture().latitude), work);
}

void SimulatedCompanion::TimeSync(std::string_view argument, Work& work) {
    work.good = "11";
    work.bad = "00";
    if (argument == "0") {
        return;
    }
    ++timeSyncs_;
    const DateTime now = clock_.GetLocalTime();
    work.steps = {{Framed("SG" + simulator::OffsetText(clock_.TimeZoneOffset())), "1"},
                  {Framed("SL" + TimeText(now)), "1"},
                  {Framed("SC" + DateText(now)), "#"}};
}

void SimulatedCompanion::Plan(Work& work) {
    if (beforeGotoMs <= 0) {
        return;
    }
    planned_ = Work{.echo = work.echo,
                    .steps = std::exchange(work.steps, {}),
                    .parksAfter = std::exchange(work.parksAfter, false),
                    .good = work.good,
                    .isAnswered = false,
                    .since = clock_.GetTickCount()};
}

void SimulatedCompanion::BeginPlanned() {
    work_ = std::exchange(planned_, std::nullopt);
    SaySteps();
}

void SimulatedCompanion::SaySteps() {
    if (!work_->steps.empty()) {
        work_->since = clock_.GetTickCount();
        mount_.Write(work_->steps.front().bytes);
    }
}

void SimulatedCompanion::GoOn() {
    Work& work = *work_;
    if (work.passesThrough) {
        Finish(work.heard.ends_with('#') ? work.heard.substr(0, work.heard.size() - 1) : work.heard);
        return;
    }
    if (!work.steps.empty()) {
        const bool isGood = std::exchange(work.heard, {}).ends_with(work.steps.front().wanted);
        work.steps.pop_front();
        if (!isGood) {
            Finish(work.bad);
            return;
        }
    }
    if (!work.steps.empty()) {
        SaySteps();
        return;
    }
    parking_ = parking_ || (work.parksAfter && work.good != work.bad);
    Finish(work.good);
}

void SimulatedCompanion::Finish(const std::string& result) {
    if (fault_ != Fault::Silent) {
        Answer(*work_, result);
    }
    if (work_->number || work_->isAnswered) {
        echoBefore_ = work_->echo;
        resultBefore_ = result;
    }
    work_.reset();
}

void SimulatedCompanion::Answer(const Work& work, const std::string& result) {
    if (!work.number) {
        out_ += work.isAnswered ? result + work.end : "";
        return;
    }
    if (fault_ == Fault::Foreign) {
        out_ += result + "#";
        return;
    }
    const auto wrapped = [](const std::string& echo, const std::string& number, const std::string& text) {
        return std::string(kHead) + echo + "," + number + "," + text + "#";
    };
    const bool lags = lagTimes_ > 0;
    if (lags) {
        lagTimes_ -= lagTimes_ == kEveryTime ? 0 : 1;
        const std::string number = std::to_string(std::strtol(work.number->c_str(), nullptr, 10) - lag_);
        out_ += lag_ > 0 ? wrapped(echoBefore_, number, resultBefore_) : wrapped(work.echo, number, result);
    }
    if (!lags || rightOneFollows_) {
        out_ += wrapped(work.echo, *work.number, result);
    }
}

void SimulatedCompanion::FollowPark() {
    const Tick now = clock_.GetTickCount();
    if (!parking_ || mount_.Picture().slewing) {
        movedAt_ = now;
    } else if (now - movedAt_ >= beforeParkedMs) {
        TellMount("KA");
    }
}

bool SimulatedCompanion::IsBusy() {
    Advance();
    return work_ || !waiting_.empty() || mount_.NextByteIn();
}

}  // namespace kestrane
