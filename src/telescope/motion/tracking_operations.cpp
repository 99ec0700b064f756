#include "telescope/motion/tracking_operations.h"

#include "kernel/base/text.h"
#include "telescope/telescope.h"

namespace kestrane {
namespace {

// Rates as the hand box numbers them.
constexpr std::int16_t kOff = 0;
constexpr std::int16_t kSidereal = 1;
constexpr std::int16_t kLunar = 2;
constexpr std::int16_t kSolar = 3;

// Rates as clients number them.
constexpr std::int32_t kTelescopeSidereal = 0;
constexpr std::int32_t kTelescopeLunar = 1;
constexpr std::int32_t kTelescopeSolar = 2;
constexpr std::int32_t kTelescopeKing = 3;

}  // namespace

void TrackingOperations::SetKingRateState() {
    needs_.log.LogMessage("King Rate", LogLevel::Info,
                          "King Rate Enabled: " + std::string(TrueFalse(state_.g_bKingRateEnabled)));
    Telescope* const telescope = needs_.telescope();
    if (!telescope || !state_.g_bKingRateAvailable) {
        return;
    }
    ResumeNext errors{needs_.ledger, "SetKingRateState"};
    errors.Step([&] { telescope->SendKingCorrection(); });
}

void TrackingOperations::ChooseRate(std::int16_t rate) {
    switch (rate) {
        case kOff:
            StopTracking();
            break;
        case kSidereal:
            // Sidereal and King are one choice here, and the user's option tells which of them the mount follows. A
            // client that asked for the King rate goes on reading it.
            StartTracking(state_.g_nTrackingRate == kTelescopeKing ? kTelescopeKing : kTelescopeSidereal);
            break;
        case kLunar:
            StartTracking(kTelescopeLunar);
            break;
        case kSolar:
            StartTracking(kTelescopeSolar);
            break;
        default:
            break;
    }
}

void TrackingOperations::StopTracking() {
    ResumeNext errors{needs_.ledger, "btnRateZero"};
    errors.Step([&] {
        if (Telescope* const telescope = needs_.telescope()) {
            telescope->Tracking(false);
        }
    });
    needs_.panel.EnableRateControls();
}

void TrackingOperations::StartTracking(std::int32_t telescopeRate) {
    ResumeNext errors{needs_.ledger, "TrackingRateButton"};
    SetKingRateState();
    errors.Step([&] {
        if (Telescope* const telescope = needs_.telescope()) {
            telescope->TrackingRate(telescopeRate);
        }
    });
    needs_.panel.EnableRateControls();
}

}  // namespace kestrane
