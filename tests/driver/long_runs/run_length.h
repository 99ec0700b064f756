#pragma once

#include <cstdlib>

namespace kestrane {

/// How much of a long run is done, of `whole` rounds: all of them; under the sanitizers, which look for other faults
/// and take ten times as long, a tenth, unless KESTRANE_LONG stands in the environment.
inline int RunLength(int whole) {
#if defined(__SANITIZE_ADDRESS__)
    return std::getenv("KESTRANE_LONG") != nullptr ? whole : (whole + 9) / 10;
#else
    return whole;
#endif
}

}  // namespace kestrane
