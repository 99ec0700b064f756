#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/screen_area.h"

namespace kestrane {

class Control;
class Form;

enum class ControlKind {
    Label,
    Button,
    TextBox,
    CheckBox,
    OptionButton,
    ComboBox,
    ListView,
    ScrollBar,
    Frame,
    PictureBox,
    Menu,
    RichTextBox,
    Timer,
};

/// The properties that are announced. Those of a window itself are `Text` (its caption), `Visible`, `Loaded`, `Front`,
/// `Stacked`, `Modal` and `Placed`.
enum class Property {
    Text,
    Checked,
    Enabled,
    Visible,
    BackColour,
    ForeColour,
    ToolTip,
    ListItems,
    ListIndex,
    Minimum,
    Maximum,
    Value,
    Appended,  ///< a rich text has grown by one piece
    Loaded,
    Front,    ///< the window is to come in front of all others, if it is shown
    Stacked,  ///< the window is to be put in its place among others again: above all, or not
    Modal,    ///< somebody begins or ends to wait for the window
    Placed,   ///< the window is to be shown at its place
};

/// The name of a property as outside programs use it: "Text", "BackColour".
std::string_view PropertyName(Property property);

enum class ControlEvent { Click, Change, MouseDown, MouseUp, DblClick, Tick, Count };

enum class Shown { No, Yes };

/// Colours are blue, green, red from the high byte to the low one. These are the normal ones of all windows: red on
/// dark red, which spares the eyes at night.
inline constexpr std::int32_t kNormalBackColour = 128;
inline constexpr std::int32_t kNormalForeColour = 255;
inline constexpr std::int32_t kYellow = 65535;
/// The system's own colour of buttons.
inline constexpr std::int32_t kButtonFaceColour = -2147483633;

/// Everything that a control can have, for views that mirror controls without the need for their kind. What a kind
/// lacks keeps its first value.
struct ControlValues {
    std::string text;
    bool checked = false;
    bool enabled = true;
    bool visible = true;  ///< on the window; the window itself may be hidden
    std::int32_t backColour = kNormalBackColour;
    std::int32_t foreColour = kNormalForeColour;
    std::string toolTip;
    std::vector<std::string> listItems;
    std::int32_t listIndex = -1;  ///< -1: nothing selected
    std::int32_t minimum = 0;
    std::int32_t maximum = 0;
    std::int32_t value = 0;  ///< of a timer: its interval in milliseconds; of a button: its cell in a pad
};

/// The upper left corner of a window, in pixels from that of the screen.
struct Corner {
    std::int32_t left = 0;
    std::int32_t top = 0;
    bool operator==(const Corner&) const = default;
};

/// A view attached to a window.
class FormView {
public:
    virtual ~FormView() = default;
    /// `control` is the name of the control, empty for the window itself. Called after the change, on the logic thread.
    virtual void Changed(Form& form, std::string_view control, Property property) = 0;
    /// A button that its person held has been released, by whomever.
    virtual void HoldEnded() {}
    /// Whether its person may answer a window, or only look at it.
    virtual bool MayAnswer() const { return true; }
};

/// A window as data: its named controls, with their values and events, and whether it is loaded and shown. A window is
/// loaded before its first use: by `EnsureLoaded` or `Show`, or by a write to any of its properties or controls, which
/// leaves it invisible. Its timers run while it is loaded. Logic thread only.
class Form {
public:
    Form(std::string_view name, std::string_view caption) : name_(name), caption_(caption) {}
    virtual ~Form() = default;
    Form(const Form&) = delete;
    Form& operator=(const Form&) = delete;

    const std::string& Name() const { return name_; }

    bool Loaded() const { return loaded_; }
    /// Loads the window if it is not loaded: starts its timers, then runs the load handler. Writes made by the handler
    /// find the window loaded.
    void EnsureLoaded();
    /// Runs the unload handler, hides the window and stops its timers. The values of its controls stay as they are.
    /// Nothing happens to a window that is not loaded.
    void Unload();
    /// From now on nothing loads the window: a write to a control changes its value and no more. For the end of the
    /// process, during which calls may still be under way.
    void LoadNoMore() { loadsNoMore_ = true; }
    void OnLoad(std::function<void()> handler) { onLoad_ = std::move(handler); }
    void OnUnload(std::function<void()> handler) { onUnload_ = std::move(handler); }
    /// Runs after a shown window was hidden, by the driver or by a person, but not when it is unloaded.
    void OnHide(std::function<void()> handler) { onHide_ = std::move(handler); }

    bool Visible() const { return visible_; }
    void Visible(bool visible);
    /// How often the window has been shown: what is meant for one opening of a window is not meant for the next.
    std::uint64_t Openings() const { return openings_; }
    void Show() { Visible(true); }
    void Hide() { Visible(false); }

    /// Announces that the window is to come to the front; a hidden one stays hidden.
    void ToFront() { Announce("", Property::Front); }
    /// Whether the window stands above all others. Each write is announced, also of the same value: another program may
    /// have put its window above.
    bool AlwaysOnTop() const { return alwaysOnTop_; }
    void AlwaysOnTop(bool onTop) {
        alwaysOnTop_ = onTop;
        Announce("", Property::Stacked);
    }

    /// Where the window is to be shown; nothing: where the view likes. Each write is announced, also of the same place.
    const std::optional<Corner>& Place() const { return place_; }
    void Place(std::optional<Corner> place) {
        place_ = place;
        Announce("", Property::Placed);
    }
    /// For views that have places: the window stands there now, by a person's hand or since it has opened.
    void Moved(const ScreenArea& area) {
        if (onMoved_) {
            onMoved_(area);
        }
    }
    void OnMoved(std::function<void(const ScreenArea&)> handler) { onMoved_ = std::move(handler); }

    /// Whether somebody waits for the window (`Modal`).
    bool IsModal() const { return modal_; }
    /// Whether the window is shown, or was answered and whoever waited has yet to read the answer: nobody else may ask
    /// by it meanwhile.
    bool IsInUse() const { return visible_ || modal_; }
    void IsModal(bool modal);

    const std::string& Caption() const { return caption_; }
    void Caption(std::string_view caption);

    /// Whether the driver is filling the window (`FillsForm`): a change of a control is then no person's.
    bool IsFilling() const { return fillings_ > 0; }

    /// In the order in which they were made.
    const std::vector<Control*>& Controls() const { return controls_; }
    /// Null when there is no control with that name.
    Control* Find(std::string_view name) const;
    /// Null also when the control is of another kind.
    template <class T>
    T* Find(std::string_view name) const;

    /// The view must be detached before its end. Attaching announces nothing.
    void Attach(FormView& view);
    void Detach(FormView& view);
    /// Whether anybody can see the window.
    bool HasView() const { return !views_.empty(); }
    /// Whether a view is attached whose person may answer.
    bool HasPerson() const {
        return std::ranges::any_of(views_, [](const FormView* view) { return view->MayAnswer(); });
    }

private:
    friend class Control;
    friend class FillsForm;
    void Add(Control& control);
    void Announce(std::string_view control, Property property);

    std::string name_;
    std::string caption_;
    bool loaded_ = false;
    bool unloading_ = false;
    bool loadsNoMore_ = false;
    bool visible_ = false;
    std::uint64_t openings_ = 0;
    bool alwaysOnTop_ = false;
    bool modal_ = false;
    std::optional<Corner> place_;
    int fillings_ = 0;
    std::function<void()> onLoad_, onUnload_, onHide_;
    std::function<void(const ScreenArea&)> onMoved_;
    std::vector<Control*> controls_;
    std::vector<FormView*> views_;
};

/// While an object of this class lives, changes in the controls of the window are the driver's own filling, and no
/// setting is kept for them. They may nest. It must not outlive the window.
class FillsForm {
public:
    explicit FillsForm(Form& form) : form_(form) { ++form_.fillings_; }
    ~FillsForm() { --form_.fillings_; }
    FillsForm(const FillsForm&) = delete;
    FillsForm& operator=(const FillsForm&) = delete;

private:
    Form& form_;
};

/// A control of a window, which registers itself there under its name; a name is unique in a window. Each write loads
/// the window if necessary, and is announced to the views when it changed something. Kinds (controls.h) offer the
/// members that they have. Each event has one handler, set by the presenter; views fire events.
class Control {
public:
    virtual ~Control() = default;
    Control(const Control&) = delete;
    Control& operator=(const Control&) = delete;

    const std::string& Name() const { return name_; }
    ControlKind Kind() const { return kind_; }
    const ControlValues& Values() const { return values_; }
    /// Whether anybody listens to it.
    bool Hears(ControlEvent event) const { return static_cast<bool>(handlers_[static_cast<std::size_t>(event)]); }
    Form& Parent() const { return form_; }

protected:
    Control(Form& form, std::string_view name, ControlKind kind);

    /// The text and visibility of a new control; to be called by constructors only.
    void First(std::string_view text, Shown shown);
    ControlValues& FirstValues() { return values_; }

    std::string Text() const { return values_.text; }
    void Text(std::string_view text) { Write(&ControlValues::text, std::string(text), Property::Text); }
    bool Checked() const { return values_.checked; }
    void Checked(bool checked) { Write(&ControlValues::checked, checked, Property::Checked); }
    bool Enabled() const { return values_.enabled; }
    void Enabled(bool enabled) { Write(&ControlValues::enabled, enabled, Property::Enabled); }
    bool Visible() const { return values_.visible; }
    void Visible(bool visible) { Write(&ControlValues::visible, visible, Property::Visible); }
    std::int32_t BackColour() const { return values_.backColour; }
    void BackColour(std::int32_t colour) { Write(&ControlValues::backColour, colour, Property::BackColour); }
    std::int32_t ForeColour() const { return values_.foreColour; }
    void ForeColour(std::int32_t colour) { Write(&ControlValues::foreColour, colour, Property::ForeColour); }
    std::string ToolTip() const { return values_.toolTip; }
    void ToolTip(std::string_view text) { Write(&ControlValues::toolTip, std::string(text), Property::ToolTip); }
    const std::vector<std::string>& ListItems() const { return values_.listItems; }
    std::int32_t ListIndex() const { return values_.listIndex; }
    std::int32_t Minimum() const { return values_.minimum; }
    std::int32_t Maximum() const { return values_.maximum; }
    std::int32_t Value() const { return values_.value; }

    void OnClick(std::function<void()> handler) { On(ControlEvent::Click, std::move(handler)); }
    void OnChange(std::function<void()> handler) { On(ControlEvent::Change, std::move(handler)); }
    void OnMouseDown(std::function<void()> handler) { On(ControlEvent::MouseDown, std::move(handler)); }
    void OnMouseUp(std::function<void()> handler) { On(ControlEvent::MouseUp, std::move(handler)); }
    void OnDblClick(std::function<void()> handler) { On(ControlEvent::DblClick, std::move(handler)); }
    void OnTick(std::function<void()> handler) { On(ControlEvent::Tick, std::move(handler)); }
    void FireClick() { Fire(ControlEvent::Click); }
    void FireMouseDown() { Fire(ControlEvent::MouseDown); }
    void FireMouseUp() { Fire(ControlEvent::MouseUp); }
    void FireDblClick() { Fire(ControlEvent::DblClick); }
    void FireTick() { Fire(ControlEvent::Tick); }

    /// Whether the value is a new one; a new one has then been announced.
    template <class T>
    bool Write(T ControlValues::*field, T value, Property property) {
        form_.EnsureLoaded();
        if (values_.*field == value) {
            return false;
        }
        values_.*field = std::move(value);
        form_.Announce(name_, property);
        return true;
    }
    /// For changes of something that is not in `ControlValues`.
    void AnnounceChange(Property property) { form_.Announce(name_, property); }
    /// Runs the handler, even of a control that is not enabled.
    void Raise(ControlEvent event);

private:
    friend class Form;
    /// The window has been loaded or unloaded.
    virtual void FormLoaded(bool /*loaded*/) {}
    void On(ControlEvent event, std::function<void()> handler);
    void Fire(ControlEvent event);

    Form& form_;
    std::string name_;
    ControlKind kind_;
    ControlValues values_;
    std::array<std::function<void()>, static_cast<std::size_t>(ControlEvent::Count)> handlers_;
};

template <class T>
T* Form::Find(std::string_view name) const {
    Control* control = Find(name);
    return control && control->Kind() == T::kKind ? static_cast<T*>(control) : nullptr;
}

}  // namespace kestrane
