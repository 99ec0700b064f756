#pragma once

#include <cstdint>
#include <string>

#include "forms/frm_status.h"
#include "forms/hand_box_actions.h"
#include "kernel/base/log.h"
#include "platform/clock.h"
#include "state/driver_state.h"

namespace kestrane {

struct EventJournalNeeds {
    DriverState& state;
    Log& log;
    Clock& clock;
    frmStatus& statusWindow;
    HandBoxActions& panel;
};

/// Two short rings of what happened, with millisecond times: the pulses sent and the positions seen. Logic thread only.
class EventJournal {
public:
    explicit EventJournal(EventJournalNeeds needs) : needs_(needs) {}

    /// Empties both rings and takes the reference time anew.
    void ResetEvents();
    /// Direction: 1 East, 2 West, 3 North, 4 South.
    void AddPulseGuideEvent(std::int16_t value, std::int32_t durationMs, std::int16_t direction);
    /// RA in hours, Dec in degrees. A position that stands still tells of tracking and of a mount that is not parked.
    void AddRaDecEvent(double ra, double dec);

    /// Answers of the command channel, "1," or "0," first. `argument` is the text behind the verb's comma.
    std::string ReferenceTime() const;
    std::string PulseGuideInfo() const;
    std::string RaDecInfo() const;
    std::string PulseGuideEvents(std::string_view argument) const;
    std::string RaDecEvents(std::string_view argument) const;

private:
    EventJournalNeeds needs_;
};

}  // namespace kestrane
