#include "views/desktop/application.h"

#include <QApplication>
#include <QIcon>

#include "views/desktop/theme.h"

namespace kestrane::desktop {

/// It has no display name: the toolkit would put that behind the caption of each window.
void SetUpApplication(const QSettings& kept) {
    QApplication::setApplicationName("kestrane-handbox");
    QGuiApplication::setDesktopFileName("kestrane-handbox");
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setStyle("Fusion");
    QApplication::setWindowIcon(QIcon(":/icons/kestrane-handbox.svg"));
    Wear(ThemeOf(kept.value("theme").toString()));
}

}  // namespace kestrane::desktop
