#pragma once

#include "kernel/base/counters.h"
#include "kernel/base/errors.h"
#include "kernel/base/log.h"
#include "kernel/base/waits.h"
#include "platform/clock.h"
#include "settings/persist.h"
#include "state/driver_state.h"

namespace kestrane {

/// What nearly every class of the driver works with. The driver owns all of it and outlives whoever holds a copy. It is
/// the first member of the struct of what a class needs.
struct Essentials {
    DriverState& state;
    Persist& persist;
    Log& log;
    Clock& clock;
    Waits& waits;
    SwallowLedger& ledger;
    Counters& counters;
};

}  // namespace kestrane
