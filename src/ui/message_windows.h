#pragma once

#include <deque>
#include <functional>
#include <string>
#include <string_view>

#include "forms/frm_message.h"
#include "forms/modal.h"
#include "platform/system_services.h"

namespace kestrane {

/// The message boxes of the driver as windows, for the views that are attached. Logic thread only.
class MessageWindows final {
public:
    /// So many messages wait behind the one that is shown; what comes on top is only in the log.
    static constexpr std::size_t kMostWaiting = 20;

    MessageWindows(frmMessage& message, frmAskMessage& question, Modal& modal);

    /// Shows the message, after those that nobody has read yet; one that is waiting already is not shown twice. Returns
    /// at once: no client waits for a person who is to read something. Without a view nothing is shown.
    void Show(std::string_view text, std::string_view title);
    /// Whether a view shows questions.
    bool CanAsk() const { return question_.HasPerson(); }
    /// Waits for the answer of a person. Cancel where the last view goes, or while another question is open. See
    /// `MessageBoxes::Ask`.
    MessageAnswer Ask(std::string_view text, std::string_view title, const std::function<void()>& accepted);

private:
    struct Message {
        std::string text;
        std::string title;
        bool operator==(const Message&) const = default;
    };

    void ShowFirst();
    void OnRead();
    void Accept();

    frmMessage& message_;
    frmAskMessage& question_;
    Modal& modal_;
    std::deque<Message> unread_;      ///< the first one is shown
    std::function<void()> accepted_;  ///< of the question that is open
};

}  // namespace kestrane
