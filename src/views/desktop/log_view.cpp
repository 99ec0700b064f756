#include "views/desktop/log_view.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>
#include <algorithm>

#include "views/desktop/save_file.h"

namespace kestrane::desktop {
namespace {

constexpr qsizetype kMostLines = 2000;

void Trim(QStringList& lines) {
    if (lines.size() > kMostLines) {
        lines.erase(lines.begin(), lines.end() - kMostLines);
    }
}

}  // namespace

LogView::LogView(QWidget& content)
    : QObject(&content),
      text_(*content.findChild<QPlainTextEdit*>("rtbLog")),
      search_(*content.findChild<QLineEdit*>("ownSearch")),
      hold_(*content.findChild<QPushButton*>("ownHold")),
      count_(*content.findChild<QLabel*>("ownCount")) {
    connect(&search_, &QLineEdit::textChanged, this, &LogView::Show);
    connect(&hold_, &QPushButton::toggled, this, [this](bool held) {
        if (!held) {
            TakeWaiting();
        }
        TellCount();
    });
    connect(content.findChild<QPushButton*>("ownSave"), &QPushButton::clicked, this, &LogView::Save);
}

void LogView::Clear() {
    lines_.clear();
    waiting_.clear();
    text_.clear();
    next_ = 1;
}

void LogView::Append(int first, const QJsonArray& lines) {
    next_ = first + static_cast<int>(lines.size());
    for (const QJsonValue& line : lines) {
        QString text = line.toArray()[0].toString();
        waiting_.append(text.startsWith("\r\n") ? text.mid(2) : text);
    }
    Trim(waiting_);
    if (!hold_.isChecked()) {
        TakeWaiting();
    }
    TellCount();
}

void LogView::TakeWaiting() {
    AppendShown(waiting_);
    lines_ += waiting_;
    waiting_.clear();
    Trim(lines_);
}

/// It follows the newest line unless a person reads an earlier one.
void LogView::AppendShown(const QStringList& lines) {
    QScrollBar& bar = *text_.verticalScrollBar();
    const bool follows = bar.value() >= bar.maximum() - 2;
    const int was = bar.value();
    for (const QString& line : lines) {
        if (Finds(line)) {
            text_.appendPlainText(line);
        }
    }
    bar.setValue(follows ? bar.maximum() : was);
}

bool LogView::Finds(const QString& line) const {
    return line.contains(search_.text().trimmed(), Qt::CaseInsensitive);
}

void LogView::Show() {
    text_.clear();
    AppendShown(lines_);
    TellCount();
}

void LogView::TellCount() {
    const auto found = std::ranges::count_if(lines_, [this](const QString& line) { return Finds(line); });
    const QString words = search_.text().trimmed().isEmpty() ? QString() : tr("%1 lines found").arg(found);
    count_.setText(hold_.isChecked() ? tr("Held; %1 new lines wait. %2").arg(waiting_.size()).arg(words) : words);
}

/// All of it, also what the search hides.
void LogView::Save() {
    SaveFile(text_.window(), "mount-log.txt", ((lines_ + waiting_).join("\r\n") + "\r\n").toUtf8());
}

}  // namespace kestrane::desktop
