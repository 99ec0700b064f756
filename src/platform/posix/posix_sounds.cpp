#include "platform/posix/posix_sounds.h"

#include <unistd.h>

namespace kestrane {

void PosixSounds::Beep() {
    if (isatty(STDERR_FILENO) == 1) {
        // It does no harm when the bell cannot ring.
        [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, "\a", 1);
    }
}

}  // namespace kestrane
