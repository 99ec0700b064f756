#include "forms/controls.h"

#include <algorithm>
#include <cassert>

namespace kestrane {
namespace {

/// The position `at`, or the nearest after it where a character of UTF-8 begins. A text that is not UTF-8 is cut after
/// at most three bytes more.
std::size_t CharacterBoundary(std::string_view text, std::size_t at) {
    constexpr std::size_t kMostFollowers = 3;
    const std::size_t last = std::min(at + kMostFollowers, text.size());
    const auto follows = [&text](std::size_t place) {
        return (static_cast<unsigned char>(text[place]) & 0xC0U) == 0x80U;
    };
    while (at < last && follows(at)) {
        ++at;
    }
    return at;
}

}  // namespace

void TextBox::Text(std::string_view text) {
    if (Write(&ControlValues::text, std::string(text), Property::Text)) {
        Raise(ControlEvent::Change);
    }
}

void CheckBox::Checked(bool checked) {
    if (Write(&ControlValues::checked, checked, Property::Checked)) {
        Raise(ControlEvent::Click);
    }
}

void OptionButton::Checked(bool checked) {
    if (!Write(&ControlValues::checked, checked, Property::Checked) || !checked) {
        return;
    }
    for (Control* control : Parent().Controls()) {
        if (control != this && control->Kind() == kKind) {
            OptionButton& other = static_cast<OptionButton&>(*control);
            if (other.Group() == group_) {
                other.Checked(false);
            }
        }
    }
    Raise(ControlEvent::Click);
}

void ListControl::ListItems(std::vector<std::string> items) {
    if (items != ListItems()) {
        // The index first, so that it never points outside the list.
        Write(&ControlValues::listIndex, -1, Property::ListIndex);
    }
    Write(&ControlValues::listItems, std::move(items), Property::ListItems);
}

void ListControl::ListIndex(std::int32_t index) {
    const bool inside = index >= 0 && static_cast<std::size_t>(index) < ListItems().size();
    if (Write(&ControlValues::listIndex, inside ? index : -1, Property::ListIndex)) {
        Raise(ControlEvent::Click);
    }
}

std::string ListControl::Text() const {
    return ListIndex() < 0 ? std::string() : ListItems()[static_cast<std::size_t>(ListIndex())];
}

ScrollBar::ScrollBar(Form& form, std::string_view name, std::int32_t minimum, std::int32_t maximum)
    : VisibleControl(form, name, kKind) {
    assert(minimum <= maximum);
    FirstValues().minimum = minimum;
    FirstValues().maximum = maximum;
    FirstValues().value = minimum;
}

void ScrollBar::Value(std::int32_t value) {
    const std::int32_t inside = std::clamp(value, Minimum(), std::max(Minimum(), Maximum()));
    if (Write(&ControlValues::value, inside, Property::Value)) {
        Raise(ControlEvent::Change);
    }
}

void ScrollBar::Minimum(std::int32_t minimum) {
    Write(&ControlValues::minimum, minimum, Property::Minimum);
    Value(Value());
}

void ScrollBar::Maximum(std::int32_t maximum) {
    Write(&ControlValues::maximum, maximum, Property::Maximum);
    Value(Value());
}

void RichTextBox::Append(std::string_view text, std::int32_t colour) {
    Parent().EnsureLoaded();
    if (text.empty()) {
        return;
    }
    pieces_.push_back({std::string(text), colour});
    ++lastNumber_;
    length_ += text.size();
    AnnounceChange(Property::Appended);
}

void RichTextBox::KeepLast(std::size_t length) {
    Parent().EnsureLoaded();
    if (length_ <= length) {
        return;
    }
    std::size_t excess = length_ - length;
    auto piece = pieces_.begin();
    while (piece != pieces_.end() && piece->text.size() <= excess) {
        excess -= piece->text.size();
        ++piece;
    }
    pieces_.erase(pieces_.begin(), piece);
    if (excess > 0) {
        std::string& front = pieces_.front().text;
        const std::size_t cut = CharacterBoundary(front, excess);
        front.erase(0, cut);
        length -= cut - excess;
        if (front.empty()) {
            pieces_.erase(pieces_.begin());
        }
    }
    length_ = length;
    AnnounceChange(Property::Text);
}

void RichTextBox::DropFirst(std::size_t count) {
    assert(count <= pieces_.size());
    for (; count > 0; --count) {
        length_ -= pieces_.front().text.size();
        pieces_.pop_front();
    }
}

std::string RichTextBox::Text() const {
    std::string text;
    text.reserve(length_);
    for (const Piece& piece : pieces_) {
        text += piece.text;
    }
    return text;
}

Timer::Timer(Form& form, std::string_view name, MessagePump& pump, std::int32_t intervalMs, bool enabled, Ticks ticks)
    : Control(form, name, kKind),
      pumpTimer_(ticks == Ticks::Promptly ? pump.CreatePromptTimer([this] { FireTick(); })
                                          : pump.CreateTimer([this] { FireTick(); })) {
    assert(intervalMs >= 0);
    FirstValues().value = intervalMs;
    FirstValues().enabled = enabled;
    pumpTimer_->SetInterval(intervalMs);
}

void Timer::Interval(std::int32_t milliseconds) {
    assert(milliseconds >= 0);
    if (Write(&ControlValues::value, milliseconds, Property::Value)) {
        pumpTimer_->SetInterval(milliseconds);
    }
}

void Timer::Enabled(bool enabled) {
    if (Write(&ControlValues::enabled, enabled, Property::Enabled)) {
        pumpTimer_->SetEnabled(enabled);
    }
}

void Timer::FormLoaded(bool loaded) {
    pumpTimer_->SetEnabled(loaded && Enabled());
}

}  // namespace kestrane
