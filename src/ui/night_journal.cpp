#include "ui/night_journal.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>
#include <utility>

#include "kernel/base/conversions.h"

namespace kestrane {
namespace {

constexpr double kMsPerSecond = 1000.0;
constexpr std::array<std::string_view, 5> kDirections{"", "E", "W", "N", "S"};

std::string DateAndTime(const DateTime& time) {
    char text[32];
    std::snprintf(text, sizeof(text), "%04d-%02d-%02d %02d:%02d:%02d", time.year, time.month, time.day, time.hour,
                  time.minute, time.second);
    return text;
}

bool OnlyTracks(const DriverState& state) {
    return state.g_bTracking && !state.g_bSlewing && !state.g_bSafeSlewPending && !state.g_bParking &&
           !state.g_bAxisMotionBegun && !state.g_bMoveSent && !state.g_bMountSlewing;
}

}  // namespace

NightJournal::NightJournal(NightJournalNeeds needs) : needs_(std::move(needs)), lastTick_(needs_.clock.GetTickCount()) {
    needs_.form.tmrJournal.OnTick([this] { AddPosition(); });
}

void NightJournal::AddPosition() {
    const DriverState& state = needs_.state;
    if (needs_.linkConnected() && !state.g_bLostComms && state.g_bRaRead && state.g_bDecRead) {
        Add("P " + FormatUs(state.g_dRa, "0.000000") + " " + FormatUs(state.g_dDec, "0.00000") +
            (OnlyTracks(state) ? " T" : " -"));
    }
}

void NightJournal::AddPulse(std::int32_t durationMs, std::int16_t direction) {
    if (direction > 0 && static_cast<std::size_t>(direction) < kDirections.size()) {
        Add("G " + std::string(kDirections[static_cast<std::size_t>(direction)]) + " " + std::to_string(durationMs));
    }
}

void NightJournal::Add(const std::string& what) {
    const std::int64_t now = Now();
    RichTextBox& box = needs_.form.rtbJournal;
    box.Append(FormatUs(static_cast<double>(now) / kMsPerSecond, "0.000") + " " +
                   DateAndTime(needs_.clock.GetLocalTime()) + " " + what,
               kNormalForeColour);
    times_.push_back(now);
    const auto kept = std::ranges::lower_bound(times_, now - kKeptMs);
    box.DropFirst(static_cast<std::size_t>(kept - times_.begin()));
    times_.erase(times_.begin(), kept);
}

/// The counter of ticks wraps after weeks; each second it is read once at least.
std::int64_t NightJournal::Now() {
    const Tick tick = needs_.clock.GetTickCount();
    elapsedMs_ += tick - lastTick_;
    lastTick_ = tick;
    return elapsedMs_;
}

}  // namespace kestrane
