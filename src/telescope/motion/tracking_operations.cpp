#include "telescope/motion/tracking_operations.h"

#include "catalogue/vocabulary.h"
#include "catalogue/wire_commands.h"
#include "kernel/base/text.h"
#include "telescope/telescope.h"

namespace kestrane {
namespace {

class KingCorrectionSteps : TelescopeSteps {
public:
    using TelescopeSteps::TelescopeSteps;

    void Send() {
        Talk(procedure::OneSetting)
            .CommandBlind(wire::TrackingRate, state_.g_bKingRateEnabled ? wire_rate::kKingOn : wire_rate::kKingOff);
    }
};

}  // namespace

void TrackingOperations::SetKingRateState() {
    driver_.log.LogMessage("King Rate", LogLevel::Info,
                           "King Rate Enabled: " + std::string(TrueFalse(state_.g_bKingRateEnabled)));
    Telescope* const telescope = needs_.telescope();
    if (!telescope || !state_.g_bKingRateAvailable) {
        return;
    }
    ResumeNext errors{driver_.ledger, "SetKingRateState"};
    errors.Step([&] { KingCorrectionSteps(*telescope).Send(); });
}

void TrackingOperations::ChooseRate(std::int16_t rate) {
    switch (rate) {
        case displayed_rate::Off:
            StopTracking();
            break;
        case displayed_rate::Sidereal:
            // Sidereal and King are one choice here, and the user's option decides which of them the mount follows. A
            // client that asked for the King rate still reads that rate.
            StartTracking(state_.g_nTrackingRate == tracking_rate::King ? tracking_rate::King
                                                                        : tracking_rate::Sidereal);
            break;
        case displayed_rate::Lunar:
            StartTracking(tracking_rate::Lunar);
            break;
        case displayed_rate::Solar:
            StartTracking(tracking_rate::Solar);
            break;
        default:
            break;
    }
}

void TrackingOperations::StopTracking() {
    ResumeNext errors{driver_.ledger, "btnRateZero"};
    errors.Step([&] {
        if (Telescope* const telescope = needs_.telescope()) {
            telescope->Tracking(false);
        }
    });
    needs_.panel.EnableRateControls();
}

void TrackingOperations::StartTracking(std::int32_t telescopeRate) {
    ResumeNext errors{driver_.ledger, "TrackingRateButton"};
    SetKingRateState();
    errors.Step([&] {
        if (Telescope* const telescope = needs_.telescope()) {
            telescope->TrackingRate(telescopeRate);
        }
    });
    needs_.panel.EnableRateControls();
}

}  // namespace kestrane
