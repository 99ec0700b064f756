#include "settings/lock_wait.h"

namespace kestrane {

bool LockWait::WaitAStep() {
    if (leftMs_ <= 0) {
        return false;
    }
    clock_.Sleep(kStepMs);
    leftMs_ -= kStepMs;
    return true;
}

}  // namespace kestrane
