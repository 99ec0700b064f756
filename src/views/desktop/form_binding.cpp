#include "views/desktop/form_binding.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QJsonArray>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMouseEvent>
#include <QPushButton>
#include <QRadioButton>
#include <QSlider>
#include <QTextBrowser>
#include <QTimer>
#include <QTreeWidget>
#include <algorithm>
#include <utility>

#include "views/desktop/designs.h"
#include "views/desktop/foldable_box.h"
#include "views/desktop/help_page.h"
#include "views/desktop/theme.h"

namespace kestrane::desktop {
namespace {

constexpr const char* kRole = "role";

void KeepRoomFor(QWidget& widget) {
    QSizePolicy policy = widget.sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    widget.setSizePolicy(policy);
}

/// A field goes with its words.
QWidget* FieldAround(QWidget* widget) {
    for (QWidget* at = widget; at != nullptr; at = at->parentWidget()) {
        if (at->objectName().startsWith("ownField")) {
            return at;
        }
        if (at->inherits("QGroupBox")) {
            break;
        }
    }
    return widget;
}

QString Plain(QString caption) {
    return caption.remove('&');
}

}  // namespace

FormBinding::FormBinding(QString name, QWidget& content, Mirror& mirror, Hands& hands)
    : name_(std::move(name)), content_(content), mirror_(mirror), hands_(hands) {
    for (QWidget* const widget : content.findChildren<QWidget*>()) {
        Note(ControlOf(widget->objectName()), widget, nullptr);
        if (auto* const box = qobject_cast<QGroupBox*>(widget)) {
            MakeFoldable(*box);
        }
        if (widget->property(kRole) == "lamp") {
            KeepRoomFor(*widget);  // a lamp that goes out moves nothing
        }
    }
    for (QAction* const action : content.findChildren<QAction*>()) {
        Note(action->objectName(), nullptr, action);
    }
    for (QMenu* const menu : content.findChildren<QMenu*>()) {
        controls_.erase(menu->objectName());
        Note(menu->objectName(), nullptr, menu->menuAction());
    }
}

/// The toolkit's own parts begin with "qt_".
void FormBinding::Note(const QString& name, QWidget* widget, QAction* action) {
    if (!name.isEmpty() && !name.startsWith("own") && !name.startsWith("qt_")) {
        controls_.try_emplace(name, Bound{.name = name, .kind = {}, .widget = widget, .action = action, .values = {}});
    }
}

void FormBinding::Fill(const QJsonObject& form) {
    opening_ = form["opening"];
    for (const QJsonValue& each : form["controls"].toArray()) {
        const QJsonObject control = each.toObject();
        const auto found = controls_.find(control["name"].toString());
        if (found == controls_.end()) {
            continue;
        }
        Bound& bound = found->second;
        if (bound.kind.isEmpty()) {
            bound.kind = control["kind"].toString();
            Bind(bound, control);
        }
        if (auto* const line = qobject_cast<QLineEdit*>(bound.widget); line != nullptr && !content_.isVisible()) {
            line->setModified(false);  // what was typed before the window closed is void
        }
        // What a list has comes before which of it is chosen, and the ends of a bar before its place.
        for (const char* const member : {"items", "minimum", "maximum"}) {
            if (control.contains(member)) {
                Change(bound.name, member, control[member]);
            }
        }
        for (auto member = control.begin(); member != control.end(); ++member) {
            Change(bound.name, member.key(), member.value());
        }
    }
}

void FormBinding::Change(const QString& control, const QString& member, const QJsonValue& value) {
    const auto found = controls_.find(control);
    if (found == controls_.end()) {
        return;
    }
    found->second.values[member] = value;
    if (const Show show = ShowOf(member)) {
        const bool was = std::exchange(isShowing_, true);
        (this->*show)(found->second, value);
        isShowing_ = was;
    }
}

QJsonObject FormBinding::Report(const QString& deed, const QString& control) const {
    QJsonObject report{{"do", deed}, {"form", name_}, {"opening", opening_}};
    if (!control.isEmpty()) {
        report["control"] = control;
    }
    return report;
}

void FormBinding::Click(const QString& control) {
    mirror_.Act(Report("click", control));
}

void FormBinding::Close() {
    mirror_.Act(Report("close"));
}

QJsonValue FormBinding::Value(const QString& control, const QString& member) const {
    const Bound* const bound = Find(control);
    return bound == nullptr ? QJsonValue() : bound->values[member];
}

QWidget* FormBinding::WidgetOf(const QString& control) const {
    const Bound* const bound = Find(control);
    return bound == nullptr ? nullptr : bound->widget;
}

const FormBinding::Bound* FormBinding::Find(const QString& control) const {
    const auto found = controls_.find(control);
    return found == controls_.end() ? nullptr : &found->second;
}

QAbstractButton* FormBinding::PadButton(int cell) const {
    for (const auto& [name, bound] : controls_) {
        if (name.startsWith("btnMove(") && bound.values["cell"].toInt(-1) == cell) {
            return qobject_cast<QAbstractButton*>(bound.widget);
        }
    }
    return nullptr;
}

Hands::Report FormBinding::HoldOf(const QString& control) const {
    return [this, control] { return Report("hold", control); };
}

// --- what a person does

void FormBinding::Bind(Bound& bound, const QJsonObject& control) {
    if (bound.kind == "Menu") {
        connect(bound.action, &QAction::triggered, this, [this, &bound] {
            Act(bound, "click");
            ShowAgain("Menu", "checked");  // the toolkit ticks by itself
        });
    } else if (bound.kind == "Button") {
        BindButton(bound, control);
    } else if (control.contains("acts")) {
        BindText(bound, control["acts"].toString());
    } else if (bound.kind == "TextBox") {
        BindLine(bound);
    } else if (bound.kind == "CheckBox" || bound.kind == "OptionButton") {
        BindTick(bound);
    } else if (bound.kind == "ComboBox") {
        BindList(bound);
    } else if (bound.kind == "ListView") {
        BindTable(bound);
    } else if (bound.kind == "ScrollBar") {
        BindBar(bound);
    }
}

void FormBinding::BindButton(Bound& bound, const QJsonObject& control) {
    auto& button = *qobject_cast<QAbstractButton*>(bound.widget);
    if (control["press"].toString() == "held") {
        hands_.HoldByHand(button, HoldOf(bound.name));
        return;
    }
    button.installEventFilter(this);
    connect(&button, &QAbstractButton::clicked, this, [this, &bound] { Act(bound, "click"); });
}

/// A text or a picture that does something is a button for the keyboard too.
void FormBinding::BindText(Bound& bound, const QString& deed) {
    bound.values["acts"] = deed;
    bound.widget->setCursor(Qt::PointingHandCursor);
    bound.widget->setFocusPolicy(Qt::StrongFocus);
    bound.widget->installEventFilter(this);
    Mark(*bound.widget, "acts", true);
}

void FormBinding::BindLine(Bound& bound) {
    auto* const line = qobject_cast<QLineEdit*>(bound.widget);
    connect(line, &QLineEdit::editingFinished, this, [this, &bound] { CommitLine(bound); });
    line->installEventFilter(this);
}

void FormBinding::CommitLine(Bound& bound) {
    auto* const line = qobject_cast<QLineEdit*>(bound.widget);
    if (!line->isModified()) {
        return;
    }
    line->setModified(false);
    const QString text = line->text();
    if (text == bound.values["text"].toString()) {
        return;
    }
    ReportChange(bound, text, [line, &bound](bool) {
        if (!line->isModified()) {
            line->setText(bound.values["text"].toString());
        }
    });
}

void FormBinding::BindTick(Bound& bound) {
    auto* const button = qobject_cast<QAbstractButton*>(bound.widget);
    connect(button, &QAbstractButton::clicked, this, [this, button, &bound] {
        ReportChange(bound, button->isChecked() || bound.kind == "OptionButton",
                     [this, &bound](bool) { ShowAgain(bound.kind, "checked"); });
    });
}

void FormBinding::BindList(Bound& bound) {
    auto* const list = qobject_cast<QComboBox*>(bound.widget);
    list->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    list->installEventFilter(this);
    connect(list, &QComboBox::activated, this, [this, &bound](int index) {
        if (index != bound.values["index"].toInt()) {
            ReportChange(bound, index, [this](bool) { ShowAgain("ComboBox", "index"); });
        }
    });
}

void FormBinding::BindTable(Bound& bound) {
    auto* const table = qobject_cast<QTreeWidget*>(bound.widget);
    connect(table, &QTreeWidget::currentItemChanged, this, [this, table, &bound](QTreeWidgetItem* item) {
        if (!isShowing_ && item != nullptr) {
            ReportChange(bound, table->indexOfTopLevelItem(item), [this](bool) { ShowAgain("ListView", "index"); });
        }
    });
    connect(table, &QTreeWidget::itemActivated, this, [this, &bound] { Act(bound, "dblclick"); });
}

void FormBinding::BindBar(Bound& bound) {
    auto* const bar = qobject_cast<QSlider*>(bound.widget);
    bar->setTracking(false);
    bar->installEventFilter(this);
    connect(bar, &QSlider::valueChanged, this, [this, &bound](int value) {
        if (!isShowing_) {
            ReportChange(bound, value, [this](bool) { ShowAgain("ScrollBar", "value"); });
        }
    });
}

void FormBinding::Act(const Bound& bound, const QString& deed) {
    mirror_.Act(Report(deed, bound.name));
}

void FormBinding::ReportChange(const Bound& bound, const QJsonValue& value, Mirror::Answer answer) {
    QJsonObject report = Report("change", bound.name);
    report["value"] = value;
    mirror_.Act(report, std::move(answer));
}

void FormBinding::ShowAgain(const QString& kind, const QString& member) {
    for (const auto& [name, bound] : controls_) {
        if (bound.kind == kind && bound.values.contains(member)) {
            Change(name, member, bound.values[member]);
        }
    }
}

bool FormBinding::eventFilter(QObject* watched, QEvent* event) {
    const auto found = controls_.find(ControlOf(watched->objectName()));
    if (found == controls_.end()) {
        return false;
    }
    Bound& bound = found->second;
    const QString deed = bound.values["acts"].toString();
    switch (event->type()) {
        case QEvent::MouseButtonRelease:
            if (deed == "click" && static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton) {
                Act(bound, deed);
            }
            return false;
        case QEvent::MouseButtonDblClick:
            if (deed == "dblclick") {
                Act(bound, deed);
            }
            // The second click of a double one would answer the next question, which nobody has read.
            return bound.kind == "Button" && bound.widget->window()->windowType() == Qt::Dialog;
        case QEvent::KeyPress:
            return OnKey(bound, *static_cast<QKeyEvent*>(event));
        case QEvent::Wheel:
            // Who turns the page does not mean to change a setting on its way.
            if (!bound.widget->hasFocus() && (bound.kind == "ComboBox" || bound.kind == "ScrollBar")) {
                event->ignore();
                return true;
            }
            return false;
        default:
            return false;
    }
}

/// Returns whether the key has been dealt with. Space presses buttons by itself.
bool FormBinding::OnKey(Bound& bound, const QKeyEvent& event) {
    if (bound.kind == "TextBox" && bound.widget->property(kRole) == "pairs" && event.matches(QKeySequence::Paste)) {
        // What is pasted is whole: its parts go where they belong at once.
        QTimer::singleShot(0, this, [this, &bound] { CommitLine(bound); });
        return false;
    }
    const bool isEnter = event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter;
    const bool isSpace = event.key() == Qt::Key_Space;
    if (bound.kind == "TextBox" || bound.kind == "ComboBox" || bound.kind == "ScrollBar" || !(isEnter || isSpace)) {
        return false;
    }
    if (event.isAutoRepeat()) {
        return true;  // it was meant for what was there before
    }
    if (const QString deed = bound.values["acts"].toString(); !deed.isEmpty()) {
        Act(bound, deed);
        return true;
    }
    if (bound.kind == "Button" && isEnter) {
        qobject_cast<QAbstractButton*>(bound.widget)->click();
        return true;
    }
    return false;
}

// --- what the driver shows

FormBinding::Show FormBinding::ShowOf(const QString& member) {
    static const QHash<QString, Show> shows{
        {"text", &FormBinding::ShowText},       {"checked", &FormBinding::ShowTick},
        {"enabled", &FormBinding::ShowEnabled}, {"visible", &FormBinding::ShowVisible},
        {"look", &FormBinding::ShowLook},       {"tip", &FormBinding::ShowTip},
        {"items", &FormBinding::ShowItems},     {"index", &FormBinding::ShowIndex},
        {"minimum", &FormBinding::ShowMinimum}, {"maximum", &FormBinding::ShowMaximum},
        {"value", &FormBinding::ShowValue},     {"cell", &FormBinding::ShowCell},
    };
    return shows.value(member);
}

void FormBinding::ShowText(Bound& bound, const QJsonValue& value) {
    const QString text = value.toString();
    if (bound.action != nullptr) {
        bound.action->setText(text);
    } else if (auto* const line = qobject_cast<QLineEdit*>(bound.widget)) {
        if (!line->isModified()) {
            line->setText(text);
            line->setCursorPosition(0);
        }
    } else if (auto* const button = qobject_cast<QAbstractButton*>(bound.widget)) {
        button->setText(text);
    } else if (auto* const box = qobject_cast<QGroupBox*>(bound.widget)) {
        box->setTitle(Plain(text));
    } else if (auto* const page = qobject_cast<QTextBrowser*>(bound.widget)) {
        ShowHelp(*page, text);
    } else if (auto* const label = qobject_cast<QLabel*>(bound.widget); label != nullptr && bound.kind == "Label") {
        label->setText(QString(text).replace("\r\n", "\n"));
    }
}

void FormBinding::ShowTick(Bound& bound, const QJsonValue& value) {
    if (bound.action != nullptr) {
        bound.action->setChecked(value.toBool());
    } else if (auto* const button = qobject_cast<QAbstractButton*>(bound.widget)) {
        button->setChecked(value.toBool());
    }
}

void FormBinding::ShowEnabled(Bound& bound, const QJsonValue& value) {
    if (bound.action != nullptr) {
        bound.action->setEnabled(value.toBool());
    } else if (bound.kind == "Frame") {
        Mark(*bound.widget, "off", !value.toBool());  // what is in it has a state of its own
    } else {
        bound.widget->setEnabled(value.toBool());
    }
}

void FormBinding::ShowVisible(Bound& bound, const QJsonValue& value) {
    if (bound.name == "mPopupSys") {
        return;  // it pops up; see the tray
    }
    if (bound.action != nullptr) {
        bound.action->setVisible(value.toBool());
    } else {
        const bool isOfNoUse =
            bound.kind == "PictureBox" && bound.widget->property(kRole) == "picture" && !bound.values.contains("acts");
        FieldAround(bound.widget)->setVisible(value.toBool() && !isOfNoUse);
    }
}

void FormBinding::ShowLook(Bound& bound, const QJsonValue& value) {
    if (bound.widget != nullptr) {
        Mark(*bound.widget, "look", value.toString());
    }
}

void FormBinding::ShowTip(Bound& bound, const QJsonValue& value) {
    if (bound.widget != nullptr) {
        bound.widget->setToolTip(value.toString());
    }
}

void FormBinding::ShowItems(Bound& bound, const QJsonValue& value) {
    const QStringList items = value.toVariant().toStringList();
    if (auto* const list = qobject_cast<QComboBox*>(bound.widget)) {
        int longest = 6;
        for (const QString& item : items) {
            longest = std::max(longest, static_cast<int>(item.size()));
        }
        list->clear();
        list->addItems(items);
        list->setMinimumContentsLength(std::min(longest, 18));
    } else if (auto* const table = qobject_cast<QTreeWidget*>(bound.widget)) {
        table->clear();
        for (const QString& item : items) {
            table->addTopLevelItem(new QTreeWidgetItem(item.split('\t')));
            table->setColumnCount(std::max(table->columnCount(), static_cast<int>(item.count('\t')) + 1));
        }
        for (int column = 0; column < table->columnCount(); ++column) {
            table->resizeColumnToContents(column);
        }
    }
    if (bound.values.contains("index")) {
        ShowIndex(bound, bound.values["index"]);
    }
}

void FormBinding::ShowIndex(Bound& bound, const QJsonValue& value) {
    if (auto* const list = qobject_cast<QComboBox*>(bound.widget)) {
        list->setCurrentIndex(value.toInt());
    } else if (auto* const table = qobject_cast<QTreeWidget*>(bound.widget)) {
        table->setCurrentItem(table->topLevelItem(value.toInt()));
    }
}

void FormBinding::ShowMinimum(Bound& bound, const QJsonValue& value) {
    qobject_cast<QSlider*>(bound.widget)->setMinimum(value.toInt());
}

void FormBinding::ShowMaximum(Bound& bound, const QJsonValue& value) {
    qobject_cast<QSlider*>(bound.widget)->setMaximum(value.toInt());
}

void FormBinding::ShowValue(Bound& bound, const QJsonValue& value) {
    auto* const bar = qobject_cast<QSlider*>(bound.widget);
    if (!bar->isSliderDown()) {
        bar->setValue(value.toInt());
    }
}

/// The buttons of the pad change their places, and not what they do.
void FormBinding::ShowCell(Bound& bound, const QJsonValue& value) {
    for (auto* const grid : content_.findChildren<QGridLayout*>()) {
        if (grid->indexOf(bound.widget) >= 0) {
            grid->removeWidget(bound.widget);
            grid->addWidget(bound.widget, value.toInt() / 3, value.toInt() % 3);
            return;
        }
    }
}

}  // namespace kestrane::desktop
