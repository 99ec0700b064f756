#include "platform/posix/posix_sounds.h"

#include <unistd.h>

namespace kestrane {

void PosixSounds::Beep() {
    if (isatty(STDERR_FILENO) == 1) {
        // A bell that cannot be rung is nobody's loss.
        [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, "\a", 1);
    }
}

}  // namespace kestrane
