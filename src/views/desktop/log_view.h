#pragma once

#include <QJsonArray>
#include <QObject>
#include <QStringList>

class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QWidget;

namespace kestrane::desktop {

/// The log window's text that grows: it can be searched, held and saved. `content` outlives it.
class LogView final : public QObject {
public:
    explicit LogView(QWidget& content);

    /// The number of the line that it wants next.
    int Next() const { return next_; }
    void Clear();
    void Append(int first, const QJsonArray& lines);

private:
    void Show();
    void AppendShown(const QStringList& lines);
    bool Finds(const QString& line) const;
    void TakeWaiting();
    void TellCount();
    void Save();

    QPlainTextEdit& text_;
    QLineEdit& search_;
    QPushButton& hold_;
    QLabel& count_;
    QStringList lines_;
    QStringList waiting_;  ///< while it is held
    int next_ = 1;
};

}  // namespace kestrane::desktop
