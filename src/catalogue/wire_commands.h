#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kestrane {

/// How the mount ends its answer to a command.
enum class ReplyForm {
    None,       ///< no answer
    Character,  ///< one character; "1" is good unless stated otherwise
    Text,       ///< text ended by "#"
};

/// How a command goes out: framed by the exchange as ":", text, "#", or unchanged.
enum class Framing { Framed, Raw };

/// What the exchange does for a command besides sending it. A client's own text is treated like the row of the same
/// text.
struct Care {
    bool zeroIsGood = false;   ///< `CommandBool` of a client, and only that, also accepts "0" as a good reply
    std::int32_t pauseMs = 0;  ///< after a good reply

    friend constexpr bool operator==(const Care&, const Care&) = default;
};

namespace wire {

/// The end of each reply of the form `Text`.
inline constexpr std::string_view kReplyEnd = "#";

/// A text in the frame of the exchange.
inline std::string InFrame(std::string_view text) {
    return ":" + std::string(text) + "#";
}

}  // namespace wire

/// A command with its argument, ready to be sent. `OwnText` makes one from a client's own text.
template <ReplyForm form>
struct OutgoingCommand {
    std::string text;  ///< without the frame that `framing` adds
    Framing framing = Framing::Framed;

    bool Raw() const { return framing == Framing::Raw; }
    /// What goes over the line.
    std::string OnTheWire() const { return Raw() ? text : wire::InFrame(text); }
};

/// One command of the mount's protocol, a row of the table below. The form of its reply is part of its type, so that a
/// command cannot be sent by a method that waits for another form.
template <ReplyForm form>
struct WireRow {
    static constexpr ReplyForm kReply = form;

    std::string_view text;  ///< followed by the argument where `argument` names one
    Framing framing = Framing::Framed;
    /// The form of what follows the text; empty for none. A raw row adds its closing "#" itself.
    std::string_view argument;
    std::string_view meaning;
    Care care{};

    constexpr bool Raw() const { return framing == Framing::Raw; }

    OutgoingCommand<form> With(std::string_view value) const {
        const bool closes = Raw() && argument.ends_with('#');
        return {std::string(text) + std::string(value) + (closes ? "#" : ""), framing};
    }
    operator OutgoingCommand<form>() const { return With(""); }

    /// The same command for a caller that reads the answer off the line itself.
    constexpr WireRow<ReplyForm::None> ReplyReadApart() const { return {text, framing, argument, meaning, care}; }
};

using BlindCommand = WireRow<ReplyForm::None>;
using CharacterCommand = WireRow<ReplyForm::Character>;
using TextCommand = WireRow<ReplyForm::Text>;

/// A row of any form, for code that goes through the whole table.
struct WireCommand {
    template <ReplyForm form>
    constexpr WireCommand(const WireRow<form>& row)
        : text(row.text),
          framing(row.framing),
          reply(form),
          argument(row.argument),
          meaning(row.meaning),
          care(row.care) {}

    std::string_view text;
    Framing framing;
    ReplyForm reply;
    std::string_view argument;
    std::string_view meaning;
    Care care;

    constexpr bool Raw() const { return framing == Framing::Raw; }
};

/// Every command of the wire protocol, each defined once. Forms: RA HH:MM:SS.S (long) or HH:MM.T (short); Dec,
/// altitude and latitude sDD*MM:SS; azimuth and longitude DDD*MM:SS; an eastern longitude is negative. Any reply may
/// hold the alarm letters X, Y and Z.
namespace wire {

// clang-format off
// Identification and control
inline constexpr BlindCommand     EndInput         {"#",         Framing::Raw,    "",  "ends a partial input"};
inline constexpr TextCommand      Version          {"V",         Framing::Framed, "",  "firmware version"};
inline constexpr TextCommand      VersionRaw       {"#:V#",      Framing::Raw,    "",  "ends a partial input, then firmware version"};
inline constexpr BlindCommand     ToggleFormat     {"U",         Framing::Framed, "",  "toggles long and short format"};
inline constexpr BlindCommand     ToggleFormatRaw  {"#:U#",      Framing::Raw,    "",  "ends a partial input, then toggles the format"};
inline constexpr TextCommand      MountForm        {":G\x05#",   Framing::Raw,    "",  "form of the mount; 1, 3, 5, 7 are fork mounts"};
inline constexpr TextCommand      FirmwareRevision {"G_S",       Framing::Framed, "",  "firmware revision of KC4 and KC5, an integer"};
inline constexpr TextCommand      Status           {"GOS",       Framing::Framed, "",  "operating status"};
inline constexpr CharacterCommand Quay             {"QUAY",      Framing::Framed, "",  "proof of the companion application"};

// Queries
inline constexpr TextCommand      GetRa            {"GR",        Framing::Framed, "",  "right ascension"};
inline constexpr TextCommand      GetDec           {"GD",        Framing::Framed, "",  "declination"};
inline constexpr TextCommand      GetAltitude      {"GA",        Framing::Framed, "",  "altitude"};
inline constexpr TextCommand      GetAzimuth       {"GZ",        Framing::Framed, "",  "azimuth"};
inline constexpr TextCommand      GetSiderealTime  {"GS",        Framing::Framed, "",  "local sidereal time HH:MM:SS"};
inline constexpr TextCommand      GetLocalTime     {"GL",        Framing::Framed, "",  "local time; the first 8 characters count"};
inline constexpr TextCommand      GetTimeZone      {"GG",        Framing::Framed, "",  "time zone [-]HH:MM:SS.S, UTC minus local time"};
inline constexpr TextCommand      GetMeridianDelay {"GM",        Framing::Framed, "",  "meridian delay, a signed time"};
inline constexpr TextCommand      GetPierSide      {"pS",        Framing::Framed, "",  "side of the pier, East or West"};
inline constexpr TextCommand      GetLongitude     {"Gg",        Framing::Framed, "",  "site longitude, west positive, 0 to 360"};
inline constexpr TextCommand      GetLatitude      {"Gt",        Framing::Framed, "",  "site latitude"};
inline constexpr TextCommand      GetCenteringRate {"Rc",        Framing::Framed, "",  "centering rate"};
inline constexpr TextCommand      GetSlewRate      {"Rs",        Framing::Framed, "",  "slew rate"};

// Settings
inline constexpr CharacterCommand SetTargetRa      {"Sr",        Framing::Framed, "HH:MM:SS.S",    "target right ascension"};
inline constexpr CharacterCommand SetTargetDec     {"Sd",        Framing::Framed, "sDD*MM:SS",     "target declination, sign always written"};
inline constexpr CharacterCommand SetTargetAlt     {"Sa",        Framing::Framed, "sDD*MM:SS",     "target altitude"};
inline constexpr CharacterCommand SetTargetAz      {"Sz",        Framing::Framed, "DDD*MM:SS",     "target azimuth"};
inline constexpr CharacterCommand SetLatitude      {"St",        Framing::Framed, "sDD*MM:SS",     "site latitude"};
inline constexpr CharacterCommand SetLatitudeRaw   {":St",       Framing::Raw,    "sDD*MM:SS#",    "site latitude, framed by the caller"};
inline constexpr CharacterCommand SetLongitude     {"Sg",        Framing::Framed, "[-]DDD*MM:SS",  "site longitude, west positive"};
inline constexpr CharacterCommand SetLongitudeRaw  {":Sg",       Framing::Raw,    "[-]DDD*MM:SS#", "site longitude, framed by the caller"};
inline constexpr CharacterCommand SetLocalTime     {"SL",        Framing::Framed, "HH:MM:SS",      "local time"};
inline constexpr TextCommand      SetDate          {"SC",        Framing::Framed, "MM/dd/yy",      "date; a second line ended by # follows over serial"};
inline constexpr CharacterCommand SetTimeZone      {"SG",        Framing::Framed, "[-]HH:MM:SS.S", "time zone, UTC minus local time"};
inline constexpr CharacterCommand SetMeridianDelay {"SM",        Framing::Framed, "[-]HH:MM:SS",   "meridian delay; 0:00:00.0 resets it"};
inline constexpr CharacterCommand SetDecBacklash   {"Bd0*00:",   Framing::Framed, "ss.s",          "declination backlash, arc-seconds"};
inline constexpr CharacterCommand SetRaBacklash    {"Br0*00:",   Framing::Framed, "ss.s",          "right ascension backlash, arc-seconds"};

// Slews and motion
inline constexpr CharacterCommand Slew             {"MS",        Framing::Framed, "",   "slew to the target: 0 good, 1 below the horizon, 2 below the minimum elevation", {.zeroIsGood = true}};
inline constexpr CharacterCommand SlewRaw          {":MS#",      Framing::Raw,    "",   "the same, framed by the caller", {.zeroIsGood = true}};
inline constexpr TextCommand      Sync             {"CM",        Framing::Framed, "",   "sync to the target"};
inline constexpr TextCommand      Recal            {"CMR",       Framing::Framed, "",   "recalibrate to the target"};
inline constexpr BlindCommand     Stop             {"Q",         Framing::Framed, "",   "stop all motion"};
inline constexpr BlindCommand     StopRaw          {":Q#",       Framing::Raw,    "",   "stop all motion, framed by the caller"};
inline constexpr BlindCommand     StopClean        {"#:Q#",      Framing::Raw,    "",   "ends a partial input, then stops all motion"};
inline constexpr BlindCommand     MoveNorth        {"Mn",        Framing::Framed, "[ms]", "move north at the present rate, or pulse"};
inline constexpr BlindCommand     MoveSouth        {"Ms",        Framing::Framed, "[ms]", "move south at the present rate, or pulse"};
inline constexpr BlindCommand     MoveEast         {"Me",        Framing::Framed, "[ms]", "move east at the present rate, or pulse"};
inline constexpr BlindCommand     MoveWest         {"Mw",        Framing::Framed, "[ms]", "move west at the present rate, or pulse"};
inline constexpr BlindCommand     StopNorth        {"Qn",        Framing::Framed, "",   "stop the move north"};
inline constexpr BlindCommand     StopSouth        {"Qs",        Framing::Framed, "",   "stop the move south"};
inline constexpr BlindCommand     StopEast         {"Qe",        Framing::Framed, "",   "stop the move east"};
inline constexpr BlindCommand     StopWest         {"Qw",        Framing::Framed, "",   "stop the move west"};
inline constexpr BlindCommand     SwapEastWest     {"EW",        Framing::Framed, "",   "swap east and west in the mount"};
inline constexpr BlindCommand     SwapNorthSouth   {"NS",        Framing::Framed, "",   "swap north and south in the mount"};
inline constexpr BlindCommand     SwapEastWestRaw  {"#:EW#",     Framing::Raw,    "",   "ends a partial input, then swaps east and west"};
inline constexpr BlindCommand     SwapNorthSouthRaw{"#:NS#",     Framing::Raw,    "",   "ends a partial input, then swaps north and south"};
inline constexpr BlindCommand     Park             {"KA",        Framing::Framed, "",   "park"};
inline constexpr BlindCommand     Unpark           {"PO",        Framing::Framed, "",   "unpark"};
inline constexpr BlindCommand     SetParkSlot      {"$K",        Framing::Raw,    "index#", "selects a park position; sent without a colon"};

// Rates
inline constexpr BlindCommand     SlewRate         {"RS",        Framing::Framed, "0-2", "slew rate 600, 900, 1200 (300, 450, 600 on mount type 5)"};
inline constexpr BlindCommand     CustomSlewRate   {"Rs",        Framing::Framed, "rate", "custom slew rate, above 0 and below 1200"};
inline constexpr BlindCommand     CenteringRate    {"RC",        Framing::Framed, "0-7", "centering rate"};
inline constexpr BlindCommand     GuideRate        {"RG",        Framing::Framed, "0-3", "guide rate 0.25, 0.5, 1.0 times sidereal"};
inline constexpr BlindCommand     TrackingRate     {"RT",        Framing::Framed, "0-3, 8, 9",  "tracking rate: 0 lunar, 1 solar, 2 sidereal, 9 zero; 3 and 8 switch the King correction"};
inline constexpr BlindCommand     TrackingRateRaw  {":RT",       Framing::Raw,    "0-3, 8, 9#", "the same, framed by the caller"};
inline constexpr CharacterCommand CustomRaRate     {"RR",        Framing::Framed, "[-]d.ddddd", "custom right ascension rate"};
inline constexpr CharacterCommand CustomDecRate    {"RD",        Framing::Framed, "[-]d.ddddd", "custom declination rate; 0 clears it"};

// Periodic error correction, reticle, homing
inline constexpr BlindCommand     PemOn            {"pP",        Framing::Framed, "",   "periodic error correction on"};
inline constexpr BlindCommand     PemOff           {"p",         Framing::Framed, "",   "periodic error correction off"};
inline constexpr BlindCommand     PemRecord        {"pR",        Framing::Framed, "",   "periodic error correction records"};
inline constexpr BlindCommand     ReticleBrighter  {"B+",        Framing::Framed, "",   "reticle brighter"};
inline constexpr BlindCommand     ReticleDimmer    {"B-",        Framing::Framed, "",   "reticle dimmer"};
inline constexpr BlindCommand     ReticleLevel     {"B",         Framing::Framed, "0-7", "reticle brightness on later firmware"};
inline constexpr BlindCommand     HoldOn           {"ho",        Framing::Framed, "",   "kept for outside use"};
inline constexpr BlindCommand     HoldOff          {"hq",        Framing::Framed, "",   "kept for outside use"};

// Focuser
inline constexpr BlindCommand     FocusPlus        {"F+",        Framing::Framed, "",   "run the focus motor one way"};
inline constexpr BlindCommand     FocusMinus       {"F-",        Framing::Framed, "",   "run the focus motor the other way"};
inline constexpr BlindCommand     FocusStop        {"FQ",        Framing::Framed, "",   "stop the focus motor"};
inline constexpr BlindCommand     FocusFast        {"FF",        Framing::Framed, "",   "fast focus speed"};
inline constexpr BlindCommand     FocusSlow        {"FS",        Framing::Framed, "",   "slow focus speed"};

// Answered by the companion application, not by a mount alone
inline constexpr BlindCommand     PointingCorrection   {"ZZ00,", Framing::Framed, "arguments", "companion pointing correction"};
inline constexpr TextCommand      PointingCorrectionOn {"ZZ01",  Framing::Framed, "[,0 or ,1]", "reads or switches the pointing correction"};
inline constexpr TextCommand      TrackingCorrectionOn {"ZZ02",  Framing::Framed, "[,0 or ,1]", "reads or switches the tracking rate correction"};
inline constexpr TextCommand      CompanionSlew        {"*SLEW,", Framing::Framed, "RA,Dec",    "the companion slews, RA in hours, Dec in degrees"};
inline constexpr TextCommand      CompanionSlewAltAz   {"*SLEWALTAZ,", Framing::Framed, "Alt,Az",   "the companion slews, both in degrees"};
inline constexpr TextCommand      CompanionPark        {"*PARK,", Framing::Framed, "0-5",       "the companion parks at a numbered position"};
inline constexpr TextCommand      CompanionParkAltAz   {"*PARKALTAZ,", Framing::Framed, "Alt,Az",   "the companion parks, both in degrees"};
inline constexpr TextCommand      CompanionSafeSlewOff {"*DISABLESAFESLEW,", Framing::Framed, "0 or 1", "1 switches the safe slews of the companion off, 0 on again"};
inline constexpr TextCommand      CompanionRefraction  {"*DOESREFRACTION", Framing::Framed, "",     "whether the companion refracts: the third character is 1"};
inline constexpr TextCommand      CompanionTimeSync    {"*TIMESYNC,", Framing::Framed, "0 or 1",    "the companion sets the time and the zone of the mount"};

/// The whole catalogue, in the order above.
inline constexpr auto kAll = std::to_array<WireCommand>({
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
});
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

/// A command that the driver never sends, but clients may: any text with this beginning.
inline constexpr CharacterCommand ClientSetting{"Sm", Framing::Framed, "any", "kept for clients", {.pauseMs = 20}};

constexpr bool MeetsText(const WireCommand& row, std::string_view onTheWire) {
    if (!row.Raw()) {
        if (!onTheWire.starts_with(':')) {
            return false;
        }
        onTheWire.remove_prefix(1);
    }
    return row.argument.empty() ? onTheWire == std::string(row.text) + (row.Raw() ? "" : "#")
                                : onTheWire.starts_with(row.text);
}

/// The care for a text on its way out, whether it comes from a row or from a client.
constexpr Care CareOf(std::string_view onTheWire) {
    for (const WireCommand& row : kAll) {
        if (row.care != Care{} && MeetsText(row, onTheWire)) {
            return row.care;
        }
    }
    return MeetsText(ClientSetting, onTheWire) ? ClientSetting.care : Care{};
}

}  // namespace wire
}  // namespace kestrane
