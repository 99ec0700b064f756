#pragma once

#include <cstdint>
#include <optional>

#include "simulator/axes.h"
#include "simulator/firmware.h"
#include "simulator/focuser_motor.h"
#include "simulator/mount_clock.h"
#include "simulator/mount_simulator.h"
#include "simulator/rates.h"

namespace kestrane::simulator {

enum class Direction { North, South, East, West };

/// The target of a goto or a sync; the last half that was set decides between sky and horizon.
struct Target {
    std::optional<double> rightAscension;  // hours
    std::optional<double> declination;     // degrees
    std::optional<double> altitude;        // degrees
    std::optional<double> azimuth;         // degrees
    bool horizontal = false;
};

enum class PemState : char { Off = 'O', On = 'P', Recording = 'R' };

/// The mount behind its commands: its settings, its position, its motion. Time passes by `Advance` only.
class MountModel {
public:
    MountModel(const MountSimulatorOptions& options, const Firmware& firmware, const DateTime& local, double zone);

    void Advance(std::int64_t milliseconds);

    // Where it points. Before the first sync, unpark or slew: RA 0, Dec 90, whatever the axes say.
    double RightAscension() const;  ///< hours
    double Declination() const;     ///< degrees
    double HourAngle() const;       ///< hours, -12 to below 12
    Horizontal AltAz() const;
    double SiderealTime() const { return clock.SiderealTime(-longitudeWest); }

    /// '0' when it goes, '1' below the horizon, '2' below the minimum elevation, '9' without a whole target.
    char Slew();
    /// Takes the target as the direction in which it points; `keepsSide` leaves the side of the pier as it is. False
    /// without a whole target.
    bool Sync(bool keepsSide);
    void Place(const MountPointing& pointing);
    void StopAll();  ///< gotos, moves and custom rates
    /// False when the family does not accept pulses that long.
    bool Move(Direction direction, std::optional<std::int32_t> milliseconds);
    void StopMove(Direction direction);
    void Park();
    void Unpark();
    void LeavePark();  ///< as each choice of the tracking does
    /// Goes to one of the five fixed places (1 to 5) and parks there.
    void GotoFixedPark(int index);

    /// A tracking rate; ends custom rates.
    void Track(Tracking base);
    void SwitchKing(bool on);
    void CustomRa(double multiple);
    void CustomDec(double multiple);

    void SetLatitude(double degrees);
    void SetLongitudeWest(double degrees);

    bool Slewing() const;
    bool Parked() const { return parked_; }
    bool Initialised() const { return initialised_; }
    /// Letter of the tracking state; stopped while parked.
    Tracking ShownTracking() const;
    double Latitude() const { return latitude_; }

    const Firmware& firmware;
    MountClock clock;
    Rates rates;
    Target target;
    FocuserMotor focuser;
    Axes axes;
    double longitudeWest;      ///< degrees, 0 to below 360
    double meridianDelay = 0;  ///< hours
    double decBacklash = 0;    ///< arc-seconds
    double raBacklash = 0;     ///< arc-seconds
    bool longFormat;
    bool shortAngles;  ///< in short format angles have no seconds
    bool swappedEastWest = false;
    bool swappedNorthSouth = false;
    bool autoPark = false;  ///< only shown in the status string
    char fault = '0';       ///< fault character of the status string
    PemState pem = PemState::Off;
    int reticle = 5;               ///< 0 to 10, to 7 on families with levels
    bool held = false;             ///< "ho" and "hq"
    bool stallStillSlews = false;  ///< a stalled goto is still reported as running

private:
    std::optional<Equatorial> TargetDirection() const;
    AxisAngles GotoEnd(const Equatorial& direction) const;
    double Hemisphere() const { return latitude_ < 0 ? -1.0 : 1.0; }
    void FollowTracking();

    double latitude_;
    double slewSpeed_;
    double minimumElevation_;
    GotoPath gotoPath_;
    bool parked_;
    bool initialised_;
    bool parksOnArrival_ = false;
};

}  // namespace kestrane::simulator
