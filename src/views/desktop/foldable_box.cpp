#include "views/desktop/foldable_box.h"

#include <QLayout>

namespace kestrane::desktop {
namespace {

constexpr int kMargin = 10;

}  // namespace

void MakeFoldable(QGroupBox& box) {
    QWidget* const body = box.layout()->itemAt(0)->widget();
    const auto show = [&box, body](bool isOpen) {
        body->setVisible(isOpen);
        box.layout()->setContentsMargins(kMargin, 0, kMargin, isOpen ? kMargin : 0);
    };
    show(box.isChecked());
    QObject::connect(&box, &QGroupBox::toggled, body, show);
}

}  // namespace kestrane::desktop
