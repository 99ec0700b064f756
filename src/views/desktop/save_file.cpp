#include "views/desktop/save_file.h"

#include <QBuffer>
#include <QDir>
#include <QFileDialog>
#include <QMessageBox>
#include <QSaveFile>
#include <QStandardPaths>

namespace kestrane::desktop {

void SaveFile(QWidget* parent, const QString& name, const QByteArray& content) {
    const QDir documents(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation));
    const QString path = QFileDialog::getSaveFileName(parent, QObject::tr("Save"), documents.filePath(name));
    if (path.isEmpty()) {
        return;
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size() || !file.commit()) {
        QMessageBox::warning(parent, QObject::tr("Save"),
                             QObject::tr("%1 could not be written: %2").arg(path, file.errorString()));
    }
}

QByteArray PngOf(const QPixmap& picture) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    picture.save(&buffer, "PNG");
    return bytes;
}

}  // namespace kestrane::desktop
