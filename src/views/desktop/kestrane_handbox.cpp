// kestrane-handbox: the hand box on the desktop. docs/desktop.md tells what it does on which desktop.

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QIcon>
#include <QLockFile>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSettings>
#include <QStandardPaths>
#include <csignal>
#include <cstdio>

#include "views/desktop/desk.h"
#include "views/desktop/mirror.h"
#include "views/desktop/theme.h"

namespace {

using namespace kestrane::desktop;

constexpr int kWrongUse = 2;
constexpr int kAlreadyRuns = 3;

/// Under Wayland a window cannot be told where to stand, nor to lie above others: through X11 it can.
void PreferX11() {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && !qEnvironmentVariableIsEmpty("DISPLAY")) {
        qputenv("QT_QPA_PLATFORM", "xcb");
    }
}

/// A request is what starts a driver; its answer tells nothing here, since the driver opens its socket by itself.
void StartDriver(QNetworkAccessManager& network, const QUrl& address) {
    QNetworkReply* const reply = network.get(QNetworkRequest(address.resolved(QUrl("/management/apiversions"))));
    QObject::connect(reply, &QNetworkReply::finished, reply, &QObject::deleteLater);
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
    QApplication::setApplicationName("kestrane-handbox");
    QApplication::setApplicationDisplayName("Kestrane V2");
    QApplication::setOrganizationName("kestrane");
    QGuiApplication::setDesktopFileName("kestrane-handbox");
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setStyle("Fusion");
    QApplication::setWindowIcon(QIcon(":/icons/kestrane-handbox.svg"));

    QCommandLineParser options;
    options.setApplicationDescription("The hand box of the telescope mount on the desktop.");
    options.addHelpOption();
    options.addOption(
        {"socket", "The inherited socket <number> to the driver that has started this program.", "number"});
    options.addOption({"path", "The driver's socket at <path>.", "path",
                       qEnvironmentVariable("XDG_RUNTIME_DIR") + "/kestrane/handbox"});
    options.addOption({"address", "Where \"Start\" asks for a driver.", "address", "http://127.0.0.1:11111/"});
    options.addOption({"gamepad", "The <device> of a gamepad.", "device", "/dev/input/js0"});
    options.process(application);

    QSettings kept(QSettings::IniFormat, QSettings::UserScope, "kestrane", "handbox");
    Wear(ThemeOf(kept.value("theme").toString()));
    const bool isOurs = options.isSet("socket");
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
    Desk desk(mirror, kept, options.value("gamepad"), isOurs);
    QObject::connect(&desk, &Desk::StartPressed, &desk, [&] {
        mirror.ConnectTo(options.value("path"));
        StartDriver(network, QUrl(options.value("address")));
    });
    if (!isOurs) {
        desk.Main().show();
        mirror.ConnectTo(options.value("path"));
    } else if (!mirror.Adopt(options.value("socket").toInt())) {
        std::fprintf(stderr, "kestrane-handbox: there is no socket %s.\n", qPrintable(options.value("socket")));
        return kWrongUse;
    }
    return QApplication::exec();
}
