#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>

#include "forms/frm_hand_box.h"
#include "forms/frm_sky.h"
#include "kernel/base/log.h"
#include "platform/system_services.h"
#include "state/driver_state.h"

namespace kestrane {

struct SkyNeeds {
    const DriverState& state;
    Astronomy& astronomy;
    Log& log;
    const frmHandBox& handBox;
    frmSky& form;
    std::function<bool()> linkConnected;
};

/// Computes what views draw of the sky and the pier, twice a second while a view is attached, from what the driver
/// knows already. It asks the mount nothing. Logic thread only.
class Sky final {
public:
    explicit Sky(SkyNeeds needs);

    /// A slew or park that a client asked for was refused; `what` is the member.
    void NoteRefused(std::string_view what, std::string_view why);

private:
    struct Horizontal {
        double alt = 0;
        double az = 0;
    };
    struct Place {
        double raHours = 0;
        double dec = 0;
        double alt = 0;
        double az = 0;
    };

    void Compute();
    void ShowNothing();
    void ShowPosition();
    void ShowTarget();
    void ShowPier();
    void ShowTimes();
    void ShowParkPlace();
    void ShowSun();
    std::string_view StateWord() const;
    std::optional<Horizontal> ParkPlace(std::int16_t index) const;
    std::optional<Place> Target() const;
    Place PlaceAt(Horizontal place) const;
    double SiderealHours() const;

    SkyNeeds needs_;
    std::uint32_t refusals_ = 0;
    double wholeWay_ = 0;  ///< degrees, of the slew or park under way; 0: none
};

/// Minutes until the hour angle of a place in the sky becomes 0, for one that turns with the sky.
double MinutesToMeridian(double hourAngleHours);
/// Minutes until it sets; nothing where it never does, or is down already.
std::optional<double> MinutesToHorizon(double latitude, double dec, double hourAngleHours);
/// Altitude of the end of the counterweight's shaft, in degrees; `sideOfPier` as `pier_side`.
double CounterweightAltitude(double latitude, double hourAngleHours, std::int16_t sideOfPier);

}  // namespace kestrane
