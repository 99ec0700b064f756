#include "simulator/mount_clock.h"

#include <cmath>

#include "simulator/geometry.h"

namespace kestrane::simulator {
namespace {

constexpr std::int64_t kDayMs = 86'400'000;

std::int64_t FloorDivide(std::int64_t value, std::int64_t by) {
    const std::int64_t quotient = value / by;
    return value % by < 0 ? quotient - 1 : quotient;
}

// Days since 1970-01-01 of a Gregorian date; the year is counted from March, so that leap days end it.
std::int64_t DayNumber(int year, int month, int day) {
    const std::int64_t marchYear = month <= 2 ? year - 1 : year;
    const std::int64_t era = FloorDivide(marchYear, 400);
    const std::int64_t yearOfEra = marchYear - era * 400;
    const std::int64_t dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
    return era * 146097 + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear - 719468;
}

double Sine(double degrees) {
    return std::sin(degrees / kDegreesPerRadian);
}
double Cosine(double degrees) {
    return std::cos(degrees / kDegreesPerRadian);
}

}  // namespace

std::int64_t MillisecondsSince1970(const DateTime& time) {
    const std::int64_t seconds = (time.hour * 60 + time.minute) * 60 + time.second;
    return DayNumber(time.year, time.month, time.day) * kDayMs + seconds * 1000 + time.millisecond;
}

DateTime FromMillisecondsSince1970(std::int64_t milliseconds) {
    const std::int64_t days = FloorDivide(milliseconds, kDayMs);
    const auto ofDay = static_cast<int>(milliseconds - days * kDayMs);
    const std::int64_t shifted = days + 719468;
    const std::int64_t era = FloorDivide(shifted, 146097);
    const std::int64_t dayOfEra = shifted - era * 146097;
    const std::int64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::int64_t marchMonth = (5 * dayOfYear + 2) / 153;
    DateTime result;
    result.day = static_cast<int>(dayOfYear - (153 * marchMonth + 2) / 5 + 1);
    result.month = static_cast<int>(marchMonth < 10 ? marchMonth + 3 : marchMonth - 9);
    result.year = static_cast<int>(yearOfEra + era * 400 + (result.month <= 2 ? 1 : 0));
    result.hour = ofDay / 3'600'000;
    result.minute = ofDay / 60'000 % 60;
    result.second = ofDay / 1000 % 60;
    result.millisecond = ofDay % 1000;
    return result;
}

double GreenwichSiderealTime(std::int64_t utcMillisecondsSince1970) {
    // 2000-01-01T12:00 is day 10957.5 of 1970.
    const double days = static_cast<double>(utcMillisecondsSince1970) / static_cast<double>(kDayMs) - 10957.5;
    const double centuries = days / 36525.0;
    const double mean = 280.46061837 + 360.98564736629 * days + 0.000387933 * centuries * centuries;
    const double moonNode = 125.04 - 0.052954 * days;
    const double sunLongitude = 280.47 + 0.98565 * days;
    const double obliquity = 23.4393 - 0.0000004 * days;
    const double nutationHours = -0.000319 * Sine(moonNode) - 0.000024 * Sine(2 * sunLongitude);
    return FoldHours(mean / 15.0 + nutationHours * Cosine(obliquity));
}

MountClock::MountClock(const DateTime& local, double zoneHours)
    : startMs_(MillisecondsSince1970(local)), localMs_(startMs_), zoneHours_(zoneHours) {}

void MountClock::Advance(std::int64_t milliseconds) {
    localMs_ += milliseconds;
    elapsedMs_ += milliseconds;
}

void MountClock::SetTimeOfDay(double hours) {
    localMs_ = FloorDivide(localMs_, kDayMs) * kDayMs + std::llround(hours * 3'600'000.0);
}

void MountClock::SetDate(int year, int month, int day) {
    const std::int64_t ofDay = localMs_ - FloorDivide(localMs_, kDayMs) * kDayMs;
    localMs_ = DayNumber(year, month, day) * kDayMs + ofDay;
}

void MountClock::SetZone(double hours) {
    zoneHours_ = hours;
}

double MountClock::LocalHours() const {
    return static_cast<double>(localMs_ - FloorDivide(localMs_, kDayMs) * kDayMs) / 3'600'000.0;
}

DateTime MountClock::Local() const {
    return FromMillisecondsSince1970(localMs_);
}

double MountClock::SiderealTime(double longitudeEast) const {
    const std::int64_t utc = localMs_ + std::llround(zoneHours_ * 3'600'000.0);
    return FoldHours(GreenwichSiderealTime(utc) + longitudeEast / 15.0);
}

}  // namespace kestrane::simulator
