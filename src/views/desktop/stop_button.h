#pragma once

#include <QPushButton>
#include <QTimer>

namespace kestrane::desktop {

/// STOP, which every window has. It acts at the touch, and tells what became of it.
class StopButton final : public QPushButton {
    Q_OBJECT

public:
    explicit StopButton(QWidget* parent = nullptr);

    void ShowAsked();
    void ShowAnswer(bool heard);

Q_SIGNALS:
    void StopPressed();

private:
    bool event(QEvent* event) override;
    void Show(const QString& text, bool isUnheard);

    QTimer shown_;
};

}  // namespace kestrane::desktop
