#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "forms/hand_box_display.h"
#include "kernel/base/log.h"
#include "platform/clock.h"
#include "state/driver_state.h"
#include "state/essentials.h"
#include "state/motion.h"

namespace kestrane {

struct EventJournalNeeds {
    Essentials driver;
    Motion& motion;
    HandBoxDisplay& panel;
    /// Hears of each pulse as `AddPulseGuideEvent` does; may be empty.
    std::function<void(std::int32_t durationMs, std::int16_t direction)> onPulse = {};
};

/// Two short rings of what happened, with millisecond times: the pulses sent and the positions seen. Their memory does
/// not grow, however long they run. Nothing here raises, pumps or talks to the mount. Logic thread only.
///
/// A reader takes the number of the next entry from the end of each answer and passes it the next time. Entries that
/// were never written read as time -1.
class EventJournal {
public:
    static constexpr std::int32_t kCapacity = 1000;  ///< entries of each ring

    explicit EventJournal(EventJournalNeeds needs);

    /// Empties both rings and takes a new reference time. The next position is a new entry, whatever it is.
    void ResetEvents();
    /// `value` as the pulse guide gives it. Direction: 1 East, 2 West, 3 North, 4 South.
    void AddPulseGuideEvent(std::int16_t value, std::int32_t durationMs, std::int16_t direction);
    /// RA in hours, Dec in degrees. A position equal to the last one makes no entry. It is counted: it shows that the
    /// mount tracks, and that it is not parked where no status text says otherwise.
    void AddRaDecEvent(double ra, double dec);

    /// Answers of the command channel; they begin with "1," or "0,". `argument` is the text after the verb's comma,
    /// empty when there is none: the index of the first entry to read, 0 to 999.
    std::string ReferenceTime() const;
    std::string PulseGuideInfo() const;  ///< "1," events since the reset "," write index
    std::string RaDecInfo() const;
    std::string PulseGuideEvents(std::string_view argument) const;
    std::string RaDecEvents(std::string_view argument) const;

private:
    static constexpr std::int32_t kEmptyTime = -1;
    static constexpr double kNoPosition = -1000.0;

    struct Pulse {
        std::int32_t timeMs = kEmptyTime;  ///< since the reference tick
        std::int16_t value = 0;
        std::int32_t durationMs = 0;
        std::int16_t direction = 0;
    };
    struct Position {
        std::int32_t timeMs = kEmptyTime;
        double ra = 0.0;
        double dec = 0.0;
    };
    template <typename Entry>
    struct Ring {
        std::array<Entry, kCapacity> entries{};
        /// Is `kCapacity` after an entry was written to the last place, until the next entry goes to place 0.
        /// Intentional: a reader of the whole ring then starts from 0.
        std::int32_t writeIndex = 0;
        std::int64_t total = 0;

        void WrapIndex();
        void Add(const Entry& entry);
        std::string Info() const;
        std::string ReadFrom(std::int32_t index) const;
    };

    static std::string Fields(const Pulse& pulse);
    static std::string Fields(const Position& position);
    template <typename Entry>
    std::string Answer(std::string_view verb, std::string_view argument, const Ring<Entry>& ring) const;
    std::int32_t Now() const { return driver_.clock.GetTickCount() - referenceTick_; }
    void NoteStandingStill(double ra, double dec);
    void CountSamePosition();

    EventJournalNeeds needs_;
    Essentials driver_;
    DriverState& state_;
    Tick referenceTick_;
    DateTime referenceTime_;
    Ring<Pulse> pulses_;
    Ring<Position> positions_;
    double lastRa_ = kNoPosition;
    double lastDec_ = kNoPosition;
};

}  // namespace kestrane
