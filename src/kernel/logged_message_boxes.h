#pragma once

#include "kernel/base/log.h"
#include "platform/system_services.h"

namespace kestrane {

/// Message boxes that also reach the log: a critical one as an error, the others at Info. Those of the time without a
/// log are in the next one. Logic thread only.
class LoggedMessageBoxes final : public MessageBoxes {
public:
    /// Both must outlive it.
    LoggedMessageBoxes(MessageBoxes& boxes, Log& log) : boxes_(boxes), log_(log) {}

    MessageAnswer Show(std::string_view text, std::string_view title, MessageIcon icon) override {
        log_.LogTrouble("MessageBox", icon == MessageIcon::Critical ? LogLevel::Error : LogLevel::Info, text);
        return boxes_.Show(text, title, icon);
    }
    MessageAnswer Ask(std::string_view text, std::string_view title) override {
        log_.LogTrouble("MessageBox", LogLevel::Info, text);
        return boxes_.Ask(text, title);
    }
    void Mention(std::string_view line) override { boxes_.Mention(line); }

private:
    MessageBoxes& boxes_;
    Log& log_;
};

}  // namespace kestrane
