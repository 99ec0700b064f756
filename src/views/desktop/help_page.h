#pragma once

#include <QString>
#include <QTextBrowser>

namespace kestrane::desktop {

/// Shows a page of the help, by the name of its file, in the colours of the theme.
void ShowHelp(QTextBrowser& browser, const QString& page);

}  // namespace kestrane::desktop
