#pragma once

#include <QGroupBox>

namespace kestrane::desktop {

/// A box with a tick shows its content only while it is ticked. The content is the one widget in its layout.
void MakeFoldable(QGroupBox& box);

}  // namespace kestrane::desktop
