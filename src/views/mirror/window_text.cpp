#include "views/mirror/window_text.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <span>
#include <vector>

#include "kernel/base/json_text.h"
#include "ui/colours.h"

namespace kestrane::mirror {
namespace {

std::string Member(std::string_view name, const std::string& json) {
    return JsonOf(name) + ":" + json;
}

std::string_view KindName(ControlKind kind) {
    constexpr std::array<std::string_view, 13> kNames{
        "Label",     "Button", "TextBox",    "CheckBox", "OptionButton", "ComboBox", "ListView",
        "ScrollBar", "Frame",  "PictureBox", "Menu",     "RichTextBox",  "Timer"};
    static_assert(kNames.size() == static_cast<std::size_t>(ControlKind::Timer) + 1);
    return kNames[static_cast<std::size_t>(kind)];
}

std::string_view PressName(Pressing pressing) {
    switch (pressing) {
        case Pressing::Stops:
            return "stop";
        case Pressing::Held:
        case Pressing::HeldStops:
            return "held";
        case Pressing::Once:
            break;
    }
    return "once";
}

bool HasText(ControlKind kind) {
    return kind != ControlKind::ComboBox && kind != ControlKind::ListView && kind != ControlKind::ScrollBar &&
           kind != ControlKind::RichTextBox;
}

bool HasTick(ControlKind kind) {
    return kind == ControlKind::CheckBox || kind == ControlKind::OptionButton || kind == ControlKind::Menu;
}

bool IsList(ControlKind kind) {
    return kind == ControlKind::ComboBox || kind == ControlKind::ListView;
}

/// The properties that make up a control of a kind, in the order in which a view gets them.
std::vector<Property> PropertiesOf(ControlKind kind) {
    std::vector<Property> all{Property::Enabled, Property::Visible, Property::BackColour, Property::ToolTip};
    if (HasText(kind)) {
        all.push_back(Property::Text);
    }
    if (HasTick(kind)) {
        all.push_back(Property::Checked);
    }
    if (IsList(kind)) {
        all.insert(all.end(), {Property::ListItems, Property::ListIndex});
    }
    if (kind == ControlKind::ScrollBar) {
        all.insert(all.end(), {Property::Minimum, Property::Maximum, Property::Value});
    }
    if (kind == ControlKind::Button) {
        all.push_back(Property::Value);
    }
    return all;
}

std::string PlaceJson(const Corner& corner) {
    return "[" + std::to_string(corner.left) + "," + std::to_string(corner.top) + "]";
}

std::optional<MemberText> MemberOfWindow(const Form& form, Property property) {
    switch (property) {
        case Property::Text:
            return MemberText{"caption", JsonOf(form.Caption())};
        case Property::Visible:
            return MemberText{"visible", JsonOf(form.Visible())};
        case Property::Modal:
            return MemberText{"modal", JsonOf(form.IsModal())};
        case Property::Stacked:
            return MemberText{"onTop", JsonOf(form.AlwaysOnTop())};
        case Property::Front:
            return MemberText{"front", JsonOf(true)};
        case Property::Placed:
            return form.Place() ? std::optional(MemberText{"place", PlaceJson(*form.Place())}) : std::nullopt;
        default:
            return std::nullopt;
    }
}

std::string MembersJson(const Form& form, const Control* control, std::span<const Property> properties) {
    std::string json;
    for (const Property property : properties) {
        if (const std::optional<MemberText> member = MemberOf(form, control, property)) {
            json += "," + Member(member->name, member->json);
        }
    }
    return json;
}

/// What a press of a text or a picture is for; empty where it is only looked at.
std::string_view ActsOn(const Control& control) {
    const bool isPressed = control.Kind() == ControlKind::Label || control.Kind() == ControlKind::PictureBox;
    if (isPressed && control.Hears(ControlEvent::Click)) {
        return "click";
    }
    return isPressed && control.Hears(ControlEvent::DblClick) ? "dblclick" : "";
}

std::string ControlJson(const Control& control) {
    const ControlKind kind = control.Kind();
    std::string json = "{" + Member("name", JsonOf(control.Name())) + "," + Member("kind", JsonOf(KindName(kind))) +
                       MembersJson(control.Parent(), &control, PropertiesOf(kind));
    if (kind == ControlKind::OptionButton) {
        json += "," + Member("group", JsonOf(static_cast<const OptionButton&>(control).Group()));
    }
    if (kind == ControlKind::Button) {
        json += "," + Member("press", JsonOf(PressName(static_cast<const Button&>(control).Pressing())));
    }
    if (const std::string_view acts = ActsOn(control); !acts.empty()) {
        json += "," + Member("acts", JsonOf(acts));
    }
    return json + "}";
}

std::string ColourText(std::int32_t colour) {
    const auto part = [colour](unsigned shift) { return (static_cast<std::uint32_t>(colour) >> shift) & 0xFFU; };
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "#%02x%02x%02x", part(0), part(8), part(16));
    return text.data();
}

}  // namespace

std::string_view LookOf(const ControlValues& values) {
    if (values.backColour == kFaultColours.back) {
        return values.foreColour == kFaultColours.fore ? "fault" : "marked";
    }
    if (values.backColour == kWarningColours.back) {
        return "warning";
    }
    return values.backColour == kButtonFaceColour ? "face" : "normal";
}

std::string WindowJson(const Form& form, std::uint64_t opening) {
    constexpr std::array kOfAWindow{Property::Text, Property::Visible, Property::Modal, Property::Stacked,
                                    Property::Placed};
    std::string controls;
    for (const Control* control : form.Controls()) {
        if (control->Kind() != ControlKind::Timer) {
            controls += (controls.empty() ? "" : ",") + ControlJson(*control);
        }
    }
    return "{" + Member("name", JsonOf(form.Name())) + "," + Member("opening", JsonOf(opening)) +
           MembersJson(form, nullptr, kOfAWindow) + "," + Member("controls", "[" + controls + "]") + "}";
}

std::optional<MemberText> MemberOf(const Form& form, const Control* control, Property property) {
    if (!control) {
        return MemberOfWindow(form, property);
    }
    if (control->Kind() == ControlKind::Timer) {
        return std::nullopt;
    }
    const ControlValues& values = control->Values();
    switch (property) {
        case Property::Text:
            return HasText(control->Kind()) ? std::optional(MemberText{"text", JsonOf(values.text)}) : std::nullopt;
        case Property::Checked:
            return MemberText{"checked", JsonOf(values.checked)};
        case Property::Enabled:
            return MemberText{"enabled", JsonOf(values.enabled)};
        case Property::Visible:
            return MemberText{"visible", JsonOf(values.visible)};
        case Property::BackColour:
        case Property::ForeColour:
            return MemberText{"look", JsonOf(LookOf(values))};
        case Property::ToolTip:
            return MemberText{"tip", JsonOf(values.toolTip)};
        case Property::ListItems:
            return MemberText{"items", JsonList(values.listItems)};
        case Property::ListIndex:
            return MemberText{"index", JsonOf(values.listIndex)};
        case Property::Minimum:
            return MemberText{"minimum", JsonOf(values.minimum)};
        case Property::Maximum:
            return MemberText{"maximum", JsonOf(values.maximum)};
        case Property::Value:
            return MemberText{control->Kind() == ControlKind::Button ? "cell" : "value", JsonOf(values.value)};
        default:
            return std::nullopt;
    }
}

std::string StreamName(const RichTextBox& box) {
    return box.Parent().Name() + "." + box.Name();
}

std::string LinesJson(const RichTextBox& box, std::uint64_t from, std::size_t most, std::uint64_t& next) {
    const std::deque<RichTextBox::Piece>& pieces = box.Pieces();
    const std::uint64_t first = box.LastNumber() - pieces.size() + 1;
    const std::uint64_t begin = std::max(from, first);
    if (begin > box.LastNumber()) {
        return {};
    }
    const std::uint64_t end = std::min(box.LastNumber() + 1, begin + most);
    std::string lines;
    for (std::uint64_t number = begin; number < end; ++number) {
        const RichTextBox::Piece& piece = pieces[static_cast<std::size_t>(number - first)];
        lines += (lines.empty() ? "[" : ",[") + JsonOf(piece.text) + "," + JsonOf(ColourText(piece.colour)) + "]";
    }
    next = end;
    return R"({"type":"lines",)" + Member("stream", JsonOf(StreamName(box))) + "," + Member("first", JsonOf(begin)) +
           "," + Member("lines", "[" + lines + "]") + "}";
}

}  // namespace kestrane::mirror
