#include "settings/lock_wait.h"

namespace kestrane {

void LockWait::Begin() {
    leftMs_ = Rests() ? 0 : kLongestMs;
}

void LockWait::BeginAnew() {
    GotThrough();
    Begin();
}

bool LockWait::WaitAStep() {
    if (leftMs_ <= 0) {
        return false;
    }
    clock_.Sleep(kStepMs);
    leftMs_ -= kStepMs;
    if (leftMs_ <= 0) {
        inVainAt_ = clock_.GetTickCount();
    }
    return true;
}

bool LockWait::Rests() const {
    if (!inVainAt_) {
        return false;
    }
    const std::int32_t since = clock_.GetTickCount() - *inVainAt_;
    return since >= 0 && since < kRestMs;
}

}  // namespace kestrane
