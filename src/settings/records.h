#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

/// The rows of the settings file as plain records. An `id` of 0 marks a record that has no row yet.
namespace kestrane {

/// One field of a record.
using PropertyValue = std::variant<std::int16_t, std::string, double, bool>;

/// A bookmark of equatorial coordinates, kept as the texts that the person wrote.
struct GotoRaDec {
    std::int16_t id = 0;
    std::string Name;
    std::string Description;
    std::string HourAngle;
    std::string RightAscension;
    std::string Declination;

    /// The field with that name, in any case. An unknown name is a `DriverError` with the number -1; the same for all
    /// records.
    PropertyValue GetProperty(std::string_view propertyName) const;
};

/// A bookmark of horizontal coordinates.
struct GotoAltAz {
    std::int16_t id = 0;
    std::string Name;
    std::string Description;
    std::string Altitude;
    std::string Azimuth;

    PropertyValue GetProperty(std::string_view propertyName) const;
};

/// An observing site. Longitude and latitude are texts of four fields: hemisphere letter, degrees, minutes, seconds.
struct Site {
    std::int16_t id = 0;
    std::string Name;
    std::string Description;
    std::string Longitude;
    std::string Latitude;
    double ElevationMeters = 0.0;
    double TimeZone = 0.0;         ///< hours
    double TemperatureC = 0.0;     ///< degrees Celsius
    double PressureMb = 0.0;       ///< millibar
    double HumidityPercent = 0.0;  ///< 0 to 100

    PropertyValue GetProperty(std::string_view propertyName) const;
};

struct ParkPosition {
    std::int16_t id = 0;
    std::string Name;
    std::string Description;
    bool IsAltAz = false;
    bool ParkCounterweightUp = false;
    double Altitude = 0.0;     ///< degrees
    double Azimuth = 0.0;      ///< degrees
    double HourAngle = 0.0;    ///< hours
    double Declination = 0.0;  ///< degrees

    PropertyValue GetProperty(std::string_view propertyName) const;
};

/// A setting: its key in lower case and its text.
struct PropValue {
    std::int16_t id = 0;
    std::string Name;
    std::string Value;
};

/// The content of a table: slot 0 is empty, the rows fill the slots from 1 up. Without rows there is only the empty
/// slot.
template <typename Record>
using RecordArray = std::vector<std::optional<Record>>;

}  // namespace kestrane
