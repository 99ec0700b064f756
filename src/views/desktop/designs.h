#pragma once

#include <QString>
#include <QStringList>
#include <QWidget>

namespace kestrane::desktop {

/// The windows that are drawn in windows/*.ui: names of forms of the driver.
const QStringList& DesignedForms();

/// Makes a window's content below `parent`, with the names of its controls as object names; "btnMove(3)" is
/// "btnMove_3" there. What has no control in the driver has a name that begins with "own". Null for other forms.
QWidget* MakeContent(const QString& form, QWidget* parent);

/// The name of a control from an object name.
QString ControlOf(const QString& objectName);

}  // namespace kestrane::desktop
