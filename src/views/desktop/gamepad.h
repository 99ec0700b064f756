#pragma once

#include <QHash>
#include <QObject>
#include <QSocketNotifier>
#include <QString>
#include <QTimer>
#include <memory>

namespace kestrane::desktop {

/// Stick and pad of the first gamepad are the pad, any of its other buttons stops. It reads the joystick device of
/// Linux, and looks for one now and then while there is none.
class Gamepad final : public QObject {
    Q_OBJECT

public:
    /// `device` is a path such as "/dev/input/js0".
    explicit Gamepad(QString device, QObject* parent = nullptr);
    ~Gamepad() override;

Q_SIGNALS:
    /// The stick points there, 0 north-west to 8 south-east; -1: it stands in the middle.
    void Points(int cell);
    void StopPressed();

private:
    void Open();
    void Close();
    void Read();
    void Take(unsigned type, unsigned number, int value);
    void TakeAxis(unsigned number, int value);

    QString device_;
    QTimer again_;
    std::unique_ptr<QSocketNotifier> notifier_;
    QHash<unsigned, int> axes_;  ///< -1, 0, 1
    int file_ = -1;
    int cell_ = -1;
};

}  // namespace kestrane::desktop
