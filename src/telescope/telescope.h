#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "catalogue/client_rates.h"
#include "state/telescope_actions.h"
#include "telescope/telescope_core.h"
#include "telescope/telescope_words.h"

namespace kestrane {

/// The telescope as clients see it, and the one class through which everything reaches the mount. Clients hold
/// objects of it; the driver holds one more, the internal instance, for its own commands.
///
/// Units: right ascension and sidereal time in hours, all other angles in degrees, lengths in metres. Position
/// members give the value that the poll read last, about a second old.
///
/// Failures are `DriverError`s. "Link check": 0x80040404 while no telescope client is connected, 0x80040429 while
/// communications are lost. "Motion check": 0x80040404, 0x80040409 while parked, 0x80040411 in the wrong tracking
/// state. Each member logs on origin "ASCOM" as "GET x = " or "SET x = ". Logic thread only.
class Telescope final : public TelescopeActions, private TelescopeCore {
public:
    /// `Class_Initialize` and `Class_Terminate` frame the life of an object (see `MakeTelescope`).
    explicit Telescope(TelescopeNeeds needs);
    ~Telescope() override;
    Telescope(const Telescope&) = delete;
    Telescope& operator=(const Telescope&) = delete;

    /// Counts the object; the first one of the process registers the class and sets the defaults of the driver.
    void Class_Initialize();
    /// Takes the object off the count; the last one of a client disconnects, and ends the process when no client is
    /// left.
    void Class_Terminate();

    // --- connection ---------------------------------------------------------------------------------------------

    /// Whether the link is open: True while any object keeps it open.
    bool Connected();
    /// True opens the link for the first client and counts each further one, also the same client again; pumps. False
    /// takes one off the count; mount and link stay as they are. 0x80040402 when no mount answers.
    void Connected(bool connect);

    /// Objects of all clients.
    std::int16_t ClientCount();
    /// Stores the count, the internal instance included, and ends the process if no client is left then.
    void ClientCount(std::int16_t count);

    /// Retries of this object's exchanges after the first try, 0 to 5; 0 at creation.
    std::int16_t MaxSerialRetries() const { return exchange_.MaxSerialRetries(); }
    void MaxSerialRetries(std::int16_t retries) { exchange_.MaxSerialRetries(retries); }
    /// Read limit of the link in milliseconds; run-time error 6 when it does not fit.
    std::int16_t ReceiveTimeoutMS();
    void ReceiveTimeoutMS(std::int16_t milliseconds);

    // --- commands (see `CommandExchange`) -------------------------------------------------------------------------

    // A client's own text that starts a goto is not sent when a stop has overtaken it: false, or an empty text.
    void CommandBlind(std::string_view command, bool raw);
    void CommandClear() { exchange_.CommandClear(); }
    bool CommandBool(std::string_view command, bool raw);
    std::string CommandString(std::string_view command, bool raw);
    void CommandBlindInternal(std::string_view command, bool raw) { exchange_.CommandBlindInternal(command, raw); }
    void CommandClearInternal() { exchange_.CommandClearInternal(); }
    bool CommandBoolInternal(std::string_view command, bool raw) { return exchange_.CommandBoolInternal(command, raw); }
    std::string CommandStringInternal(std::string_view command, bool raw) {
        return exchange_.CommandStringInternal(command, raw);
    }
    void CommandBlindLight(std::string_view command) { exchange_.CommandBlindLight(command); }

    // --- fixed properties ---------------------------------------------------------------------------------------

    int AlignmentMode();     ///< 2, German equatorial
    bool AtHome();           ///< false
    int EquatorialSystem();  ///< 1, local topocentric
    int InterfaceVersion();  ///< 2
    std::string Name();
    std::string Description();
    std::string DriverInfo();
    std::string DriverVersion();
    bool CanFindHome();
    bool CanPark();
    bool CanPulseGuide();
    bool CanSetDeclinationRate();  ///< by the controller type of the settings
    bool CanSetGuideRates();
    bool CanSetPark();
    bool CanSetPierSide();
    bool CanSetRightAscensionRate();  ///< by the controller type of the settings
    bool CanSetTracking();
    bool CanSlew();
    bool CanSlewAltAz();
    bool CanSlewAltAzAsync();
    bool CanSlewAsync();
    bool CanSync();
    bool CanSyncAltAz();
    bool CanUnpark();
    /// Raises 0x80040400.
    void FindHome();

    // --- position and site --------------------------------------------------------------------------------------

    // RightAscension, Declination and Azimuth raise 0x80040429 also when the last accepted reading is older than 30 s
    // on an open line that the poll may use.
    double RightAscension();  ///< hours; link check
    double Declination();     ///< link check
    double Altitude();        ///< asks the mount; link check
    double Azimuth();         ///< link check
    double SiderealTime();    ///< hours; link check
    int SideOfPier();         ///< one of `pier_side`
    /// Raises 0x80040400.
    void SideOfPier(int side);
    double ApertureDiameter();
    double ApertureArea();  ///< square metres
    double FocalLength();
    bool DoesRefraction();  ///< asks the companion when it is there
    void DoesRefraction(bool does);
    double SiteLatitude();   ///< asks the mount; the last value when its reply cannot be read; link check
    double SiteLongitude();  ///< east positive, -180 to 180; asks the mount as above; link check
    double SiteElevation();  ///< metres
    /// These three keep the value in the current site's record and in the settings; the mount gets its site when it is
    /// initialized. Elevation -300 to 10000 metres, else 0x80040405; longitude: link check.
    void SiteElevation(double metres);
    void SiteLatitude(double degrees);
    void SiteLongitude(double degrees);
    /// The mount's time of day on the computer's date, in UTC; link check.
    DateTime utcDate();
    /// Sets the time, date, meridian delay and time zone of the mount; link check. From 23:58 until 00:02 local time
    /// nothing is sent. A refusal of the mount is only logged.
    void utcDate(const DateTime& utc);

    // --- target of the next slew --------------------------------------------------------------------------------

    /// Hours, 0 up to below 24: else 0x80040405, link check. Reading it before it was set: 0x80040403.
    double TargetRightAscension();
    void TargetRightAscension(double hours);
    /// -90 to 90: else 0x80040405, link check. Reading it before it was set: 0x80040403.
    double TargetDeclination();
    void TargetDeclination(double degrees);

    // --- slewing ------------------------------------------------------------------------------------------------

    /// Slews and returns when the mount has arrived; pumps. RA in hours 0 up to below 24, Dec -90 to 90: else
    /// 0x80040405. Motion check: not parked, tracking. Mount refusals: 0x80040412, 0x80040413, 0x80040414.
    void SlewToCoordinates(double rightAscension, double declination);
    /// Starts the slew and returns. The second leg of a two-leg slew is sent as it is: it is not planned again.
    void SlewToCoordinatesAsync(double rightAscension, double declination, SlewAsker asker = SlewAsker::Client);
    /// Slews to the target; 0x80040430 when half of it is missing.
    void SlewToTarget();
    void SlewToTargetAsync();
    /// Degrees; tracking must be off. 0x80040418 when the mount refuses a half of the target, else as above. The first
    /// returns when the mount has arrived; pumps.
    void SlewToAltAz(double azimuth, double altitude);
    void SlewToAltAzAsync(double azimuth, double altitude);
    /// One of `pier_side`: by the hour angle alone; link check.
    int DestinationSideOfPier(double rightAscension, double declination);
    bool Slewing();
    /// Stops a slew, a park, and the axes that `MoveAxis` of any client runs. Motion check: not parked.
    void AbortSlew();
    /// The same stop for the driver's own controls, without a check.
    void AbortSlewDriver();
    /// Stops all that moves the mount, by a person's wish and without a check. What is planned is taken back in any
    /// case; over an open link something is sent in any case too: one stop, or two to a mount that slews and is not
    /// shown as parked.
    void StopEverything(bool shownAsParked);
    /// Seconds, 0 to 100: else 0x80040405.
    std::int16_t SlewSettleTime();
    void SlewSettleTime(std::int16_t seconds);

    // --- parking ------------------------------------------------------------------------------------------------

    /// Goes to the park position of the settings and parks there; a parked mount stays. Link check; nothing else is
    /// raised. Returns when the mount is on its way, or, where it has to move ahead of that, pumps until then. With a
    /// companion that parks, pumps up to five minutes.
    void Park();
    /// Keeps the direction in which the telescope points, in whole degrees, as the user's own park position. Link
    /// check; 0x8004040b, and nothing is kept, when the mount does not report where it points.
    void SetPark();
    /// Starts a parked mount where it stands (see `Unparking`); sends nothing to one that is not parked. Raises
    /// nothing.
    void Unpark();

    // --- syncs --------------------------------------------------------------------------------------------------

    // While the mount moves: 0x8004040b, and nothing is sent. That is also so while a slew goes on that `MoveAxis` took
    // over: until the status text shows its end, or without status texts five minutes from its beginning. 0x80040418
    // when the mount refuses a half of the target.

    /// Tells the mount that it points there. Ranges as for a slew: 0x80040405. Motion check: not parked, tracking.
    void SyncToCoordinates(double rightAscension, double declination);
    /// The same with the equatorial target; 0x80040407 when half of it is missing.
    void SyncToTarget();
    /// Degrees; tracking must be off, 0x8004040b. A refused half leaves the poll off the line until the next connect,
    /// slew, park or unpark.
    void SyncToAltAz(double azimuth, double altitude);

    // --- state --------------------------------------------------------------------------------------------------

    bool AtPark();
    bool IsPulseGuiding();
    bool Tracking();
    /// True starts the chosen rate; false stops the mount, but does nothing while parked. When the second leg of a slew
    /// is still to come, a write ends the slew, as a write of `TrackingRate` does.
    void Tracking(bool track);
    /// 0 sidereal, 1 lunar, 2 solar, 3 King. Writing stops motion, then starts tracking at the rate; 0x80040405 for
    /// others, which are kept all the same.
    std::int32_t TrackingRate();
    void TrackingRate(std::int32_t rate);
    /// Seconds of RA per sidereal second; 0x80040400 without custom rates. Writing: 0x80040405 beyond the largest
    /// multiple of sidereal that the mount takes; motion check, not parked, tracking.
    double RightAscensionRate();
    void RightAscensionRate(double secondsPerSiderealSecond);
    /// Arc-seconds per second; as above.
    double DeclinationRate();
    void DeclinationRate(double arcSecondsPerSecond);
    /// Degrees per second, one value for both axes: 0.25, 0.5 or 1 times sidereal. Any other is ignored without an
    /// error.
    double GuideRateRightAscension();
    void GuideRateRightAscension(double degreesPerSecond);
    double GuideRateDeclination();
    void GuideRateDeclination(double degreesPerSecond);
    /// A new list: 0, 1, 2, and 3 with the two newest controllers, even when their firmware has no King rate. Lists
    /// handed out before keep their contents. 0x80040404 while no telescope client is connected.
    std::shared_ptr<const kestrane::TrackingRates> TrackingRates();
    /// Axis 0 primary, 1 secondary: one range from 0 to the fastest `MoveAxis`. Any other axis: an empty list.
    /// 0x80040404 while no telescope client is connected.
    std::shared_ptr<const kestrane::AxisRates> AxisRates(std::int32_t axis);
    /// True for axis 0 and 1.
    bool CanMoveAxis(std::int32_t axis);
    /// Runs axis 0 (primary) or 1 (secondary) at a rate in degrees per second, in either direction up to the rate of
    /// `AxisRates`. A rate of 0 ends the motion, and restores for axis 0 the tracking from before its first rate,
    /// unless the setting `chkRaMoveAxisOfZeroStopsTracking` is on. The supervision of a running slew ends without a
    /// stop of its own (intentional: also for an axis that does not exist); a park is aborted. 0x80040405 above the
    /// largest rate, 0x80040400 for other axes. Motion check: not parked.
    void MoveAxis(std::int32_t axis, double degreesPerSecond);

    // --- guiding ------------------------------------------------------------------------------------------------

    /// Moves one axis at the guide rate for so many milliseconds: 0 north, 1 south, 2 east, 3 west. Takes the place of
    /// a pulse of the same axis. A duration of 0 or less ends a pulse of the axis, or else stops the mount. Returns at
    /// once, or at the end of the pulse: for short ones that the mount does not end by itself, and with the setting
    /// `chkSynchronousPulseGuide`; pumps then. Any stop ends it. Intentional: another direction sends the guide rate
    /// and moves nothing. Motion check: not parked.
    void PulseGuide(std::int32_t direction, std::int32_t duration);

    // --- guards at the head of client members ---------------------------------------------------------------------

    /// The link check: 0x80040404 without a connected telescope client, 0x80040429 while communications are lost.
    void CheckConnected();
    /// The motion check: 0x80040404, 0x80040409 while parked, 0x80040411 when tracking is not as required. Where
    /// tracking is required and off, it is turned on instead if the user has chosen that.
    void check_connected(std::string_view operation, Parked parked, TrackingMust tracking);
    /// The motion check of Alt/Az operations: tracking must be off, 0x8004040b.
    void check_connected(std::string_view operation, Parked parked);
    /// The check before a park: 0x80040404, and 0x80040409 when the mount is parked and that is refused.
    void check_connected_park(std::string_view operation, Parked parked);

    // --- for the queries and the poll (see `TelescopeActions`) ----------------------------------------------------

    MountCommands& Commands() override { return exchange_; }
    void InitUI() override;
    void ParseGOS(std::string_view status) override;
    void StartSecondLeg(double rightAscension, double declination) override;
    /// The stop pair once more, and the custom rates that it clears in the mount.
    void StopAgain(StopForm form) override;
    void HandleParkComplete() override;
    /// Errors as for a read of `SiteLatitude`.
    SiteAnswer ReadSiteLatitude() override;

    // --- for the driver itself ----------------------------------------------------------------------------------

    /// Reads the firmware version and decides from it what the mount can do. False, and nothing has changed, when a
    /// mount whose version is known does not answer.
    bool InitBasicValues();
    /// Parks at a position by its index of `cbxParkTo`, 0 to 6, or -1 for the one of the settings; any other is logged
    /// only. Also for a parked mount. Errors and pumps as for `Park`.
    void ParkMount(std::int16_t index);
    /// The park is to end: no exchange of it goes out any more. Sends nothing by itself; what sends the park, or the
    /// supervision, ends it then.
    void CancelPark() { needs_.motion.ParkStopAskedFor(); }
    void LoadTelescopeOptions();
    /// Brings the replies of the mount into the long format, or into the short one. Whether they are long afterwards.
    bool EnsureLongFormat(bool wanted);
    /// The motion of this object's axes.
    const AxisMotion& Axes() const { return axes_; }

    /// Sends the target to the mount and starts the slew, in one leg. A stop ends it without an error. A refusal by the
    /// mount raises 0x80040412, 0x80040413 or 0x80040414; a refused half of a horizontal target raises 0x80040418.
    void SendSlewCommands();
    /// Slews in two legs when one leg would lead past the counterweights. Raises nothing; a refusal is logged. Pumps
    /// when it returns on arrival.
    void SafeSlew(double rightAscension, double declination, SlewReturns returns);
    /// Finds out whether the directions of the mount are reversed, and swaps them; makes at most `attempts` attempts.
    void AutoCalibrateNSEW(std::int16_t attempts);
    static constexpr std::int16_t kCalibrationAttempts = 3;
    /// The sync with the horizontal target; 0x80040407 when half of it is missing.
    void SyncToAltAzTarget();
    /// Degrees. Sends the sync and reads the position anew; 0x80040418 as above.
    void SyncAltAz(double altitude, double azimuth, SyncKind kind);
    /// The horizontal target: degrees, azimuth 0 to 360, altitude -90 to 90, else 0x80040405; link check. A write
    /// replaces an equatorial target.
    double TargetAzimuth();
    void TargetAzimuth(double degrees);
    double TargetAltitude();
    void TargetAltitude(double degrees);
    /// Switches the hold of the mount; for outside use.
    void HoldMount(bool hold);
    /// Stops the axes that this object runs and still owns, with `reason` in the log, and restores the tracking; see
    /// `AxisMotions`. Raises nothing. An axis whose stop the mount did not answer stays this object's: call again.
    void StopOwnAxes(std::string_view reason);
    /// Logs that `member` was stopped before it could begin.
    void DoesNotBegin(std::string_view member) { needs_.door.LogOvertaken(member); }

private:
    friend class TelescopeSteps;
};

}  // namespace kestrane
