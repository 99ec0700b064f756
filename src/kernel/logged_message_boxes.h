#pragma once

#include "kernel/base/log.h"
#include "platform/system_services.h"
#include "ui/message_windows.h"

namespace kestrane {

/// Message boxes that also reach the log: a critical one as an error, the others at Info. Those of the time without a
/// log are in the next one. Once there are windows, the views show them too. Logic thread only.
class LoggedMessageBoxes final : public MessageBoxes {
public:
    /// Both must outlive it.
    LoggedMessageBoxes(MessageBoxes& boxes, Log& log) : boxes_(boxes), log_(log) {}

    /// From now on `windows`, which must outlive it, shows the boxes too, and asks where a view shows them.
    void ShowIn(MessageWindows& windows) { windows_ = &windows; }

    MessageAnswer Show(std::string_view text, std::string_view title, MessageIcon icon) override {
        log_.LogTrouble("MessageBox", icon == MessageIcon::Critical ? LogLevel::Error : LogLevel::Info, text);
        if (windows_) {
            windows_->Show(text, title);
        }
        return boxes_.Show(text, title, icon);
    }
    MessageAnswer Ask(std::string_view text, std::string_view title, const std::function<void()>& accepted) override {
        log_.LogTrouble("MessageBox", LogLevel::Info, text);
        return windows_ && windows_->CanAsk() ? windows_->Ask(text, title, accepted)
                                              : boxes_.Ask(text, title, accepted);
    }
    void Mention(std::string_view line) override { boxes_.Mention(line); }

private:
    MessageBoxes& boxes_;
    Log& log_;
    MessageWindows* windows_ = nullptr;
};

}  // namespace kestrane
