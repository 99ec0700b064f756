#include "commands/verb_replies.h"

#include <cmath>
#include <limits>

#include "kernel/base/conversions.h"
#include "kernel/base/text.h"

namespace kestrane::verbs {

std::optional<std::int32_t> WholeNumber(std::string_view text, Log& log) {
    const std::optional<double> value = PlainDecimal(text, log);
    constexpr double limit = std::numeric_limits<std::int32_t>::max();
    return value && *value >= -limit && *value <= limit && *value == std::trunc(*value)
               ? std::optional(static_cast<std::int32_t>(*value))
               : std::nullopt;
}

std::optional<bool> ZeroOrOneOf(std::string_view text, Log& log) {
    const std::optional<std::int32_t> number = WholeNumber(text, log);
    return number == 0 || number == 1 ? std::optional(number == 1) : std::nullopt;
}

void SetBox(CheckBox& box, bool checked, Persist& persist, const SettingKey& key) {
    if (box.Checked() != checked) {
        box.Checked(checked);
    } else {
        persist.Write(key, ZeroOrOne(checked));
    }
}

void SetText(TextBox& box, std::string_view text, Persist& persist, const SettingKey& key) {
    box.Text(text);
    persist.Write(key, text);
}

void Choose(ComboBox& list, std::int32_t index) {
    if (list.ListIndex() == index) {
        list.FireClick();
    } else {
        list.ListIndex(index);
    }
}

}  // namespace kestrane::verbs
