#include "process/night_log.h"

#include <algorithm>
#include <fstream>
#include <optional>
#include <regex>

namespace kestrane::process {
namespace {

/// What a line of the log says went to the mount.
struct SentText {
    std::string text;
    bool wantsReply = false;
};

std::optional<SentText> SentBy(const LogLine& line) {
    if (line.message == "CommandClear()") {
        return SentText{"#", false};
    }
    static const std::regex kSent("Command(Blind|Bool|String) TX='(.*)'");
    std::smatch parts;
    if (std::regex_match(line.message, parts, kSent)) {
        return SentText{parts[2], parts[1] != "Blind"};
    }
    static constexpr std::string_view kLight = "TX: ";  // those of the focuser stand there twice
    if (line.origin == "ASCOM" && line.message.starts_with(kLight)) {
        return SentText{line.message.substr(kLight.size()), false};
    }
    return std::nullopt;
}

}  // namespace

NightLog::NightLog(const std::filesystem::path& file) {
    std::ifstream stream(file);
    for (std::string text; std::getline(stream, text);) {
        Take(text);
    }
}

void NightLog::Take(const std::string& text) {
    static const std::regex kForm(R"((\d{6}) (?:(# .*)|(\d{4}-\d\d-\d\d) (\d\d:\d\d:\d\d\.\d{3}): (.{16,}?): )"
                                  "(Info     |Warning  |Error    |Fatal    |Exception) : (.*))");
    std::smatch parts;
    if (!std::regex_match(text, parts, kForm) || std::stoi(parts[1]) != static_cast<int>(lines_.size()) + 1) {
        malformed_.push_back(text);
        return;
    }
    if (parts[2].matched) {
        lines_.push_back({true, 0, "", "", parts[2]});
        return;
    }
    const auto withoutBlanks = [](const std::string& padded) {
        return padded.substr(0, padded.find_last_not_of(' ') + 1);
    };
    lines_.push_back({false, MillisecondOfDay(parts[4]), withoutBlanks(parts[5]), withoutBlanks(parts[6]), parts[7]});
}

std::string NightLog::SentToMount() const {
    std::string wire;
    for (const LogLine& line : lines_) {
        if (const auto sent = SentBy(line)) {
            wire += sent->text;
        }
    }
    return wire;
}

std::vector<std::string> NightLog::Unanswered() const {
    std::vector<std::string> unanswered;
    std::string open;
    for (const LogLine& line : lines_) {
        const auto sent = SentBy(line);
        if (sent && !open.empty()) {
            unanswered.push_back(open);
        }
        if (sent) {
            open = sent->wantsReply ? sent->text : "";
        } else if (line.message.find("Reply Received (TX='" + open + "'), RX='") != std::string::npos) {
            open.clear();
        }
    }
    if (!open.empty()) {
        unanswered.push_back(open);
    }
    return unanswered;
}

std::vector<std::string> NightLog::Messages(const LogMark& mark) const {
    std::vector<std::string> messages;
    for (const LogLine& line : lines_) {
        if (mark.Fits(line)) {
            messages.push_back(line.message);
        }
    }
    return messages;
}

int NightLog::TimeOf(const LogMark& mark) const {
    const auto line = std::find_if(lines_.begin(), lines_.end(), [&](const LogLine& any) { return mark.Fits(any); });
    return line == lines_.end() ? -1 : line->time;
}

std::string NightLog::FirstMissing(const std::vector<LogMark>& marks) const {
    auto line = lines_.begin();
    for (const LogMark& mark : marks) {
        line = std::find_if(line, lines_.end(), [&](const LogLine& next) { return mark.Fits(next); });
        if (line == lines_.end()) {
            return std::string(mark.origin) + ": " + std::string(mark.message);
        }
        ++line;
    }
    return {};
}

int MillisecondOfDay(const std::string& time) {
    const auto part = [&](std::size_t from, std::size_t count) { return std::stoi(time.substr(from, count)); };
    return ((part(0, 2) * 60 + part(3, 2)) * 60 + part(6, 2)) * 1000 + part(9, 3);
}

std::vector<std::string> CommandsIn(std::string_view wire) {
    std::vector<std::string> commands;
    while (!wire.empty()) {
        const std::size_t length = std::min(wire.find('#'), wire.size() - 1) + 1;
        commands.emplace_back(wire.substr(0, length));
        wire.remove_prefix(length);
    }
    return commands;
}

}  // namespace kestrane::process
