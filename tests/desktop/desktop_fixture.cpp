#include "desktop/desktop_fixture.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QElapsedTimer>
#include <QLabel>
#include <QMenu>
#include <QRadioButton>
#include <QTest>
#include <cmath>

#include "views/desktop/theme.h"

namespace kestrane::desktop {

DesktopFixture::DesktopFixture() {
    kept = std::make_unique<QSettings>(QString::fromStdString(folder.Path() / "handbox.ini"), QSettings::IniFormat);
}

DesktopFixture::~DesktopFixture() {
    EndDesk();
    EndTray();
}

void DesktopFixture::EndTray() {
    tray.kill();
    tray.waitForFinished();
}

void DesktopFixture::StartAll(std::vector<std::string> mountOptions) {
    StartMount(std::move(mountOptions));
    StartActivator();
    client = std::make_unique<process::HttpClient>(Client(1));
    Connect(*client);
    StartDesk();
    ASSERT_TRUE(Until([this] { return State() == "Tracking" && IsOpen("frmHandBox"); }));
    desk->Main().activateWindow();
    ASSERT_TRUE(Until([this] { return desk->Main().isActiveWindow(); }));
}

void DesktopFixture::StartDesk() {
    Wear(Theme::Dark);
    mirror = std::make_unique<Mirror>();
    desk = std::make_unique<Desk>(*mirror, *kept, gamepad, life);
    mirror->ConnectTo(QString::fromStdString(folder.Path() / "kestrane" / "handbox"));
}

void DesktopFixture::EndDesk() {
    desk.reset();
    mirror.reset();
    QCoreApplication::processEvents();
}

void DesktopFixture::StartTray(const char* edge) {
    tray.start("trayer", {"--edge", edge, "--align", "right", "--widthtype", "percent", "--width", "100", "--height",
                          "28", "--SetDockType", "true", "--SetPartialStrut", "true", "--expand", "false"});
    ASSERT_TRUE(Until([] { return TrayIcon::Exists(); }));
}

bool DesktopFixture::Until(const std::function<bool()>& holds, int mostMs) {
    return QTest::qWaitFor(holds, mostMs);
}

void DesktopFixture::LiveFor(int ms) {
    QTest::qWait(ms);
}

QWidget* DesktopFixture::AnyWindowOf(const QString& form) {
    for (QWidget* const window : QApplication::topLevelWidgets()) {
        if (window->objectName() == "own" + form) {
            return window;
        }
    }
    return nullptr;
}

QWidget* DesktopFixture::WindowOf(const QString& form) {
    QWidget* const window = AnyWindowOf(form);
    return window != nullptr && window->isVisible() && !window->isMinimized() ? window : nullptr;
}

void DesktopFixture::Press(const QString& form, const QString& objectName) {
    auto* const widget = Find(form, objectName);
    ASSERT_NE(widget, nullptr) << objectName.toStdString();
    ASSERT_TRUE(Until([widget] { return widget->isVisible() && widget->isEnabled(); })) << objectName.toStdString();
    // A box is ticked by its mark and its words, not by the room beside them.
    const bool isBox = qobject_cast<QCheckBox*>(widget) != nullptr || qobject_cast<QRadioButton*>(widget) != nullptr;
    QTest::mouseClick(widget, Qt::LeftButton, {}, isBox ? QPoint(12, widget->height() / 2) : widget->rect().center());
}

void DesktopFixture::Choose(const QString& entry) {
    auto* const action = desk->Main().findChild<QAction*>(entry);
    ASSERT_NE(action, nullptr) << entry.toStdString();
    action->trigger();
}

bool DesktopFixture::IsTicked(const QString& entry) const {
    return desk->Main().findChild<QAction*>(entry)->isChecked();
}

QString DesktopFixture::State() const {
    return desk->Main().findChild<QLabel*>("ownState")->text();
}

double DesktopFixture::Declination() {
    return Good(client->Get("declination")).value.to_number<double>();
}

/// The driver's picture of the mount is up to a second old.
bool DesktopFixture::Moves() {
    const double before = Declination();
    LiveFor(1500);
    return std::abs(Declination() - before) > 0.002;
}

void DesktopFixture::X(const QString& command) {
    QProcess::execute("xdotool", command.split(' '));
    QCoreApplication::processEvents();
}

}  // namespace kestrane::desktop
