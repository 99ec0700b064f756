#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <string>

#include "forms/frm_sky.h"
#include "platform/clock.h"
#include "state/driver_state.h"

namespace kestrane {

struct NightJournalNeeds {
    const DriverState& state;
    Clock& clock;
    frmSky& form;
    std::function<bool()> linkConnected;
};

/// What a chart of the night is drawn from: where the tube pointed, once a second, and the guide pulses, of the last
/// six hours, whether or not a view is there. Each is a piece of `frmSky::rtbJournal`; its words are separated by
/// blanks:
///
///     60.012 2026-11-23 21:28:12 P 21.470083 45.00000 T
///     61.500 2026-11-23 21:28:13 G W 350
///
/// First seconds on a clock that never jumps, and the local time. "P" is a position: RA in hours, Dec in degrees, and
/// "T" where the mount tracks and nothing else moves it, else "-". "G" is a guide pulse: its direction and its
/// milliseconds. Without a link there are no positions. Logic thread only.
class NightJournal final {
public:
    static constexpr std::int64_t kKeptMs = 6LL * 60 * 60 * 1000;

    explicit NightJournal(NightJournalNeeds needs);

    /// Direction: 1 East, 2 West, 3 North, 4 South; any other is left out.
    void AddPulse(std::int32_t durationMs, std::int16_t direction);

private:
    void AddPosition();
    void Add(const std::string& what);
    std::int64_t Now();

    NightJournalNeeds needs_;
    std::deque<std::int64_t> times_;  ///< of the pieces, in milliseconds
    Tick lastTick_;
    std::int64_t elapsedMs_ = 0;  ///< at `lastTick_`
};

}  // namespace kestrane
