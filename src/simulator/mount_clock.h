#pragma once

#include <cstdint>

#include "platform/clock.h"

namespace kestrane::simulator {

/// The mount's own clock: local time and zone. Commands set it; it starts from the given time and runs by itself.
class MountClock {
public:
    /// `zoneHours` is UTC minus local time.
    MountClock(const DateTime& local, double zoneHours);

    void Advance(std::int64_t milliseconds);

    void SetTimeOfDay(double hours);  ///< keeps the date
    void SetDate(int year, int month, int day);
    void SetZone(double hours);  ///< keeps the local time, so that UTC moves

    double LocalHours() const;  ///< time of day, 0 to below 24
    double Zone() const { return zoneHours_; }
    DateTime Local() const;
    /// Milliseconds by which the mount's local time was moved by settings since the start.
    std::int64_t SetByMs() const { return localMs_ - startMs_ - elapsedMs_; }

    /// Apparent sidereal time of a place, hours, 0 to below 24. `longitudeEast` in degrees.
    double SiderealTime(double longitudeEast) const;

private:
    std::int64_t startMs_;
    std::int64_t localMs_;  // since 1970-01-01T00:00 local
    std::int64_t elapsedMs_ = 0;
    double zoneHours_;
};

/// Milliseconds from 1970-01-01T00:00 to a calendar date and time, Gregorian.
std::int64_t MillisecondsSince1970(const DateTime& time);
DateTime FromMillisecondsSince1970(std::int64_t milliseconds);

/// Greenwich apparent sidereal time in hours, 0 to below 24, from UTC taken as UT1: mean sidereal time by the
/// expression of 1982 and the two largest terms of the nutation. Good to 1 s (most of it the neglected UT1 minus UTC).
double GreenwichSiderealTime(std::int64_t utcMillisecondsSince1970);

}  // namespace kestrane::simulator
