#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "forms/form.h"
#include "platform/message_pump.h"

/// The kinds of controls that windows are made of. Each has only the properties and events of its kind, so that the use
/// of a property that a control lacks does not compile. Properties are pairs of overloads:
///
///     handBox.lblRA.Text("12:34:56.7");
///     if (handBox.chkCalcLST.Checked()) ...
///
/// Everything here is for the logic thread.
namespace kestrane {

/// The common part of controls that can be seen: `Enabled`, `Visible`, `BackColour`, `ForeColour`, `ToolTip`, and the
/// mouse. An event of a control that is not enabled is dropped, but for the release of a button that was held when it
/// was disabled.
///
/// A view passes on what a person did by writing the new value (text, checked, index), which fires the event that
/// belongs to it; it fires events itself only where no value changes. It accepts no input for a control that is not
/// enabled.
class VisibleControl : public Control {
public:
    using Control::BackColour;
    using Control::Enabled;
    using Control::ForeColour;
    using Control::ToolTip;
    using Control::Visible;

    using Control::FireClick;
    using Control::FireDblClick;
    using Control::FireMouseDown;
    using Control::FireMouseUp;
    using Control::OnClick;
    using Control::OnDblClick;
    using Control::OnMouseDown;
    using Control::OnMouseUp;

protected:
    using Control::Control;
};

/// One or several lines of fixed text.
class Label : public VisibleControl {
public:
    static constexpr ControlKind kKind = ControlKind::Label;
    Label(Form& form, std::string_view name, std::string_view text = "", Shown shown = Shown::Yes)
        : VisibleControl(form, name, kKind) {
        First(text, shown);
    }
    using Control::Text;
};

/// How a view passes on that a person uses a button.
enum class Pressing {
    Once,       ///< a click
    Stops,      ///< a click that stops something: a call of the kind Stop
    Held,       ///< pressed and released by `HeldButtons`
    HeldStops,  ///< the same, and the press too is a call of the kind Stop
};

class Button : public VisibleControl {
public:
    static constexpr ControlKind kKind = ControlKind::Button;
    Button(Form& form, std::string_view name, std::string_view text, Shown shown = Shown::Yes)
        : VisibleControl(form, name, kKind) {
        First(text, shown);
    }
    Button(Form& form, std::string_view name, std::string_view text, kestrane::Pressing pressing)
        : Button(form, name, text) {
        pressing_ = pressing;
    }
    using Control::Text;
    kestrane::Pressing Pressing() const { return pressing_; }
    /// The place of a button of a pad, which the driver arranges: 0 north-west to 8 south-east, line by line.
    std::int32_t Cell() const { return Value(); }
    void Cell(std::int32_t cell) { Write(&ControlValues::value, cell, Property::Value); }

private:
    kestrane::Pressing pressing_ = kestrane::Pressing::Once;
};

/// Text that a person edits. A new text, whoever wrote it, fires Change.
class TextBox : public VisibleControl {
public:
    static constexpr ControlKind kKind = ControlKind::TextBox;
    TextBox(Form& form, std::string_view name, std::string_view text = "") : VisibleControl(form, name, kKind) {
        First(text, Shown::Yes);
    }
    using Control::OnChange;
    using Control::Text;
    void Text(std::string_view text);
};

/// `Text` is its caption. A new state, whoever wrote it, fires Click.
class CheckBox : public VisibleControl {
public:
    static constexpr ControlKind kKind = ControlKind::CheckBox;
    CheckBox(Form& form, std::string_view name, std::string_view text) : VisibleControl(form, name, kKind) {
        First(text, Shown::Yes);
    }
    using Control::Checked;
    using Control::Text;
    void Checked(bool checked);
};

/// One of a group, of which at most one is checked: checking it unchecks the others of the same group in its window.
/// Becoming checked fires Click, becoming unchecked does not.
class OptionButton : public VisibleControl {
public:
    static constexpr ControlKind kKind = ControlKind::OptionButton;
    OptionButton(Form& form, std::string_view name, std::string_view text, std::string_view group)
        : VisibleControl(form, name, kKind), group_(group) {
        First(text, Shown::Yes);
    }
    using Control::Checked;
    using Control::Text;
    void Checked(bool checked);
    const std::string& Group() const { return group_; }

private:
    std::string group_;
};

/// A list of texts, of which one is selected, or none.
class ListControl : public VisibleControl {
public:
    using Control::ListIndex;
    using Control::ListItems;
    /// A new list starts with nothing selected; it fires nothing.
    void ListItems(std::vector<std::string> items);
    /// 0 up, or -1 for nothing selected; an index outside the list counts as -1. A new index fires Click.
    void ListIndex(std::int32_t index);
    /// The selected text, or empty.
    std::string Text() const;

protected:
    using VisibleControl::VisibleControl;
};

class ComboBox : public ListControl {
public:
    static constexpr ControlKind kKind = ControlKind::ComboBox;
    ComboBox(Form& form, std::string_view name) : ListControl(form, name, kKind) {}
};

/// A table: each item is one row, its columns separated by tabs.
class ListView : public ListControl {
public:
    static constexpr ControlKind kKind = ControlKind::ListView;
    ListView(Form& form, std::string_view name) : ListControl(form, name, kKind) {}
};

/// A whole number from `Minimum` to `Maximum`, both included; a value outside becomes the nearer bound. A new value,
/// whoever wrote it, fires Change.
class ScrollBar : public VisibleControl {
public:
    static constexpr ControlKind kKind = ControlKind::ScrollBar;
    ScrollBar(Form& form, std::string_view name, std::int32_t minimum, std::int32_t maximum);
    using Control::Maximum;
    using Control::Minimum;
    using Control::OnChange;
    using Control::Value;
    void Value(std::int32_t value);
    /// A value outside the new bounds becomes the nearer one.
    void Minimum(std::int32_t minimum);
    void Maximum(std::int32_t maximum);
};

/// A box with a caption around a group of controls.
class Frame : public VisibleControl {
public:
    static constexpr ControlKind kKind = ControlKind::Frame;
    Frame(Form& form, std::string_view name, std::string_view caption) : VisibleControl(form, name, kKind) {
        First(caption, Shown::Yes);
    }
    std::string Caption() const { return Text(); }
    void Caption(std::string_view caption) { Text(caption); }
};

/// A small picture or a coloured field.
class PictureBox : public VisibleControl {
public:
    static constexpr ControlKind kKind = ControlKind::PictureBox;
    PictureBox(Form& form, std::string_view name, Shown shown = Shown::Yes) : VisibleControl(form, name, kKind) {
        First("", shown);
    }
};

/// An entry of a popup menu. `Text` is its caption, with "&" before the letter of its key; `Checked` is its tick.
class Menu : public VisibleControl {
public:
    static constexpr ControlKind kKind = ControlKind::Menu;
    Menu(Form& form, std::string_view name, std::string_view text, Shown shown = Shown::Yes)
        : VisibleControl(form, name, kKind) {
        First(text, shown);
    }
    using Control::Checked;
    using Control::Text;
};

/// A long text in coloured pieces, to which text is added at the end. Lengths are bytes.
class RichTextBox : public VisibleControl {
public:
    static constexpr ControlKind kKind = ControlKind::RichTextBox;
    struct Piece {
        std::string text;
        std::int32_t colour = 0;  ///< blue, green, red from the high byte to the low one
    };

    RichTextBox(Form& form, std::string_view name) : VisibleControl(form, name, kKind) {}
    void Append(std::string_view text, std::int32_t colour);
    /// Keeps only the last `length` bytes, or up to three less when the cut would split the bytes of one character.
    void KeepLast(std::size_t length);
    /// Takes the oldest pieces away; `count` is at most their number.
    void DropFirst(std::size_t count);
    std::size_t TextLength() const { return length_; }
    std::string Text() const;
    const std::deque<Piece>& Pieces() const { return pieces_; }
    /// Number of the last piece, counted from 1 since the window was made; 0 for none.
    std::uint64_t LastNumber() const { return lastNumber_; }

private:
    std::deque<Piece> pieces_;
    std::size_t length_ = 0;
    std::uint64_t lastNumber_ = 0;
};

/// Whether the ticks of a timer wait for their turn, or come at their time (`MessagePump::CreatePromptTimer`).
enum class Ticks { InTurn, Promptly };

/// A repeating timer of a window. It runs while it is enabled and its window is loaded; with 0 milliseconds it never
/// fires.
class Timer : public Control {
public:
    static constexpr ControlKind kKind = ControlKind::Timer;
    Timer(Form& form, std::string_view name, MessagePump& pump, std::int32_t intervalMs, bool enabled,
          Ticks ticks = Ticks::InTurn);

    std::int32_t Interval() const { return Value(); }
    /// Milliseconds. A new interval begins at once; the same one changes nothing.
    void Interval(std::int32_t milliseconds);
    using Control::Enabled;
    /// Enabling a disabled timer begins a new interval.
    void Enabled(bool enabled);
    using Control::FireTick;
    using Control::OnTick;

private:
    void FormLoaded(bool loaded) override;

    std::unique_ptr<PumpTimer> pumpTimer_;
};

}  // namespace kestrane
