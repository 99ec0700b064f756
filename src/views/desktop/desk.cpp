#include "views/desktop/desk.h"

#include <QApplication>
#include <QComboBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QPlainTextEdit>
#include <QTextBrowser>
#include <QTreeWidget>
#include <algorithm>
#include <utility>

#include "views/desktop/application.h"
#include "views/desktop/designs.h"
#include "views/desktop/notice.h"

namespace kestrane::desktop {
namespace {

constexpr const char* kHandBox = "frmHandBox";
constexpr const char* kSky = "frmSky";
constexpr const char* kLog = "frmLogWindow";
constexpr const char* kLogStream = "frmLogWindow.rtbLog";
constexpr const char* kJournalStream = "frmSky.rtbJournal";

/// Windows that a person leaves open: they stay where they were put. The others open above the hand box each time.
bool StaysOpen(const QString& form) {
    return form == kLog || form == "frmClients" || form == "frmHelp";
}

QString PlaceKey(const QString& form) {
    return "places/" + form;
}

/// Where arrows have a meaning of their own.
bool TakesArrows(const QObject* target) {
    return qobject_cast<const QLineEdit*>(target) != nullptr || qobject_cast<const QComboBox*>(target) != nullptr ||
           qobject_cast<const QAbstractItemView*>(target) != nullptr ||
           qobject_cast<const QAbstractScrollArea*>(target) != nullptr || qobject_cast<const QMenu*>(target) != nullptr;
}

}  // namespace

Desk::Desk(Mirror& mirror, QSettings& kept, const QString& gamepad, Life life)
    : mirror_(mirror), kept_(kept), hands_(mirror), gamepad_(gamepad), life_(life), keepsNext_(life == Life::Driver) {
    main_ = std::make_unique<MainWindow>(mirror, hands_, sky_, journal_, kept);
    tray_ = std::make_unique<TrayIcon>(mirror, main_->PopupMenu(), nullptr);
    connect(&mirror, &Mirror::Opened, this, &Desk::TakeNewDriver);
    connect(&mirror, &Mirror::Closed, this, &Desk::LoseDriver);
    connect(&mirror, &Mirror::Snapshot, this, &Desk::TakeSnapshot);
    connect(&mirror, &Mirror::Changes, this, &Desk::TakeChanges);
    connect(&mirror, &Mirror::Lines, this, &Desk::TakeLines);
    connect(&mirror, &Mirror::Refused, main_.get(), &MainWindow::ShowRefusal);
    connect(&alerts_, &Alerts::Told, this, &Desk::Alert);
    connect(&session_, &SessionEvents::PersonGone, &hands_, [this] { hands_.LetGo(); });
    connect(&gamepad_, &Gamepad::StopPressed, this, &Desk::Stop);
    connect(&gamepad_, &Gamepad::Points, this, [this](int cell) {
        hands_.LetGo();
        PressPad(cell);
    });
    connect(main_.get(), &MainWindow::StopPressed, this, &Desk::Stop);
    connect(main_.get(), &MainWindow::StartPressed, this, &Desk::StartPressed);
    connect(&main_->Chart(), &JournalBox::Wanted, this, [this] { AskForLines(kJournalStream, journal_.Next()); });
    connect(tray_.get(), &TrayIcon::Changed, this, [this](bool isShown) {
        if (main_->IsBehindIcon()) {
            main_->GoBehindIcon(isShown);
        }
    });
    qApp->installEventFilter(this);
    main_->ShowNoDriver(tr("No driver"), life != Life::Driver);
    main_->setWindowTitle(kProgramName);
}

Desk::~Desk() {
    qApp->removeEventFilter(this);
}

// --- the driver

void Desk::TakeNewDriver() {
    if (std::exchange(process_, mirror_.Process()) != mirror_.Process()) {
        journal_.Clear();
        alerts_.Forget();
        if (log_ != nullptr) {
            log_->Clear();
        }
    }
    if (std::exchange(keepsNext_, false)) {
        mirror_.Send({{"do", "keep"}});
    }
    main_->ShowDriver();
    TellOfWayland();
}

/// What a person misses there is the desktop's doing: told once, and never again.
void Desk::TellOfWayland() {
    constexpr const char* kTold = "told/wayland";
    if (QGuiApplication::platformName().startsWith("wayland") && !kept_.value(kTold).toBool()) {
        kept_.setValue(kTold, true);
        main_->ShowBanner(tr("This desktop decides itself where windows stand and which lies above others."), true);
    }
}

void Desk::LoseDriver(const QString& why) {
    if (life_ == Life::Driver) {
        QCoreApplication::exit();  // quit() would ask the windows, which ask the driver
        return;
    }
    for (const auto& [name, window] : windows_) {
        window->CloseHere();
    }
    // One that has not said why it goes has crashed, which a person has to see.
    main_->ShowNoDriver(why == "person" ? tr("Driver closed") : tr("No driver"), true);
    tray_->ShowState("Not connected", tr("No driver"));
    alerts_.Forget();
    if (life_ == Life::Waits && !why.isEmpty()) {
        main_->hide();
        tray_->Wanted(false);
    }
}

void Desk::TakeSnapshot(const QJsonArray& forms) {
    QStringList open;
    for (const QJsonValue& each : forms) {
        open << each.toObject()["name"].toString();
    }
    for (const auto& [name, window] : windows_) {
        if (!open.contains(name)) {
            window->CloseHere();
        }
    }
    for (const QJsonValue& each : forms) {
        OpenForm(each.toObject());
    }
    ShowSky();
    if (main_->Chart().isChecked()) {
        AskForLines(kJournalStream, journal_.Next());
    }
}

void Desk::TakeChanges(const QJsonArray& changes) {
    bool isOfSky = false;
    for (const QJsonValue& each : changes) {
        const QJsonArray change = each.toArray();
        TakeChange(change[0].toString(), change[1].toString(), change[2].toString(), change[3]);
        isOfSky = isOfSky || change[0].toString() == kSky;
    }
    if (isOfSky) {
        ShowSky();  // what belongs together comes together
    }
}

void Desk::TakeChange(const QString& form, const QString& control, const QString& member, const QJsonValue& value) {
    if (form == kSky) {
        if (member == "text") {
            sky_.Note(control, value.toString());
        }
    } else if (member == "opened") {
        OpenForm(value.toObject());
    } else if (member == "closed") {
        CloseForm(form);
    } else if (form == kHandBox && control == "mPopupSys" && member == "visible") {
        if (value.toBool()) {
            tray_->PopUpMenu();
        }
    } else if (form == kHandBox && control.isEmpty() && member == "visible") {
        ShowMain(value.toBool());
    } else if (ViewWindow* const window = WindowOf(form)) {
        if (control.isEmpty()) {
            window->ChangeWindow(member, value);
        } else {
            window->Binding().Change(control, member, value);
        }
    }
}

void Desk::OpenForm(const QJsonObject& form) {
    const QString name = form["name"].toString();
    if (name == kSky) {
        for (const QJsonValue& each : form["controls"].toArray()) {
            sky_.Note(each.toObject()["name"].toString(), each.toObject()["text"].toString());
        }
        return;
    }
    ViewWindow* const window = WindowOf(name);
    if (window == nullptr) {
        return;
    }
    window->Binding().Fill(form);
    for (const char* const member : {"caption", "onTop", "place"}) {
        if (form.contains(member)) {
            window->ChangeWindow(member, form[member]);
        }
    }
    if (name == kHandBox) {
        ShowMain(form["visible"].toBool());
        return;
    }
    if (name == kLog) {
        AskForLines(kLogStream, log_->Next());
    }
    if (!window->isVisible()) {
        window->Measure();
    }
    // A window above a modal one can only be reached if it is modal too.
    window->OpenAt(UsualPlaceOf(*window), form["modal"].toBool() || AnyModalIsOpen());
}

void Desk::CloseForm(const QString& name) {
    if (const auto found = windows_.find(name); found != windows_.end()) {
        found->second->CloseHere();
    }
}

void Desk::ShowMain(bool visible) {
    if (visible) {
        main_->ComeBack();
        tray_->Wanted(false);
    } else {
        tray_->Wanted(true);
        main_->GoBehindIcon(tray_->IsShown());
    }
}

void Desk::AskForLines(const QString& stream, int from) {
    mirror_.Send({{"do", "lines"}, {"stream", stream}, {"from", from}});
}

void Desk::TakeLines(const QString& stream, int first, const QJsonArray& lines) {
    if (stream == kJournalStream) {
        journal_.Append(first, lines);
        main_->Chart().Draw();
    } else if (stream == kLogStream && log_ != nullptr) {
        log_->Append(first, lines);
    }
}

void Desk::ShowSky() {
    main_->ShowSky();
    FormBinding& handBox = main_->Binding();
    const QString tip = QString("%1 – %2\nRA %3  Dec %4\nAlt %5  Az %6")
                            .arg(kProgramName, sky_.State(), handBox.Text("lblRA"), handBox.Text("lblDEC"),
                                 handBox.Text("lblAlt"), handBox.Text("lblAz"));
    tray_->ShowState(sky_.State(), tip);
    alerts_.Look(sky_, [&handBox](const QString& control) { return handBox.Text(control); });
}

void Desk::Alert(const QString& words, bool isGrave) {
    if (main_->IsOn(MainWindow::Way::Banner)) {
        main_->ShowBanner(words, isGrave);
    }
    if (main_->IsOn(MainWindow::Way::Sound)) {
        QApplication::beep();
    }
    if (main_->IsOn(MainWindow::Way::Notice)) {
        ShowNotice(words, isGrave);
    }
}

// --- windows

ViewWindow* Desk::WindowOf(const QString& form) {
    if (form == kHandBox) {
        return main_.get();
    }
    if (const auto found = windows_.find(form); found != windows_.end()) {
        return found->second.get();
    }
    return DesignedForms().contains(form) ? (windows_[form] = Make(form)).get() : nullptr;
}

std::unique_ptr<ViewWindow> Desk::Make(const QString& form) {
    // No window of the desktop is the parent: all would lie above it, and go behind its icon with it.
    auto window = std::make_unique<ViewWindow>(form, Qt::Dialog, mirror_, hands_, nullptr);
    connect(window.get(), &ViewWindow::StopPressed, this, &Desk::Stop);
    if (form == kLog) {
        log_ = new LogView(*window);
    }
    if (StaysOpen(form)) {
        connect(window.get(), &ViewWindow::Placed, this,
                [this, placed = window.get()] { kept_.setValue(PlaceKey(placed->Form()), placed->pos()); });
    }
    return window;
}

QPoint Desk::UsualPlaceOf(const ViewWindow& window) const {
    const QVariant kept = StaysOpen(window.Form()) ? kept_.value(PlaceKey(window.Form())) : QVariant();
    if (kept.isValid()) {
        return kept.toPoint();
    }
    const QSize size = window.size();
    return window.Form() == kLog ? ViewWindow::TopRightOf(*main_, size) : ViewWindow::CentredOver(*main_, size);
}

bool Desk::AnyModalIsOpen() const {
    return std::ranges::any_of(windows_,
                               [](const auto& entry) { return entry.second->isVisible() && entry.second->isModal(); });
}

// --- hands

void Desk::Stop() {
    hands_.LetGo();
    QList<StopButton*> buttons;
    for (QWidget* const widget : QApplication::allWidgets()) {
        if (auto* const button = qobject_cast<StopButton*>(widget)) {
            button->ShowAsked();
        }
    }
    mirror_.Stop([](bool heard) {
        for (QWidget* const widget : QApplication::allWidgets()) {
            if (auto* const button = qobject_cast<StopButton*>(widget)) {
                button->ShowAnswer(heard);
            }
        }
    });
}

bool Desk::eventFilter(QObject* watched, QEvent* event) {
    const bool isKey = event->type() == QEvent::KeyPress || event->type() == QEvent::KeyRelease;
    // What goes to a window of the system comes again, to the widget that has the focus.
    return isKey && watched->isWidgetType() && OnKey(*static_cast<QKeyEvent*>(event), watched);
}

/// STOP by Space and Escape while the mount moves; the arrows are the pad.
bool Desk::OnKey(QKeyEvent& event, QObject* target) {
    const bool isDown = event.type() == QEvent::KeyPress;
    if (event.key() == stopKey_) {
        if (!isDown && !event.isAutoRepeat()) {
            stopKey_ = 0;
        }
        return true;
    }
    const bool types = qobject_cast<QLineEdit*>(target) != nullptr;
    const bool isStop = event.key() == Qt::Key_Escape || (event.key() == Qt::Key_Space && !types);
    if (isDown && isStop && !event.isAutoRepeat() && sky_.Moves()) {
        stopKey_ = event.key();
        Stop();
        return true;
    }
    if (!isDown && padKey_ != 0 && event.key() == padKey_) {
        if (!event.isAutoRepeat()) {
            padKey_ = 0;
            hands_.LetGo();
        }
        return true;
    }
    if (isDown && (event.modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)) != 0) {
        hands_.LetGo();  // with a key of the system beside it some systems tell of no release
        return false;
    }
    static const QHash<int, int> cells{{Qt::Key_Up, 1}, {Qt::Key_Left, 3}, {Qt::Key_Right, 5}, {Qt::Key_Down, 7}};
    const auto* const widget = qobject_cast<QWidget*>(target);
    if (!isDown || !cells.contains(event.key()) || widget->window() != main_.get() || TakesArrows(target)) {
        return false;
    }
    if (!event.isAutoRepeat() && PressPad(cells[event.key()])) {
        padKey_ = event.key();
    }
    return true;
}

/// By the place of the button, which may change. Returns whether there is one.
bool Desk::PressPad(int cell) {
    QAbstractButton* const button = cell < 0 ? nullptr : main_->Binding().PadButton(cell);
    if (button == nullptr || QApplication::activeModalWidget() != nullptr) {
        return false;
    }
    hands_.Begin(*button, main_->Binding().HoldOf(ControlOf(button->objectName())));
    return true;
}

}  // namespace kestrane::desktop
