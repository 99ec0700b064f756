#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace kestrane {

/// How the mount ends its answer to a command.
enum class ReplyForm {
    None,       ///< no answer
    Character,  ///< one character; "1" is good unless told otherwise
    Text,       ///< text ended by "#"
};

/// How a command goes out: framed by the exchange as ":", text, "#", or as it stands.
enum class Framing { Framed, Raw };

/// One command of the mount's protocol. `text` is what a caller hands to the exchange, followed by its argument
/// where `argument` names one.
struct WireCommand {
    std::string_view text;
    Framing framing = Framing::Framed;
    ReplyForm reply = ReplyForm::None;
    std::string_view argument;  ///< form of what follows the text; empty for none
    std::string_view meaning;

    constexpr bool Raw() const { return framing == Framing::Raw; }
};

/// Every command of the wire protocol, each defined once. Forms: RA HH:MM:SS.S (long) or HH:MM.T (short); Dec,
/// altitude and latitude sDD*MM:SS; azimuth and longitude DDD*MM:SS; an eastern longitude is negative. Any reply may
/// hold the alarm letters X, Y and Z.
namespace wire {

// clang-format off
// Identification and control
inline constexpr WireCommand EndInput         {"#",         Framing::Raw,    ReplyForm::None,      "",  "ends a partial input"};
inline constexpr WireCommand Version          {"V",         Framing::Framed, ReplyForm::Text,      "",  "firmware version"};
inline constexpr WireCommand VersionRaw       {"#:V#",      Framing::Raw,    ReplyForm::Text,      "",  "ends a partial input, then firmware version"};
inline constexpr WireCommand ToggleFormat     {"U",         Framing::Framed, ReplyForm::None,      "",  "toggles long and short format"};
inline constexpr WireCommand ToggleFormatRaw  {"#:U#",      Framing::Raw,    ReplyForm::None,      "",  "ends a partial input, then toggles the format"};
inline constexpr WireCommand MountForm        {":G\x05#",   Framing::Raw,    ReplyForm::Text,      "",  "form of the mount; 1, 3, 5, 7 are fork mounts"};
inline constexpr WireCommand FirmwareRevision {"G_S",       Framing::Framed, ReplyForm::Text,      "",  "firmware revision of KC4 and KC5, an integer"};
inline constexpr WireCommand Status           {"GOS",       Framing::Framed, ReplyForm::Text,      "",  "operating status"};
inline constexpr WireCommand Quay             {"QUAY",      Framing::Framed, ReplyForm::Character, "",  "proof of the companion application"};

// Queries
inline constexpr WireCommand GetRa            {"GR",        Framing::Framed, ReplyForm::Text,      "",  "right ascension"};
inline constexpr WireCommand GetDec           {"GD",        Framing::Framed, ReplyForm::Text,      "",  "declination"};
inline constexpr WireCommand GetAltitude      {"GA",        Framing::Framed, ReplyForm::Text,      "",  "altitude"};
inline constexpr WireCommand GetAzimuth       {"GZ",        Framing::Framed, ReplyForm::Text,      "",  "azimuth"};
inline constexpr WireCommand GetSiderealTime  {"GS",        Framing::Framed, ReplyForm::Text,      "",  "local sidereal time HH:MM:SS"};
inline constexpr WireCommand GetLocalTime     {"GL",        Framing::Framed, ReplyForm::Text,      "",  "local time; the first 8 characters count"};
inline constexpr WireCommand GetTimeZone      {"GG",        Framing::Framed, ReplyForm::Text,      "",  "time zone [-]HH:MM:SS.S, UTC minus local time"};
inline constexpr WireCommand GetMeridianDelay {"GM",        Framing::Framed, ReplyForm::Text,      "",  "meridian delay, a signed time"};
inline constexpr WireCommand GetPierSide      {"pS",        Framing::Framed, ReplyForm::Text,      "",  "side of the pier, East or West"};
inline constexpr WireCommand GetLongitude     {"Gg",        Framing::Framed, ReplyForm::Text,      "",  "site longitude, west positive, 0 to 360"};
inline constexpr WireCommand GetLatitude      {"Gt",        Framing::Framed, ReplyForm::Text,      "",  "site latitude"};
inline constexpr WireCommand GetCenteringRate {"Rc",        Framing::Framed, ReplyForm::Text,      "",  "centering rate"};
inline constexpr WireCommand GetSlewRate      {"Rs",        Framing::Framed, ReplyForm::Text,      "",  "slew rate"};

// Settings
inline constexpr WireCommand SetTargetRa      {"Sr",        Framing::Framed, ReplyForm::Character, "HH:MM:SS.S",    "target right ascension"};
inline constexpr WireCommand SetTargetDec     {"Sd",        Framing::Framed, ReplyForm::Character, "sDD*MM:SS",     "target declination, sign always written"};
inline constexpr WireCommand SetTargetAlt     {"Sa",        Framing::Framed, ReplyForm::Character, "sDD*MM:SS",     "target altitude"};
inline constexpr WireCommand SetTargetAz      {"Sz",        Framing::Framed, ReplyForm::Character, "DDD*MM:SS",     "target azimuth"};
inline constexpr WireCommand SetLatitude      {"St",        Framing::Framed, ReplyForm::Character, "sDD*MM:SS",     "site latitude"};
inline constexpr WireCommand SetLatitudeRaw   {":St",       Framing::Raw,    ReplyForm::Character, "sDD*MM:SS#",    "site latitude, framed by the caller"};
inline constexpr WireCommand SetLongitude     {"Sg",        Framing::Framed, ReplyForm::Character, "[-]DDD*MM:SS",  "site longitude, west positive"};
inline constexpr WireCommand SetLongitudeRaw  {":Sg",       Framing::Raw,    ReplyForm::Character, "[-]DDD*MM:SS#", "site longitude, framed by the caller"};
inline constexpr WireCommand SetLocalTime     {"SL",        Framing::Framed, ReplyForm::Character, "HH:MM:SS",      "local time"};
inline constexpr WireCommand SetDate          {"SC",        Framing::Framed, ReplyForm::Text,      "MM/dd/yy",      "date; a second line ended by # follows over serial"};
inline constexpr WireCommand SetTimeZone      {"SG",        Framing::Framed, ReplyForm::Character, "[-]HH:MM:SS.S", "time zone, UTC minus local time"};
inline constexpr WireCommand SetMeridianDelay {"SM",        Framing::Framed, ReplyForm::Character, "[-]HH:MM:SS",   "meridian delay; 0:00:00.0 resets it"};
inline constexpr WireCommand SetDecBacklash   {"Bd0*00:",   Framing::Framed, ReplyForm::Character, "ss.s",          "declination backlash, arc-seconds"};
inline constexpr WireCommand SetRaBacklash    {"Br0*00:",   Framing::Framed, ReplyForm::Character, "ss.s",          "right ascension backlash, arc-seconds"};

// Slews and motion
inline constexpr WireCommand Slew             {"MS",        Framing::Framed, ReplyForm::Character, "",   "slew to the target: 0 good, 1 below the horizon, 2 below the minimum elevation"};
inline constexpr WireCommand SlewRaw          {":MS#",      Framing::Raw,    ReplyForm::Character, "",   "the same, framed by the caller"};
inline constexpr WireCommand Sync             {"CM",        Framing::Framed, ReplyForm::Text,      "",   "sync to the target"};
inline constexpr WireCommand Recal            {"CMR",       Framing::Framed, ReplyForm::Text,      "",   "recalibrate to the target"};
inline constexpr WireCommand Stop             {"Q",         Framing::Framed, ReplyForm::None,      "",   "stop all motion"};
inline constexpr WireCommand StopRaw          {":Q#",       Framing::Raw,    ReplyForm::None,      "",   "stop all motion, framed by the caller"};
inline constexpr WireCommand StopClean        {"#:Q#",      Framing::Raw,    ReplyForm::None,      "",   "ends a partial input, then stops all motion"};
inline constexpr WireCommand MoveNorth        {"Mn",        Framing::Framed, ReplyForm::None,      "[ms]", "move north at the present rate, or pulse"};
inline constexpr WireCommand MoveSouth        {"Ms",        Framing::Framed, ReplyForm::None,      "[ms]", "move south at the present rate, or pulse"};
inline constexpr WireCommand MoveEast         {"Me",        Framing::Framed, ReplyForm::None,      "[ms]", "move east at the present rate, or pulse"};
inline constexpr WireCommand MoveWest         {"Mw",        Framing::Framed, ReplyForm::None,      "[ms]", "move west at the present rate, or pulse"};
inline constexpr WireCommand StopNorth        {"Qn",        Framing::Framed, ReplyForm::None,      "",   "stop the move north"};
inline constexpr WireCommand StopSouth        {"Qs",        Framing::Framed, ReplyForm::None,      "",   "stop the move south"};
inline constexpr WireCommand StopEast         {"Qe",        Framing::Framed, ReplyForm::None,      "",   "stop the move east"};
inline constexpr WireCommand StopWest         {"Qw",        Framing::Framed, ReplyForm::None,      "",   "stop the move west"};
inline constexpr WireCommand SwapEastWest     {"EW",        Framing::Framed, ReplyForm::None,      "",   "swap east and west in the mount"};
inline constexpr WireCommand SwapNorthSouth   {"NS",        Framing::Framed, ReplyForm::None,      "",   "swap north and south in the mount"};
inline constexpr WireCommand SwapEastWestRaw  {"#:EW#",     Framing::Raw,    ReplyForm::None,      "",   "ends a partial input, then swaps east and west"};
inline constexpr WireCommand SwapNorthSouthRaw{"#:NS#",     Framing::Raw,    ReplyForm::None,      "",   "ends a partial input, then swaps north and south"};
inline constexpr WireCommand Park             {"KA",        Framing::Framed, ReplyForm::None,      "",   "park"};
inline constexpr WireCommand Unpark           {"PO",        Framing::Framed, ReplyForm::None,      "",   "unpark"};
inline constexpr WireCommand SetParkSlot      {"$K",        Framing::Raw,    ReplyForm::None,      "index#", "selects a park position; sent without a colon"};

// Rates
inline constexpr WireCommand SlewRate         {"RS",        Framing::Framed, ReplyForm::None,      "0-2", "slew rate 600, 900, 1200 (300, 450, 600 on mount type 5)"};
inline constexpr WireCommand CustomSlewRate   {"Rs",        Framing::Framed, ReplyForm::None,      "rate", "custom slew rate, above 0 and below 1200"};
inline constexpr WireCommand CenteringRate    {"RC",        Framing::Framed, ReplyForm::None,      "0-7", "centering rate"};
inline constexpr WireCommand GuideRate        {"RG",        Framing::Framed, ReplyForm::None,      "0-3", "guide rate 0.25, 0.5, 1.0 times sidereal"};
inline constexpr WireCommand TrackingRate     {"RT",        Framing::Framed, ReplyForm::None,      "0-3, 8, 9",  "tracking rate: 0 lunar, 1 solar, 2 sidereal, 9 zero; 3 and 8 switch the King correction"};
inline constexpr WireCommand TrackingRateRaw  {":RT",       Framing::Raw,    ReplyForm::None,      "0-3, 8, 9#", "the same, framed by the caller"};
inline constexpr WireCommand CustomRaRate     {"RR",        Framing::Framed, ReplyForm::Character, "[-]d.ddddd", "custom right ascension rate"};
inline constexpr WireCommand CustomDecRate    {"RD",        Framing::Framed, ReplyForm::Character, "[-]d.ddddd", "custom declination rate; 0 clears it"};

// Periodic error correction, reticle, homing
inline constexpr WireCommand PemOn            {"pP",        Framing::Framed, ReplyForm::None,      "",   "periodic error correction on"};
inline constexpr WireCommand PemOff           {"p",         Framing::Framed, ReplyForm::None,      "",   "periodic error correction off"};
inline constexpr WireCommand PemRecord        {"pR",        Framing::Framed, ReplyForm::None,      "",   "periodic error correction records"};
inline constexpr WireCommand ReticleBrighter  {"B+",        Framing::Framed, ReplyForm::None,      "",   "reticle brighter"};
inline constexpr WireCommand ReticleDimmer    {"B-",        Framing::Framed, ReplyForm::None,      "",   "reticle dimmer"};
inline constexpr WireCommand ReticleLevel     {"B",         Framing::Framed, ReplyForm::None,      "0-7", "reticle brightness on later firmware"};
inline constexpr WireCommand HoldOn           {"ho",        Framing::Framed, ReplyForm::None,      "",   "kept for outside use"};
inline constexpr WireCommand HoldOff          {"hq",        Framing::Framed, ReplyForm::None,      "",   "kept for outside use"};

// Focuser
inline constexpr WireCommand FocusPlus        {"F+",        Framing::Framed, ReplyForm::None,      "",   "run the focus motor one way"};
inline constexpr WireCommand FocusMinus       {"F-",        Framing::Framed, ReplyForm::None,      "",   "run the focus motor the other way"};
inline constexpr WireCommand FocusStop        {"FQ",        Framing::Framed, ReplyForm::None,      "",   "stop the focus motor"};
inline constexpr WireCommand FocusFast        {"FF",        Framing::Framed, ReplyForm::None,      "",   "fast focus speed"};
inline constexpr WireCommand FocusSlow        {"FS",        Framing::Framed, ReplyForm::None,      "",   "slow focus speed"};

// Answered by the companion application, not by a mount alone
inline constexpr WireCommand PointingCorrection   {"ZZ00,", Framing::Framed, ReplyForm::None,      "arguments", "companion pointing correction"};
inline constexpr WireCommand PointingCorrectionOn {"ZZ01",  Framing::Framed, ReplyForm::Text,      "[,0 or ,1]", "reads or switches the pointing correction"};
inline constexpr WireCommand TrackingCorrectionOn {"ZZ02",  Framing::Framed, ReplyForm::Text,      "[,0 or ,1]", "reads or switches the tracking rate correction"};
inline constexpr WireCommand CompanionSlew        {"*SLEW,", Framing::Framed, ReplyForm::Text,     "RA,Dec",    "the companion slews, RA in hours, Dec in degrees"};
inline constexpr WireCommand CompanionSlewAltAz   {"*SLEWALTAZ,", Framing::Framed, ReplyForm::Text, "Az,Alt",   "the companion slews, both in degrees"};
inline constexpr WireCommand CompanionPark        {"*PARK,", Framing::Framed, ReplyForm::Text,     "0-5",       "the companion parks at a numbered position"};
inline constexpr WireCommand CompanionParkAltAz   {"*PARKALTAZ,", Framing::Framed, ReplyForm::Text, "Alt,Az",   "the companion parks, both in degrees"};
inline constexpr WireCommand CompanionSafeSlewOff {"*DISABLESAFESLEW,", Framing::Framed, ReplyForm::Text, "0 or 1", "1 switches the safe slews of the companion off, 0 on again"};
inline constexpr WireCommand CompanionRefraction  {"*DOESREFRACTION", Framing::Framed, ReplyForm::Text, "",     "whether the companion refracts: the third character is 1"};
inline constexpr WireCommand CompanionTimeSync    {"*TIMESYNC,", Framing::Framed, ReplyForm::Text, "0 or 1",    "the companion sets the time and the zone of the mount"};

/// The whole catalogue, in the order above.
inline constexpr std::array kAll{
    EndInput, Version, VersionRaw, ToggleFormat, ToggleFormatRaw, MountForm, FirmwareRevision, Status, Quay,
    GetRa, GetDec, GetAltitude, GetAzimuth, GetSiderealTime, GetLocalTime, GetTimeZone, GetMeridianDelay,
    GetPierSide, GetLongitude, GetLatitude, GetCenteringRate, GetSlewRate,
    SetTargetRa, SetTargetDec, SetTargetAlt, SetTargetAz, SetLatitude, SetLatitudeRaw, SetLongitude, SetLongitudeRaw,
    SetLocalTime, SetDate, SetTimeZone, SetMeridianDelay, SetDecBacklash, SetRaBacklash,
    Slew, SlewRaw, Sync, Recal, Stop, StopRaw, StopClean, MoveNorth, MoveSouth, MoveEast, MoveWest,
    StopNorth, StopSouth, StopEast, StopWest, SwapEastWest, SwapNorthSouth, SwapEastWestRaw, SwapNorthSouthRaw,
    Park, Unpark, SetParkSlot,
    SlewRate, CustomSlewRate, CenteringRate, GuideRate, TrackingRate, TrackingRateRaw, CustomRaRate, CustomDecRate,
    PemOn, PemOff, PemRecord, ReticleBrighter, ReticleDimmer, ReticleLevel, HoldOn, HoldOff,
    FocusPlus, FocusMinus, FocusStop, FocusFast, FocusSlow,
    PointingCorrection, PointingCorrectionOn, TrackingCorrectionOn,
    CompanionSlew, CompanionSlewAltAz, CompanionPark, CompanionParkAltAz, CompanionSafeSlewOff, CompanionRefraction,
    CompanionTimeSync,
};
// clang-format on

/// Whether no command is defined twice. Commands with the same text differ in framing or argument ("Rs" asks for the
/// slew rate, "Rs" with a number sets it).
constexpr bool AllDiffer() {
    for (std::size_t i = 0; i < kAll.size(); ++i) {
        for (std::size_t j = i + 1; j < kAll.size(); ++j) {
            if (kAll[i].text == kAll[j].text && kAll[i].framing == kAll[j].framing &&
                kAll[i].argument.empty() == kAll[j].argument.empty()) {
                return false;
            }
        }
    }
    return true;
}
static_assert(AllDiffer());

}  // namespace wire
}  // namespace kestrane
