#include "storms/person.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string_view>

namespace kestrane {
namespace {

constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();
constexpr std::array kTexts{"",    "0",    "10",  "-5",  "abc", "30.5",     "30,5", "1e9", " 7 ",
                            "359", "-0 1", "120", "2.5", "45",  "12:30:00", "99",   "1",   "Home"};
constexpr std::array kAltitudes{"10", "30.5", "45", "60"};  // degrees

/// A place that the mount refuses would leave the poll off the line after an unpark, which is meant to be so; a slew at
/// a slow rate of one's own would take hours.
const char* SomeText(const Control& control, std::uint32_t choice) {
    if (control.Name() == "txtUserParkAlt") {
        return kAltitudes[choice % kAltitudes.size()];
    }
    return control.Name() == "txtCustomSlewRate" ? "900" : kTexts[choice % kTexts.size()];
}

Pressing PressingOf(const Control& control) {
    return control.Kind() == ControlKind::Button ? static_cast<const Button&>(control).Pressing() : Pressing::Once;
}

CallKind KindOf(Pressing pressing) {
    return pressing == Pressing::Stops || pressing == Pressing::HeldStops ? CallKind::Stop : CallKind::Press;
}

/// It ends the process.
bool EndsAll(const Driver& driver, const Control& control) {
    return &control == &driver.windows.askUserCloseDriver.btnOK;
}

}  // namespace

bool IsOpenDialog(const Driver& driver, const Form& form) {
    const std::array<const Form*, 3> lasting{&driver.handBox, &driver.statusWindow, &driver.logWindow};
    return form.Visible() && std::ranges::find(lasting, &form) == lasting.end();
}

Person::Person(Driver& driver, VirtualClock& clock, Chance& chance, Post post)
    : driver_(driver), clock_(clock), chance_(chance), post_(std::move(post)) {}

Person::~Person() {
    Leave();
}

void Person::Arrive() {
    if (!std::exchange(isThere_, true)) {
        for (Form* form : driver_.windows.All()) {
            form->Attach(view_);
        }
    }
}

void Person::Leave() {
    if (std::exchange(isThere_, false)) {
        LetGo();
        for (Form* form : driver_.windows.All()) {
            form->Detach(view_);
        }
    }
}

/// Half of all that is done is done in a dialog, if there is one.
Form& Person::SomeWindow() {
    std::vector<Form*> dialogs;
    std::vector<Form*> shown{&driver_.handBox};  // also from the tray: a person clicks the icon first
    for (Form* form : driver_.windows.All()) {
        if (form->Visible()) {
            (IsOpenDialog(driver_, *form) ? dialogs : shown).push_back(form);
        }
    }
    const auto& from = !dialogs.empty() && Below(2) == 0 ? dialogs : shown;
    return *from[Below(static_cast<std::uint32_t>(from.size()))];
}

void Person::DoSomething() {
    const Form& window = SomeWindow();
    Use(*window.Controls()[Below(static_cast<std::uint32_t>(window.Controls().size()))]);
}

void Person::Use(Control& control) {
    const auto post = [&](const std::function<void()>& call) {
        post_(CallKind::Press, control.Parent().Name() + " " + control.Name(), [&control, call] {
            if (control.Values().enabled && control.Values().visible) {
                call();
            }
        });
    };
    const std::uint32_t choice = Below(1000);
    switch (control.Kind()) {
        case ControlKind::Button:
        case ControlKind::Menu:
            Press(control);
            break;
        case ControlKind::TextBox:
            post([&control, text = SomeText(control, choice)] { static_cast<TextBox&>(control).Text(text); });
            break;
        case ControlKind::CheckBox:
            post([&control] {
                auto& box = static_cast<CheckBox&>(control);
                box.Checked(!box.Checked());
            });
            break;
        case ControlKind::OptionButton:
            post([&control] { static_cast<OptionButton&>(control).Checked(true); });
            break;
        case ControlKind::ComboBox:
        case ControlKind::ListView:
            post([&control, choice] {
                auto& list = static_cast<ListControl&>(control);
                if (!list.ListItems().empty()) {
                    list.ListIndex(static_cast<std::int32_t>(choice % list.ListItems().size()));
                }
            });
            break;
        case ControlKind::ScrollBar:
            post([&control, choice] {
                auto& bar = static_cast<ScrollBar&>(control);
                bar.Value(bar.Minimum() + static_cast<std::int32_t>(choice) % (bar.Maximum() - bar.Minimum() + 1));
            });
            break;
        case ControlKind::Label:
        case ControlKind::PictureBox:
            post([&control] { static_cast<VisibleControl&>(control).FireClick(); });
            post([&control] { static_cast<VisibleControl&>(control).FireDblClick(); });
            break;
        case ControlKind::Frame:
        case ControlKind::RichTextBox:
        case ControlKind::Timer:
            break;
    }
}

void Person::Press(Control& control) {
    auto& button = static_cast<VisibleControl&>(control);
    if (EndsAll(driver_, control)) {
        return;
    }
    const Pressing pressing = PressingOf(control);
    if (pressing == Pressing::Held || pressing == Pressing::HeldStops) {
        Hold(button);
        return;
    }
    post_(KindOf(pressing), control.Parent().Name() + " " + control.Name(), [&button] { button.FireClick(); });
}

/// Of eight holds one ends by the view's silence.
void Person::Hold(VisibleControl& button) {
    LetGo();
    const std::int64_t now = clock_.Elapsed();
    held_ = &button;
    letGoAt_ = now + Below(4'000);
    silentFrom_ = Below(8) == 0 ? now + Below(1'000) : kNever;
    post_(KindOf(PressingOf(button)), "hold " + button.Name(),
          [this, &button] { driver_.heldButtons.Press(button, view_); });
}

void Person::Tick() {
    if (!held_) {
        return;
    }
    if (clock_.Elapsed() >= letGoAt_ && silentFrom_ == kNever) {
        LetGo();
    } else if (clock_.Elapsed() < silentFrom_) {
        driver_.heldButtons.StillHolds(view_);
    } else if (!Holds()) {
        held_ = nullptr;
    }
}

void Person::LetGo() {
    if (held_) {
        post_(CallKind::Stop, "let go of " + held_->Name(), [this] { driver_.heldButtons.Release(view_); });
        held_ = nullptr;
    }
}

bool Person::Holds() const {
    return held_ && (silentFrom_ == kNever || clock_.Elapsed() < silentFrom_ + HeldButtons::kLongestSilenceMs + 250);
}

void Person::CloseDialogs() {
    for (Form* form : driver_.windows.All()) {
        if (!IsOpenDialog(driver_, *form)) {
            continue;
        }
        post_(CallKind::Press, "close " + form->Name(), [form] {
            Button* const cancel = form->Find<Button>("btnCancel");
            Button* const ok = form->Find<Button>("btnOK");
            if (cancel || ok) {
                (cancel ? cancel : ok)->FireClick();
            } else {
                form->Hide();
            }
        });
    }
}

}  // namespace kestrane
