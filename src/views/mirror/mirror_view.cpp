#include "views/mirror/mirror_view.h"

#include <algorithm>
#include <utility>

#include "kernel/base/json_text.h"
#include "views/mirror/window_text.h"

namespace kestrane::mirror {
namespace {

constexpr int kProtocol = 1;

constexpr std::string_view kNotUnderstood = "The message is not what the protocol describes.";
constexpr std::string_view kMayOnlyStop = "This view may look and stop, and nothing else.";
constexpr std::string_view kStale = "The press came too late to be sure that it is still meant.";
constexpr std::string_view kNoSuchWindow = "That window has closed.";
constexpr std::string_view kNoSuchControl = "There is no such control in an open window.";
constexpr std::string_view kNotEnabled = "The control cannot be used now.";
constexpr std::string_view kNotThatWay = "The control is not used in that way.";
constexpr std::string_view kNoSuchValue = "The control cannot have that value.";
constexpr std::string_view kNotHeldAnyMore = "The button is not held any more.";
constexpr std::string_view kNoSuchStream = "There is no such stream.";

struct IconRow {
    std::string_view name;
    std::int32_t message;  ///< of the icon, see `TrayIcon`
};
constexpr std::array kIconMessages{IconRow{"over", 512}, IconRow{"left", 514}, IconRow{"double", 515},
                                   IconRow{"right", 517}};

kestrane::Pressing PressingOf(const Control& control) {
    return control.Kind() == ControlKind::Button ? static_cast<const Button&>(control).Pressing() : Pressing::Once;
}

bool IsHeld(Pressing pressing) {
    return pressing == Pressing::Held || pressing == Pressing::HeldStops;
}

bool Stops(Pressing pressing) {
    return pressing == Pressing::Stops || pressing == Pressing::HeldStops;
}

CallKind KindOf(Pressing pressing) {
    return Stops(pressing) ? CallKind::Stop : CallKind::Press;
}

bool TakesClicks(const Control& control) {
    switch (control.Kind()) {
        case ControlKind::Button:
        case ControlKind::Label:
        case ControlKind::Menu:
        case ControlKind::PictureBox:
        case ControlKind::ListView:
            return !IsHeld(PressingOf(control));
        default:
            return false;
    }
}

std::string Click(Control& control) {
    if (!TakesClicks(control)) {
        return std::string(kNotThatWay);
    }
    static_cast<VisibleControl&>(control).FireClick();
    return {};
}

std::string DblClick(Control& control) {
    if (!TakesClicks(control)) {
        return std::string(kNotThatWay);
    }
    static_cast<VisibleControl&>(control).FireDblClick();
    return {};
}

/// Whether the value was of the kind, and in the range, that the control takes; it then has it.
bool Take(Control& control, const ReportedValue& value) {
    const std::string* text = std::get_if<std::string>(&value);
    const bool* flag = std::get_if<bool>(&value);
    const std::int32_t* number = std::get_if<std::int32_t>(&value);
    switch (control.Kind()) {
        case ControlKind::TextBox:
            return text && (static_cast<TextBox&>(control).Text(*text), true);
        case ControlKind::CheckBox:
            return flag && (static_cast<CheckBox&>(control).Checked(*flag), true);
        case ControlKind::OptionButton:
            return flag && *flag && (static_cast<OptionButton&>(control).Checked(true), true);
        case ControlKind::ComboBox:
        case ControlKind::ListView: {
            auto& list = static_cast<ListControl&>(control);
            if (!number || *number < 0 || !std::cmp_less(*number, list.ListItems().size())) {
                return false;
            }
            if (control.Kind() == ControlKind::ListView && list.ListIndex() == *number) {
                list.FireClick();  // a row can be clicked again, for what it shows
            }
            list.ListIndex(*number);
            return true;
        }
        case ControlKind::ScrollBar: {
            auto& bar = static_cast<ScrollBar&>(control);
            return number && *number >= bar.Minimum() && *number <= bar.Maximum() && (bar.Value(*number), true);
        }
        default:
            return false;
    }
}

std::string_view NameOf(EndReason reason) {
    switch (reason) {
        case EndReason::Person:
            return "person";
        case EndReason::Clients:
            return "clients";
        case EndReason::Stopped:
            break;
    }
    return "stopped";
}

/// What a person does who closes a window without an answer.
void CloseUnanswered(Form& form) {
    auto* cancel = form.Find<Button>("btnCancel");
    if (cancel && cancel->Enabled() && cancel->Visible()) {
        cancel->FireClick();
    } else {
        form.Hide();
    }
}

}  // namespace

MirrorView::MirrorView(const MirrorNeeds& needs, Mirror::ViewId id, std::shared_ptr<Transport> transport, May may,
                       Keeps keeps)
    : needs_(needs), id_(id), transport_(std::move(transport)), may_(may), keeps_(keeps) {}

MirrorView::~MirrorView() {
    End();
}

void MirrorView::Begin() {
    attached_ = true;
    for (Form* form : needs_.windows.All()) {
        form->Attach(*this);
    }
    beatSentLast_ = needs_.clock.GetTickCount() - Mirror::kBeatMs;
    transport_->Send(R"({"type":"welcome","protocol":)" + JsonOf(kProtocol) + R"(,"version":)" +
                     JsonOf(needs_.version) + R"(,"process":)" + JsonOf(needs_.process) + R"(,"may":)" +
                     JsonOf(may_ == May::All ? "all" : "stop") + "}");
    Tick();
}

void MirrorView::End() {
    if (std::exchange(attached_, false)) {
        hold_.reset();
        for (Form* form : needs_.windows.All()) {
            form->Detach(*this);
        }
        needs_.heldButtons.Release(*this);
    }
}

void MirrorView::SayEnd(EndReason reason) {
    transport_->Send(R"({"type":"end","why":)" + JsonOf(NameOf(reason)) + "}");
}

// --- what the view is shown

/// A new list is announced without its selection, which begins anew with it.
void MirrorView::Changed(Form& form, std::string_view control, Property property) {
    Properties& properties = changes_[&form][control.empty() ? nullptr : form.Find(control)];
    properties.set(static_cast<std::size_t>(property));
    if (property == Property::ListItems) {
        properties.set(static_cast<std::size_t>(Property::ListIndex));
    }
}

bool MirrorView::IsAlwaysThere(const Form& form) const {
    return &form == &needs_.windows.handBox || &form == &needs_.windows.sky;
}

bool MirrorView::IsShown(const Form& form) const {
    return form.Visible() || IsAlwaysThere(form);
}

std::uint64_t MirrorView::OpeningOf(const Form& form) const {
    return IsAlwaysThere(form) ? 0 : form.Openings();
}

void MirrorView::Tick() {
    const kestrane::Tick now = needs_.clock.GetTickCount();
    if (hold_ && now - hold_->lastBeat >= HeldButtons::kLongestSilenceMs) {
        SendReleased(hold_->number);
        EndHold();
    }
    if (now - beatSentLast_ >= Mirror::kBeatMs) {
        SendBeat();
    }
    if (Jams()) {
        return;
    }
    if (wantsSnapshot_) {
        SendSnapshot();
    } else {
        SendChanges();
    }
    SendLines();
}

/// A view that takes nothing gets nothing on top, and a snapshot once it has taken what it had.
bool MirrorView::Jams() {
    const std::size_t unsent = transport_->Unsent();
    if (!jamsSince_ && unsent > Mirror::kMostUnsent) {
        jamsSince_ = needs_.clock.GetTickCount();
        wantsSnapshot_ = true;
    } else if (jamsSince_ && unsent == 0) {
        jamsSince_.reset();
    }
    if (jamsSince_ && needs_.clock.GetTickCount() - *jamsSince_ >= Mirror::kLongestJamMs) {
        transport_->Close();
    }
    return jamsSince_.has_value();
}

void MirrorView::SendBeat() {
    beatSentLast_ = needs_.clock.GetTickCount();
    ++beat_;
    beatSent_[beat_ % beatSent_.size()] = beatSentLast_;
    transport_->Send(R"({"type":"beat","beat":)" + JsonOf(beat_) + "}");
}

bool MirrorView::IsFresh(std::uint64_t beat) const {
    return beat > 0 && beat <= beat_ && beat_ - beat < beatSent_.size() &&
           needs_.clock.GetTickCount() - beatSent_[beat % beatSent_.size()] <= Mirror::kFreshMs;
}

void MirrorView::SendReleased(std::uint64_t hold) {
    transport_->Send(R"({"type":"released","hold":)" + JsonOf(hold) + "}");
}

void MirrorView::SendSnapshot() {
    wantsSnapshot_ = false;
    changes_.clear();
    shown_.clear();
    std::string forms;
    for (const Form* form : needs_.windows.All()) {
        if (IsShown(*form)) {
            shown_.push_back({form, OpeningOf(*form)});
            forms += (forms.empty() ? "" : ",") + WindowJson(*form, OpeningOf(*form));
        }
    }
    transport_->Send(R"({"type":"snapshot","forms":[)" + forms + "]}");
}

void MirrorView::SendChanges() {
    if (changes_.empty()) {
        return;
    }
    std::string changes;
    for (const Form* form : needs_.windows.All()) {
        AppendChanges(*form, changes);
    }
    changes_.clear();
    if (!changes.empty()) {
        transport_->Send(R"({"type":"changes","changes":[)" + changes + "]}");
    }
}

void MirrorView::AppendChanges(const Form& form, std::string& changes) {
    const auto append = [&](std::string_view control, std::string_view member, const std::string& value) {
        changes += (changes.empty() ? "[" : ",[") + JsonOf(form.Name()) + "," + JsonOf(control) + "," + JsonOf(member) +
                   "," + value + "]";
    };
    const auto shown = std::ranges::find(shown_, &form, &ShownWindow::form);
    const bool wasShown = shown != shown_.end();
    const bool isThatOpening = wasShown && IsShown(form) && shown->opening == OpeningOf(form);
    if (wasShown && !isThatOpening) {
        shown_.erase(shown);
        append("", "closed", JsonOf(true));
    }
    if (IsShown(form) && !isThatOpening) {
        shown_.push_back({&form, OpeningOf(form)});
        append("", "opened", WindowJson(form, OpeningOf(form)));
    }
    if (!isThatOpening) {
        return;
    }
    const auto found = changes_.find(&form);
    if (found == changes_.end()) {
        return;
    }
    for (const auto& [control, properties] : found->second) {
        for (std::size_t property = 0; property < properties.size(); ++property) {
            const auto member =
                properties.test(property) ? MemberOf(form, control, static_cast<Property>(property)) : std::nullopt;
            if (member) {
                append(control ? control->Name() : "", member->name, member->json);
            }
        }
    }
}

void MirrorView::SendLines() {
    for (Stream& stream : streams_) {
        const std::string lines = LinesJson(*stream.box, stream.next, Mirror::kLinesAtOnce, stream.next);
        if (!lines.empty()) {
            transport_->Send(lines);
        }
    }
}

// --- what the person does

void MirrorView::Received(std::string_view message) {
    const std::optional<Report> report = ParseReport(message);
    if (report) {
        Perform(*report);
    } else if (++badReports_ >= Mirror::kMostBadReports) {
        transport_->Close();
    } else {
        SendRefusal(0, kNotUnderstood);
    }
}

void MirrorView::Answer(const Report& report, std::string_view refusal) {
    if (!report.id) {
        return;
    }
    if (refusal.empty()) {
        transport_->Send(R"({"type":"heard","id":)" + JsonOf(*report.id) + "}");
    } else {
        SendRefusal(*report.id, refusal);
    }
}

void MirrorView::SendRefusal(std::uint64_t id, std::string_view why) {
    transport_->Send(R"({"type":"refused","id":)" + JsonOf(id) + R"(,"why":)" + JsonOf(why) + "}");
}

/// Why the report is not looked at any further; empty if it is.
std::string MirrorView::WhyNot(const Report& report) {
    const bool acts = report.deed == Deed::Click || report.deed == Deed::DblClick || report.deed == Deed::Change ||
                      report.deed == Deed::Hold;
    const Control* const control = acts ? FindControl(report) : nullptr;
    const bool stops = control && Stops(PressingOf(*control)) && report.deed != Deed::Change;
    if (may_ == May::OnlyStop && !stops &&
        (acts || report.deed == Deed::Close || report.deed == Deed::Icon || report.deed == Deed::Place ||
         report.deed == Deed::Tray || report.deed == Deed::Keep)) {
        return std::string(kMayOnlyStop);
    }
    if (acts && !control) {
        return std::string(kNoSuchControl);
    }
    if (acts && !stops && !IsFresh(report.beat)) {
        return std::string(kStale);
    }
    return {};
}

void MirrorView::Perform(const Report& report) {
    if (const std::string refusal = WhyNot(report); !refusal.empty()) {
        Answer(report, refusal);
        return;
    }
    switch (report.deed) {
        case Deed::Click:
        case Deed::DblClick:
        case Deed::Change:
            Use(report);
            break;
        case Deed::Hold:
            BeginHold(report);
            break;
        case Deed::Beat:
            if (hold_ && report.hold == hold_->number && IsFresh(report.beat)) {
                hold_->lastBeat = needs_.clock.GetTickCount();
                needs_.heldButtons.StillHolds(*this);
            }
            break;
        case Deed::Release:
            if (hold_ && report.hold == hold_->number) {
                EndHold();
            }
            break;
        case Deed::Stop:
            needs_.stopAll();
            Post(CallKind::Stop, report, [] { return std::string(); });
            break;
        case Deed::Close:
            CloseWindow(report);
            break;
        case Deed::Icon: {
            const auto row = std::ranges::find(kIconMessages, report.message, &IconRow::name);
            if (row == kIconMessages.end()) {
                Answer(report, kNotUnderstood);
            } else {
                Post(CallKind::Press, report, [this, message = row->message] {
                    needs_.passOnToIcon(message);
                    return std::string();
                });
            }
            break;
        }
        case Deed::Lines:
            WantLines(report);
            break;
        case Deed::Snapshot:
            wantsSnapshot_ = true;
            break;
        case Deed::Place:
            NotePlace(report);
            break;
        case Deed::Tray:
            Post(CallKind::Brief, report, [this, report] {
                needs_.noteTray(*report.at, *report.screen);
                return std::string();
            });
            break;
        case Deed::Keep:
            keeps_ = Keeps::Driver;
            Answer(report, {});
            break;
    }
}

/// Null where the window is closed, also when it stands there again for something else.
Form* MirrorView::FindForm(const Report& report) const {
    const auto all = needs_.windows.All();
    const auto found = std::ranges::find_if(all, [&](const Form* form) { return form->Name() == report.form; });
    return found != all.end() && IsShown(**found) && report.opening == OpeningOf(**found) ? *found : nullptr;
}

Control* MirrorView::FindControl(const Report& report) const {
    const Form* form = FindForm(report);
    Control* control = form ? form->Find(report.control) : nullptr;
    return control && control->Kind() != ControlKind::Timer ? control : nullptr;
}

/// Posts what the report asks for. The view is shown what that has changed, and then told that it is done, or why it is
/// not: else it would show for a moment what was before. A view that has gone meanwhile does nothing any more.
void MirrorView::Post(CallKind kind, const Report& report, std::function<std::string()> act) {
    needs_.pump.Post(kind, [weak = weak_from_this(), report, act = std::move(act)] {
        const std::shared_ptr<MirrorView> view = weak.lock();
        if (!view || !view->attached_) {
            return;
        }
        const std::string refusal = act();
        if (view->attached_ && !view->wantsSnapshot_ && !view->Jams()) {
            view->SendChanges();
        }
        view->Answer(report, refusal);
    });
}

/// The control is looked up anew when its turn comes: its window may have closed.
void MirrorView::Use(const Report& report) {
    Post(KindOf(PressingOf(*FindControl(report))), report, [this, report]() -> std::string {
        Control* control = FindControl(report);
        if (!control) {
            return std::string(kNoSuchControl);
        }
        if (!control->Values().enabled || !control->Values().visible) {
            return std::string(kNotEnabled);
        }
        switch (report.deed) {
            case Deed::Click:
                return Click(*control);
            case Deed::DblClick:
                return DblClick(*control);
            default:
                return Take(*control, report.value) ? std::string() : std::string(kNoSuchValue);
        }
    });
}

void MirrorView::BeginHold(const Report& report) {
    Control& control = *FindControl(report);
    if (!IsHeld(PressingOf(control))) {
        Answer(report, kNotThatWay);
        return;
    }
    if (report.hold <= lastHold_) {
        Answer(report, kNotHeldAnyMore);
        return;
    }
    EndHold();
    lastHold_ = report.hold;
    hold_ = Hold{report.hold, static_cast<Button*>(&control), needs_.clock.GetTickCount()};
    Post(KindOf(PressingOf(control)), report, [this, number = report.hold] { return PressHeld(number); });
}

/// Why the button is not held; empty if it is.
std::string MirrorView::PressHeld(std::uint64_t number) {
    const auto isHold = [this, number] { return hold_ && hold_->number == number; };
    if (!isHold()) {
        return std::string(kNotHeldAnyMore);
    }
    Button& button = *hold_->button;
    if (!button.Enabled() || !button.Visible()) {
        hold_.reset();
        return std::string(kNotEnabled);
    }
    const bool held = needs_.heldButtons.Press(button, *this);
    if (!isHold()) {
        return std::string(kNotHeldAnyMore);  // let go of while the press was under way
    }
    if (!held) {
        hold_.reset();
        return std::string(kNotHeldAnyMore);
    }
    hold_->pressed = true;
    return {};
}

/// A press that waits for its turn is none any more; one that had it is released.
void MirrorView::EndHold() {
    if (std::exchange(hold_, std::nullopt)) {
        needs_.pump.Post(CallKind::Stop, [weak = weak_from_this()] {
            if (const std::shared_ptr<MirrorView> view = weak.lock()) {
                view->needs_.heldButtons.Release(*view);
            }
        });
    }
}

/// The driver has released the button. A hold that waits for its turn is not the one that has ended.
void MirrorView::HoldEnded() {
    if (hold_ && hold_->pressed) {
        SendReleased(std::exchange(hold_, std::nullopt)->number);
    }
}

void MirrorView::CloseWindow(const Report& report) {
    if (!FindForm(report)) {
        Answer(report, kNoSuchWindow);
        return;
    }
    Post(CallKind::Press, report, [this, report] {
        if (Form* form = FindForm(report); form && form->Visible()) {
            CloseUnanswered(*form);
        }
        return std::string();
    });
}

void MirrorView::NotePlace(const Report& report) {
    if (!FindForm(report)) {
        Answer(report, kNoSuchWindow);
        return;
    }
    Post(CallKind::Brief, report, [this, report] {
        if (Form* form = FindForm(report)) {
            form->Moved(*report.at);
        }
        return std::string();
    });
}

void MirrorView::WantLines(const Report& report) {
    for (const Form* form : needs_.windows.All()) {
        for (const Control* control : form->Controls()) {
            const bool isStream = control->Kind() == ControlKind::RichTextBox;
            if (isStream && StreamName(static_cast<const RichTextBox&>(*control)) == report.stream) {
                const auto& box = static_cast<const RichTextBox&>(*control);
                std::erase_if(streams_, [&](const Stream& stream) { return stream.box == &box; });
                streams_.push_back({&box, std::max<std::uint64_t>(report.from, 1)});
                return;
            }
        }
    }
    Answer(report, kNoSuchStream);
}

}  // namespace kestrane::mirror
