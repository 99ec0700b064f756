#include "platform/posix/posix_message_boxes.h"

#include <iostream>
#include <utility>

namespace kestrane {

PosixMessageBoxes::PosixMessageBoxes(LogFunction log) : log_(std::move(log)) {}

MessageAnswer PosixMessageBoxes::Show(std::string_view text, std::string_view title, MessageIcon) {
    const std::string line = std::string(title) + ": " + std::string(text);
    Mention(line);
    if (log_) {
        log_(line);
    }
    return MessageAnswer::Ok;
}

void PosixMessageBoxes::Mention(std::string_view line) {
    std::cerr << line << '\n';
}

}  // namespace kestrane
