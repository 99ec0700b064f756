#pragma once

#include <QSettings>

namespace kestrane::desktop {

/// The name of the program as a person reads it.
inline constexpr const char* kProgramName = "Kestrane V2";

/// Names, icon and colours of this program; once there is a QApplication.
void SetUpApplication(const QSettings& kept);

}  // namespace kestrane::desktop
