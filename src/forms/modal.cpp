#include "forms/modal.h"

namespace kestrane {
namespace {

constexpr std::int32_t kRoundMs = 20;

}  // namespace

void Modal::ShowModal(Form& form, const std::function<void()>& answer) {
    form.Show();
    while (form.Visible() && form.HasView()) {
        waits_.PumpForPerson();
        waits_.PauseForStops(kRoundMs);
    }
    if (!form.Visible()) {
        return;
    }
    log_.LogMessage(form.Name(), LogLevel::Warning,
                    answer ? "No window can be shown: the question gets the answer that came with the command"
                           : "No window can be shown: the question counts as cancelled");
    if (answer) {
        answer();
    }
    form.Hide();
}

}  // namespace kestrane
