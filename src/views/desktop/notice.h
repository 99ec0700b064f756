#pragma once

#include <QString>

namespace kestrane::desktop {

/// Shows words as a notice of the desktop, beside the program's windows; nothing where the desktop has none.
void ShowNotice(const QString& words, bool isGrave);

}  // namespace kestrane::desktop
