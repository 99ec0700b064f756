#pragma once

#include <cstdlib>

namespace kestrane {

/// How much of a long run is done, of `whole` rounds: all of them in the optimised build; a tenth where assertions or
/// sanitizers look for other faults and take ten times as long, unless KESTRANE_LONG stands in the environment.
inline int RunLength(int whole) {
#if defined(NDEBUG)
    return whole;
#else
    return std::getenv("KESTRANE_LONG") != nullptr ? whole : (whole + 9) / 10;
#endif
}

}  // namespace kestrane
