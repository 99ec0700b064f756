#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "forms/controls.h"

/// Windows and what changes in them as JSON texts. Texts that are not UTF-8 are read as Latin-1. Logic thread only.
namespace kestrane::mirror {

/// A window with its controls, but for timers. `opening` is 0 for one that is always there.
std::string WindowJson(const Form& form, std::uint64_t opening);

/// A member of a control or of a window, as views know it, with its value as JSON text.
struct MemberText {
    std::string_view name;
    std::string json;
};

/// The member that stands for a property of a control, or of the window where `control` is null. Nothing for a property
/// that views do not have.
std::optional<MemberText> MemberOf(const Form& form, const Control* control, Property property);

/// The meaning of the colours of a control: "normal", "warning", "fault", "marked" or "face".
std::string_view LookOf(const ControlValues& values);

/// The name of the stream of a rich text.
std::string StreamName(const RichTextBox& box);

/// A message of the lines from number `from` on, at most `most`, of those that are still there; `next` becomes the
/// number after the last one. Empty when there are none.
std::string LinesJson(const RichTextBox& box, std::uint64_t from, std::size_t most, std::uint64_t& next);

}  // namespace kestrane::mirror
