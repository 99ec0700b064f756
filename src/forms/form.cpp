#include "forms/form.h"

#include <algorithm>
#include <cassert>

namespace kestrane {

namespace {

/// In the order of `Property`.
constexpr std::array<std::string_view, 18> kPropertyNames{
    "Text",    "Checked", "Enabled", "Visible",  "BackColour", "ForeColour", "ToolTip", "ListItems", "ListIndex",
    "Minimum", "Maximum", "Value",   "Appended", "Loaded",     "Front",      "Stacked", "Modal",     "Placed",
};
static_assert(kPropertyNames.size() == static_cast<std::size_t>(Property::Placed) + 1);

}  // namespace

std::string_view PropertyName(Property property) {
    return kPropertyNames[static_cast<std::size_t>(property)];
}

void Form::EnsureLoaded() {
    if (loaded_ || loadsNoMore_) {
        return;
    }
    loaded_ = true;
    for (Control* control : controls_) {
        control->FormLoaded(true);
    }
    Announce("", Property::Loaded);
    if (onLoad_) {
        onLoad_();
    }
}

void Form::Unload() {
    if (!loaded_ || unloading_) {
        return;
    }
    unloading_ = true;
    if (onUnload_) {
        onUnload_();
    }
    Hide();
    for (Control* control : controls_) {
        control->FormLoaded(false);
    }
    loaded_ = false;
    unloading_ = false;
    Announce("", Property::Loaded);
}

void Form::Visible(bool visible) {
    EnsureLoaded();
    if (loaded_ && visible_ != visible) {
        visible_ = visible;
        openings_ += visible ? 1 : 0;
        Announce("", Property::Visible);
        if (!visible && !unloading_ && onHide_) {
            onHide_();
        }
    }
}

void Form::Caption(std::string_view caption) {
    EnsureLoaded();
    if (caption_ != caption) {
        caption_ = caption;
        Announce("", Property::Text);
    }
}

void Form::IsModal(bool modal) {
    if (modal_ != modal) {
        modal_ = modal;
        Announce("", Property::Modal);
    }
}

Control* Form::Find(std::string_view name) const {
    const auto found =
        std::find_if(controls_.begin(), controls_.end(), [&](const Control* each) { return each->Name() == name; });
    return found == controls_.end() ? nullptr : *found;
}

void Form::Attach(FormView& view) {
    views_.push_back(&view);
}

void Form::Detach(FormView& view) {
    std::erase(views_, &view);
}

void Form::Add(Control& control) {
    assert(!control.Name().empty() && !Find(control.Name()) && "a name stands once in a window");
    controls_.push_back(&control);
}

void Form::Announce(std::string_view control, Property property) {
    // A view may detach itself or another view during the call.
    const std::vector<FormView*> views = views_;
    for (FormView* view : views) {
        if (std::find(views_.begin(), views_.end(), view) != views_.end()) {
            view->Changed(*this, control, property);
        }
    }
}

Control::Control(Form& form, std::string_view name, ControlKind kind) : form_(form), name_(name), kind_(kind) {
    form_.Add(*this);
}

void Control::First(std::string_view text, Shown shown) {
    values_.text = text;
    values_.visible = shown == Shown::Yes;
}

void Control::On(ControlEvent event, std::function<void()> handler) {
    handlers_[static_cast<std::size_t>(event)] = std::move(handler);
}

void Control::Fire(ControlEvent event) {
    if (values_.enabled || event == ControlEvent::MouseUp) {
        Raise(event);
    }
}

void Control::Raise(ControlEvent event) {
    // A copy, since a handler may replace itself.
    const std::function<void()> handler = handlers_[static_cast<std::size_t>(event)];
    if (handler) {
        handler();
    }
}

}  // namespace kestrane
