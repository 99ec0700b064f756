#include "telescope/telescope.h"

namespace kestrane {
namespace {

constexpr std::size_t kUsableLength = 11;
constexpr std::int32_t kRateHoldMs = 1500;  // a status sent before a rate command must not undo it on the display

/// What a tracking character of the status text means.
struct TrackingRow {
    char character;
    bool tracking;
    std::int16_t displayedRate;
};

constexpr std::array<TrackingRow, 7> kTrackingRows{{
    {'0', true, 2},
    {'1', true, 3},
    {'2', true, 1},
    {'C', true, 4},
    {'T', true, 1},
    {'c', true, 4},
    {'9', false, 0},
}};

}  // namespace

void Telescope::ParseGOS(std::string_view status) {
    state_.g_bGosActive = status.size() >= kUsableLength;
    if (!state_.g_bGosActive) {
        return;
    }
    const char park = status[0];
    const char tracking = park == 'P' ? '9' : status[1];  // a parked mount stands, whatever the text says
    ParseParkState(park);
    if (needs_.clock.GetTickCount() - state_.g_tickDisplayedRate > kRateHoldMs || state_.g_nDisplayedRate < 0) {
        for (const TrackingRow& row : kTrackingRows) {
            if (row.character == tracking) {
                state_.g_bTracking = row.tracking;
                needs_.panel.ShowTrackingRate(row.displayedRate, false);
            }
        }
    }
    if (status[3] == 'S' || status[3] == '0') {
        state_.g_bMountSlewing = status[3] == 'S';
    }
    state_.g_sFaultCode = status.substr(10, 1);
}

void Telescope::ParseParkState(char park) {
    if (park == 'P') {
        needs_.panel.SetParkStatus("Parked", "ParseGOS");
        needs_.panel.SetParkToolTip("");
        state_.g_bParked = true;
        if (state_.g_tickParkedSince == Tick{}) {
            state_.g_tickParkedSince = needs_.clock.GetTickCount();
        }
        return;
    }
    if (state_.g_bParking) {
        return;
    }
    if (park == '0' || park == '1') {
        needs_.panel.SetParkStatus(park == '0' ? "Unparked" : "Unparked*", park == '0' ? "ParseGOS0" : "ParseGOS*");
        needs_.panel.SetParkToolTip(park == '0' ? "" : "Auto-Park enabled");
        state_.g_bParked = false;
    }
    state_.g_tickParkedSince = Tick{};
}

}  // namespace kestrane
