#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "forms/controls.h"
#include "kernel/base/log.h"
#include "settings/persist.h"

/// What the verbs of the driver have in common: the forms of their replies and of their arguments.
namespace kestrane::verbs {

inline constexpr std::string_view kDone = "1";

inline std::string Done() {
    return std::string(kDone);
}
inline std::string Value(std::string_view value) {
    return "1," + std::string(value);
}
inline std::string Failure(std::string_view message) {
    return "0," + std::string(message);
}

/// The text as a whole number; nothing when it is none or does not fit.
std::optional<std::int32_t> WholeNumber(std::string_view text, Log& log);
/// The text as a 0 or 1; nothing for any other.
std::optional<bool> ZeroOrOneOf(std::string_view text, Log& log);

/// Ticks or unticks a box as a person does. The setting is written also where the box is that way already: another
/// program may have stored something else.
void SetBox(CheckBox& box, bool checked, Persist& persist, const SettingKey& key);
/// Writes a box as a person does, and the setting also where the box shows that text already.
void SetText(TextBox& box, std::string_view text, Persist& persist, const SettingKey& key);
/// Selects an entry as a person does, also one that is selected already.
void Choose(ComboBox& list, std::int32_t index);

}  // namespace kestrane::verbs
