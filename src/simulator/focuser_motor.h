#pragma once

#include <cstdint>

namespace kestrane::simulator {

/// The focus motor on the auxiliary port: it runs or is at rest, and only a test can see where.
class FocuserMotor {
public:
    static constexpr double kFastPerMs = 1.0;
    static constexpr double kSlowPerMs = 0.25;

    void Advance(std::int64_t milliseconds) {
        position_ += static_cast<double>(direction_ * milliseconds) * (fast_ ? kFastPerMs : kSlowPerMs);
    }
    void Run(int direction) { direction_ = direction; }  ///< 1, -1, or 0 to stop
    void Fast(bool fast) { fast_ = fast; }

    double Position() const { return position_; }  ///< milliseconds of travel at fast speed; plus counts up, minus down
    int RunsTo() const { return direction_; }
    bool IsFast() const { return fast_; }

private:
    double position_ = 0;
    int direction_ = 0;
    bool fast_ = true;
};

}  // namespace kestrane::simulator
