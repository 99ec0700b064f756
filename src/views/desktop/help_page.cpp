#include "views/desktop/help_page.h"

#include <QFile>
#include <QRegularExpression>

namespace kestrane::desktop {

void ShowHelp(QTextBrowser& browser, const QString& page) {
    QFile file(":/help/" + page);
    if (page.isEmpty() || !file.open(QIODevice::ReadOnly)) {
        browser.setPlainText(page.isEmpty() ? QString() : QObject::tr("This page of the help cannot be had now."));
        return;
    }
    // The pages bring colours of their own, for a browser.
    static const QRegularExpression style("<style>.*</style>", QRegularExpression::DotMatchesEverythingOption);
    browser.setHtml(QString::fromUtf8(file.readAll()).remove(style));
}

}  // namespace kestrane::desktop
