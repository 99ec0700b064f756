#include "views/desktop/gamepad.h"

#include <fcntl.h>
#include <linux/joystick.h>
#include <unistd.h>
#include <utility>

namespace kestrane::desktop {
namespace {

constexpr int kLookForGamepadMs = 3000;
constexpr int kFarOut = 20000;  // of 32767

/// The first stick, and the pad that Linux tells as a pair of axes.
constexpr unsigned kAcross = 0, kDown = 1, kPadAcross = 6, kPadDown = 7;

}  // namespace

Gamepad::Gamepad(QString device, QObject* parent) : QObject(parent), device_(std::move(device)) {
    again_.setInterval(kLookForGamepadMs);
    connect(&again_, &QTimer::timeout, this, &Gamepad::Open);
    again_.start();
    Open();
}

Gamepad::~Gamepad() {
    Close();
}

void Gamepad::Open() {
    file_ = ::open(device_.toLocal8Bit().constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (file_ < 0) {
        return;
    }
    again_.stop();
    notifier_ = std::make_unique<QSocketNotifier>(file_, QSocketNotifier::Read);
    connect(notifier_.get(), &QSocketNotifier::activated, this, &Gamepad::Read);
}

/// A gamepad that has gone holds nothing.
void Gamepad::Close() {
    if (file_ < 0) {
        return;
    }
    if (QSocketNotifier* const notifier = notifier_.release()) {
        notifier->setEnabled(false);
        notifier->deleteLater();
    }
    ::close(std::exchange(file_, -1));
    axes_.clear();
    if (std::exchange(cell_, -1) >= 0) {
        Q_EMIT Points(-1);
    }
    again_.start();
}

void Gamepad::Read() {
    js_event event{};
    for (;;) {
        const ssize_t got = ::read(file_, &event, sizeof event);
        if (got == static_cast<ssize_t>(sizeof event)) {
            Take(event.type, event.number, event.value);
            continue;
        }
        if (got == 0 || (got < 0 && errno != EAGAIN && errno != EINTR)) {
            Close();
        }
        return;
    }
}

void Gamepad::Take(unsigned type, unsigned number, int value) {
    if (type == JS_EVENT_BUTTON && value != 0) {  // and not the state that is told at the beginning
        Q_EMIT StopPressed();
    } else if (type == JS_EVENT_AXIS) {
        TakeAxis(number, value);
    }
}

void Gamepad::TakeAxis(unsigned number, int value) {
    axes_[number] = value > kFarOut ? 1 : value < -kFarOut ? -1 : 0;
    const auto of = [this](unsigned pad, unsigned stick) { return axes_[pad] != 0 ? axes_[pad] : axes_[stick]; };
    const int x = of(kPadAcross, kAcross);
    const int y = of(kPadDown, kDown);
    const int cell = x == 0 && y == 0 ? -1 : 4 + x + 3 * y;
    if (std::exchange(cell_, cell) != cell) {
        Q_EMIT Points(cell);
    }
}

}  // namespace kestrane::desktop
