#include "forms/modal.h"

#include <string>

namespace kestrane {
namespace {

constexpr std::int32_t kRoundMs = 20;

}  // namespace

void Modal::ShowModal(Form& form, const std::function<void()>& answer) {
    if (isHeldUp_()) {
        AnswerUnasked(form, "The mount moves ahead of a park, and nothing may wait meanwhile", answer);
        return;
    }
    const bool wasAsked = form.HasPerson();
    form.IsModal(true);
    form.Show();
    while (form.Visible() && form.HasPerson()) {
        waits_.PumpForPerson();
        waits_.PauseForStops(kRoundMs);
    }
    form.IsModal(false);
    if (form.Visible()) {
        // A person who was asked and has gone has not agreed.
        AnswerUnasked(form, "No window can be shown", wasAsked ? std::function<void()>() : answer);
        form.Hide();
    }
}

void Modal::AnswerUnasked(Form& form, std::string_view why, const std::function<void()>& answer) {
    log_.LogMessage(form.Name(), LogLevel::Warning,
                    std::string(why) + (answer ? ": the question gets the answer that came with the command"
                                               : ": the question counts as cancelled"));
    if (answer) {
        answer();
    }
}

}  // namespace kestrane
