#pragma once

#include <cstdint>
#include <string_view>

namespace kestrane::simulator {

/// What one family of mount firmware can do. A command that a family lacks gets no answer at all.
struct Firmware {
    std::string_view prefix;      ///< how the version text of the family begins
    int statusLength;             ///< characters of the status string; 0 for firmware without it
    bool meridianDelay;           ///< has "GM" and "SM"
    bool customRates;             ///< has "RR" and "RD"
    bool pierSide;                ///< has "pS"
    bool highPrecision;           ///< one more decimal: RA HH:MM:SS.SS, angles sDD*MM:SS.S
    bool strayDecDigit;           ///< once initialised, a stray 8 after the sign of Dec
    bool reticleLevels;           ///< has "B0" to "B7"
    bool fixedParks;              ///< has "$K"
    std::int32_t longestPulseMs;  ///< longest timed move that it accepts
    char rateType;                ///< last character of a status string of 14
    int revision;                 ///< reply to "G_S"; 0 for firmware without it
};

/// The family of a version text: the row with the longest prefix that fits. Every text has one; a text of no known
/// family gets the oldest, with the fewest features.
const Firmware& FirmwareFor(std::string_view version);

/// Whether a version text belongs to a family of the table; the row with the fewest features does not count.
bool IsKnownFirmware(std::string_view version);

}  // namespace kestrane::simulator
