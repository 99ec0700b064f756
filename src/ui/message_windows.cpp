#include "ui/message_windows.h"

#include <algorithm>
#include <utility>

namespace kestrane {

MessageWindows::MessageWindows(frmMessage& message, frmAskMessage& question, Modal& modal)
    : message_(message), question_(question), modal_(modal) {
    message_.btnOK.OnClick([this] { message_.Hide(); });
    message_.OnHide([this] { OnRead(); });
    message_.OnUnload([this] { unread_.clear(); });
    question_.btnOK.OnClick([this] { Accept(); });
    question_.btnCancel.OnClick([this] { question_.Hide(); });
}

void MessageWindows::Show(std::string_view text, std::string_view title) {
    const Message message{std::string(text), std::string(title)};
    const bool waits = std::ranges::find(unread_, message) != unread_.end();
    if (message_.HasView() && !waits && unread_.size() <= kMostWaiting) {
        unread_.push_back(message);
        ShowFirst();
    }
}

void MessageWindows::ShowFirst() {
    message_.Caption(unread_.front().title);
    message_.lblMessage.Text(unread_.front().text);
    message_.Show();
    message_.ToFront();
}

/// Also where a view closed the window without the button.
void MessageWindows::OnRead() {
    if (!unread_.empty()) {
        unread_.pop_front();
    }
    if (!unread_.empty()) {
        ShowFirst();
    }
}

/// A press that comes late, from a view that still shows the window, answers nothing.
void MessageWindows::Accept() {
    if (!question_.Visible()) {
        return;
    }
    question_.UserPressedOK = true;
    question_.Hide();
    if (const auto accepted = std::exchange(accepted_, nullptr)) {
        accepted();
    }
}

MessageAnswer MessageWindows::Ask(std::string_view text, std::string_view title,
                                  const std::function<void()>& accepted) {
    if (question_.IsInUse()) {
        return MessageAnswer::Cancel;
    }
    question_.UserPressedOK = false;
    accepted_ = accepted;
    question_.Caption(title);
    question_.lblMessage.Text(text);
    modal_.ShowModal(question_);
    question_.Unload();
    accepted_ = nullptr;
    return question_.UserPressedOK ? MessageAnswer::Ok : MessageAnswer::Cancel;
}

}  // namespace kestrane
