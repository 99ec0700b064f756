#pragma once

#include <QByteArray>
#include <QPixmap>
#include <QString>

class QWidget;

namespace kestrane::desktop {

/// Asks a person where, with that name proposed, and writes it. What could not be written is told.
void SaveFile(QWidget* parent, const QString& name, const QByteArray& content);

QByteArray PngOf(const QPixmap& picture);

}  // namespace kestrane::desktop
