#include "link/companion_wrap.h"

namespace kestrane {
namespace {

constexpr std::string_view kHead = "QUAY,";

/// Removes the part of `text` up to the first comma, and the comma, and gives that part in `field`; false, with both
/// unchanged, when there is no comma.
bool TakeField(std::string_view& text, std::string_view& field) {
    const std::size_t comma = text.find(',');
    if (comma == std::string_view::npos) {
        return false;
    }
    field = text.substr(0, comma);
    text.remove_prefix(comma + 1);
    return true;
}

}  // namespace

std::string WrapForCompanion(std::string_view command, std::int32_t sequence) {
    return ":" + std::string(kHead) + std::to_string(sequence) + "," + std::string(command) + "#";
}

std::string WrapRawForCompanion(std::string_view command, std::int32_t sequence) {
    if (command.starts_with(':')) {
        command.remove_prefix(1);
    }
    if (command.size() >= 2 && command[command.size() - 2] == '#') {
        command.remove_suffix(1);
    }
    return WrapForCompanion(command, sequence);
}

CompanionReply SplitCompanionReply(std::string_view reply) {
    CompanionReply parts;
    if (reply.starts_with(kHead)) {
        parts.fromCompanion = true;
        reply.remove_prefix(kHead.size());
        std::string_view field;
        TakeField(reply, field);
        parts.hasNumber = TakeField(reply, field);
        if (parts.hasNumber) {
            parts.number = field;
        }
    }
    parts.result = reply;
    return parts;
}

std::vector<std::string> CutAtCompanionHeads(std::string_view text) {
    std::vector<std::string> parts;
    std::size_t start = 0;
    for (std::size_t head = text.find(kHead); head != std::string_view::npos; head = text.find(kHead, head + 1)) {
        parts.emplace_back(text.substr(start, head - start));
        start = head;
    }
    parts.emplace_back(text.substr(start));
    return parts;
}

}  // namespace kestrane
