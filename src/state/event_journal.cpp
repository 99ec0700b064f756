#include "state/event_journal.h"

#include <limits>
#include <optional>

#include "catalogue/vocabulary.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"

namespace kestrane {
namespace {

constexpr std::int16_t kStandsStill = 3;  // so many reports of one position in a row show that the mount tracks
constexpr std::string_view kTwoDigits = "00";

std::string Number(double value) {
    return FormatUs(value, "");
}

/// A whole number in digits, also with a fraction of zeros: some programs send "5.0".
std::optional<std::int32_t> ParseIndex(std::string_view text) {
    std::string digits = Trim(text);
    const std::size_t point = digits.find_first_of(".,");
    if (point != std::string::npos && digits.find_first_not_of('0', point + 1) == std::string::npos) {
        digits.resize(point);
    }
    std::int16_t index = 0;
    if (!IsAllDigits(digits) || !TryParseInteger(digits, index) || index >= EventJournal::kCapacity) {
        return std::nullopt;
    }
    return index;
}

}  // namespace

EventJournal::EventJournal(EventJournalNeeds needs)
    : needs_(needs),
      driver_(needs_.driver),
      state_(driver_.state),
      referenceTick_(driver_.clock.GetTickCount()),
      referenceTime_(driver_.clock.GetLocalTime()) {}

template <typename Entry>
void EventJournal::Ring<Entry>::WrapIndex() {
    if (writeIndex < 0 || writeIndex >= kCapacity) {
        writeIndex = 0;
    }
}

template <typename Entry>
void EventJournal::Ring<Entry>::Add(const Entry& entry) {
    entries[static_cast<std::size_t>(writeIndex)] = entry;
    ++writeIndex;
    ++total;
}

template <typename Entry>
std::string EventJournal::Ring<Entry>::Info() const {
    return "1," + std::to_string(total) + "," + std::to_string(writeIndex);
}

template <typename Entry>
std::string EventJournal::Ring<Entry>::ReadFrom(std::int32_t index) const {
    const std::int32_t count = writeIndex - index + (writeIndex < index ? kCapacity : 0);
    std::string text = "1," + std::to_string(index) + ",4," + std::to_string(count);
    for (std::int32_t i = 0; i < count; ++i) {
        text += Fields(entries[static_cast<std::size_t>(index)]);
        index = (index + 1) % kCapacity;
    }
    return text + "," + std::to_string(index);
}

void EventJournal::ResetEvents() {
    pulses_ = {};
    positions_ = {};
    referenceTick_ = driver_.clock.GetTickCount();
    referenceTime_ = driver_.clock.GetLocalTime();
    lastRa_ = lastDec_ = kNoPosition;
}

void EventJournal::AddPulseGuideEvent(std::int16_t value, std::int32_t durationMs, std::int16_t direction) {
    pulses_.WrapIndex();
    pulses_.Add({.timeMs = Now(), .value = value, .durationMs = durationMs, .direction = direction});
    if (needs_.onPulse) {
        needs_.onPulse(durationMs, direction);
    }
}

void EventJournal::AddRaDecEvent(double ra, double dec) {
    positions_.WrapIndex();
    if (ra == lastRa_ && dec == lastDec_) {
        NoteStandingStill(ra, dec);
        return;
    }
    lastRa_ = ra;
    lastDec_ = dec;
    positions_.Add({.timeMs = Now(), .ra = ra, .dec = dec});
    state_.g_nSamePosition = 0;
}

/// The RA of a mount stays fixed only while it tracks.
void EventJournal::NoteStandingStill(double ra, double dec) {
    CountSamePosition();
    const bool noRateShown = state_.g_nDisplayedRate == displayed_rate::NoneYet;
    if (noRateShown && state_.g_nSamePosition >= kStandsStill) {
        driver_.log.LogMessage("AddRaDecEvent", LogLevel::Info, "Determined Tracking rate is enabled!");
        state_.g_bTracking = true;
        needs_.panel.ShowTrackingRate(displayed_rate::Sidereal, RateCorrection::Off);
    }
    if (!state_.g_bParked || (ra == kPowerOnRa && dec == kPowerOnDec)) {
        return;
    }
    CountSamePosition();  // intentional: twice for one report, so that the driver doubts a parked mount sooner
    if (state_.g_nSamePosition < kStandsStill || state_.g_bGosActive) {
        return;
    }
    needs_.motion.MountReportsParked(false);
    needs_.panel.SetParkStatus("Unparked", "AddRaDecEvent");
}

void EventJournal::CountSamePosition() {
    if (state_.g_nSamePosition < 0) {
        state_.g_nSamePosition = 0;
    }
    if (state_.g_nSamePosition < std::numeric_limits<std::int16_t>::max()) {
        ++state_.g_nSamePosition;
    }
}

std::string EventJournal::Fields(const Pulse& pulse) {
    return "," + Number(pulse.timeMs) + "," + Number(pulse.value) + "," + Number(pulse.durationMs) + "," +
           Number(pulse.direction);
}

std::string EventJournal::Fields(const Position& position) {
    return "," + Number(position.timeMs) + "," + Number(position.ra) + "," + Number(position.dec);
}

template <typename Entry>
std::string EventJournal::Answer(std::string_view verb, std::string_view argument, const Ring<Entry>& ring) const {
    const std::string highest = std::to_string(kCapacity - 1);
    if (argument.empty()) {
        return "0," + std::string(verb) + " no index argument must have an index 0-" + highest;
    }
    const auto index = ParseIndex(argument);
    if (!index) {
        return "0," + std::string(verb) + " argument must have an index 0-" + highest;
    }
    return ring.ReadFrom(*index);
}

std::string EventJournal::ReferenceTime() const {
    const DateTime& time = referenceTime_;
    std::string text = "1," + std::to_string(time.year);
    for (const int field : {time.month, time.day, time.hour, time.minute, time.second}) {
        text += "," + FormatUs(field, kTwoDigits);
    }
    return text;
}

std::string EventJournal::PulseGuideInfo() const {
    return pulses_.Info();
}

std::string EventJournal::RaDecInfo() const {
    return positions_.Info();
}

std::string EventJournal::PulseGuideEvents(std::string_view argument) const {
    return Answer("GetPulseGuideEvents", argument, pulses_);
}

std::string EventJournal::RaDecEvents(std::string_view argument) const {
    return Answer("GetRaDecEvents", argument, positions_);
}

}  // namespace kestrane
