// kestrane-handbox: the hand box on the desktop. docs/desktop.md tells what it does on which desktop.

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QLockFile>
#include <QNetworkAccessManager>
#include <QSettings>
#include <QStandardPaths>
#include <QTimer>
#include <csignal>
#include <cstdio>

#include "views/desktop/application.h"
#include "views/desktop/ask_for_driver.h"
#include "views/desktop/desk.h"
#include "views/desktop/mirror.h"

namespace {

using namespace kestrane::desktop;

constexpr int kWrongUse = 2;
constexpr int kAlreadyRuns = 3;
constexpr int kGreetingMs = 1000;

/// Under Wayland a window cannot be told where to stand, nor to lie above others: through X11 it can.
void PreferX11() {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && !qEnvironmentVariableIsEmpty("DISPLAY")) {
        qputenv("QT_QPA_PLATFORM", "xcb");
    }
}

void EndBySignal() {
    // Qt's own loop ends by quit() alone; a program that is asked to end has nothing to save.
    std::signal(SIGTERM, [](int) { std::_Exit(0); });
    std::signal(SIGINT, [](int) { std::_Exit(0); });
}

}  // namespace

int main(int argc, char** argv) {
    PreferX11();
    EndBySignal();
    QApplication application(argc, argv);

    QCommandLineParser options;
    options.setApplicationDescription("The hand box of the telescope mount on the desktop.");
    options.addHelpOption();
    options.addOption(
        {"socket", "The inherited socket <number> to the driver that has started this program.", "number"});
    options.addOption({"wait", "Shows nothing until there is a driver, and goes with it."});
    options.addOption({"path", "The driver's socket at <path>.", "path",
                       qEnvironmentVariable("XDG_RUNTIME_DIR") + "/kestrane/handbox"});
    options.addOption({"address", "Where \"Start\" asks for a driver.", "address", "http://127.0.0.1:11111/"});
    options.addOption({"gamepad", "The <device> of a gamepad.", "device", "/dev/input/js0"});
    options.process(application);

    QSettings kept(QSettings::IniFormat, QSettings::UserScope, "kestrane", "handbox");
    SetUpApplication(kept);
    const Life life = options.isSet("socket") ? Life::Driver : options.isSet("wait") ? Life::Waits : Life::ByHand;
    // Two hand boxes of one user would show the same twice, and one tray icon each.
    const QString runtime = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    QLockFile lock(QDir(runtime).filePath("kestrane-handbox.lock"));
    lock.setStaleLockTime(0);
    if (!lock.tryLock(0)) {
        std::fprintf(stderr, "kestrane-handbox: it runs already.\n");
        return kAlreadyRuns;
    }

    Mirror mirror;
    QNetworkAccessManager network;
    Desk desk(mirror, kept, options.value("gamepad"), life);
    QObject::connect(&desk, &Desk::StartPressed, &desk, [&] {
        desk.KeepNextDriver();
        mirror.ConnectTo(options.value("path"));
        AskForDriver(network, QUrl(options.value("address")));
    });
    if (life != Life::Driver) {
        mirror.ConnectTo(options.value("path"));
        QTimer::singleShot(kGreetingMs, &desk, [&] {
            if (life == Life::ByHand && !mirror.IsOpen()) {
                desk.Main().show();  // else the driver says whether it is behind its icon
            }
        });
    } else if (!mirror.Adopt(options.value("socket").toInt())) {
        std::fprintf(stderr, "kestrane-handbox: there is no socket %s.\n", qPrintable(options.value("socket")));
        return kWrongUse;
    }
    return QApplication::exec();
}
