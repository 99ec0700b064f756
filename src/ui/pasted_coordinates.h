#pragma once

#include <optional>
#include <string_view>

namespace kestrane {

/// What a single number means as the first coordinate: a right ascension is written in degrees then, but for "5.5h".
enum class FirstAngle { Hours, Degrees };

struct CoordinatePair {
    double first = 0.0;   ///< hours or degrees, by `FirstAngle`
    double second = 0.0;  ///< degrees
};

/// Both coordinates of a text as atlases, catalogues and other programs write them: "05h34m31.9s +22°00'52\"",
/// "05:34:31.9, +22:00:52", "RA 05 34.5 Dec +22 01", "83.63308 +22.01450 (J2000)". Each has one to three numbers, of
/// which only its last has a fraction; minutes and seconds are below 60. A sign begins the second coordinate; without
/// one both have as many numbers. A comma right between two digits is that of a fraction. Nothing for any other text,
/// nor for two numbers that may as well be the hours and minutes of one coordinate. The ranges of the coordinates are
/// not looked at. Pure function.
std::optional<CoordinatePair> PairOfText(std::string_view text, FirstAngle angle);

}  // namespace kestrane
