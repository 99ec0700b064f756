#include "simulator/commands.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "simulator/protocol_text.h"
#include "simulator/status_text.h"

namespace kestrane::simulator {
namespace {

struct Call {
    MountModel& mount;
    std::string_view version;
    std::string_view mountForm;
    std::string_view argument;
};

using Handler = Answer (*)(Call&);

enum class Argument { None, Needed, Optional };

bool Always(const Firmware&) {
    return true;
}
bool Never(const Firmware&) {
    return false;
}

struct Row {
    std::string_view text;
    Argument argument;
    Handler handler;
    bool (*supported)(const Firmware&) = Always;
};

// Answers
Answer Silence() {
    return {};
}
Answer Text(std::string text) {
    return {Outcome::Done, {std::move(text) + '#'}};
}
Answer Character(bool good) {
    return {Outcome::Done, {good ? "1" : "0"}};
}
Answer Unknown() {
    return {Outcome::Unknown, {}};
}

int RaDecimals(const MountModel& mount) {
    return mount.firmware.highPrecision ? 2 : 1;
}
int AngleDecimals(const MountModel& mount) {
    return mount.firmware.highPrecision ? 1 : 0;
}

// Keeps a value that could be read, and reports whether it could.
template <typename Store>
Answer Keep(std::optional<double> value, Store store) {
    if (value) {
        store(*value);
    }
    return Character(value.has_value());
}

std::string RightAscensionText(const MountModel& mount) {
    const double hours = mount.RightAscension();
    return mount.longFormat ? HoursText(hours, RaDecimals(mount)) : ShortHoursText(hours);
}

bool AnglesAreShort(const MountModel& mount) {
    return mount.shortAngles && !mount.longFormat;
}

std::string AngleText(const MountModel& mount, double degrees) {
    return AnglesAreShort(mount) ? ShortSignedDegreesText(degrees) : SignedDegreesText(degrees, AngleDecimals(mount));
}

std::string AroundText(const MountModel& mount, double degrees) {
    return AnglesAreShort(mount) ? ShortCircleText(degrees) : CircleText(degrees, AngleDecimals(mount));
}

std::string DeclinationText(const MountModel& mount) {
    std::string text = AngleText(mount, mount.Declination());
    if (mount.firmware.strayDecDigit && mount.Initialised()) {
        text.insert(1, 1, '8');
    }
    return text;
}

Answer SetRa(Call& call) {
    return Keep(ParseHours(call.argument), [&](double hours) {
        call.mount.target.rightAscension = hours;
        call.mount.target.horizontal = false;
    });
}

Answer SetDec(Call& call) {
    return Keep(ParseSignedDegrees(call.argument), [&](double degrees) {
        call.mount.target.declination = degrees;
        call.mount.target.horizontal = false;
    });
}

Answer SetAlt(Call& call) {
    return Keep(ParseSignedDegrees(call.argument), [&](double degrees) {
        call.mount.target.altitude = degrees;
        call.mount.target.horizontal = true;
    });
}

Answer SetAz(Call& call) {
    return Keep(ParseCircle(call.argument, false), [&](double degrees) {
        call.mount.target.azimuth = degrees;
        call.mount.target.horizontal = true;
    });
}

// MM/dd/yy; the years 50 to 99 are 1950 to 1999.
Answer SetDate(Call& call) {
    const std::string_view text = call.argument;
    const bool formed = text.size() == 8 && text[2] == '/' && text[5] == '/';
    const auto month = ParseInteger(formed ? text.substr(0, 2) : "");
    const auto day = ParseInteger(formed ? text.substr(3, 2) : "");
    const auto year = ParseInteger(formed ? text.substr(6, 2) : "");
    if (!month || !day || !year || *month < 1 || *month > 12 || *day < 1) {
        return Text("0");
    }
    const DateTime date{*year < 50 ? 2000 + *year : 1900 + *year, *month, *day};
    if (FromMillisecondsSince1970(MillisecondsSince1970(date)) != date) {
        return Text("0");
    }
    call.mount.clock.SetDate(date.year, date.month, date.day);
    return {Outcome::Done, {"1Updating planetary data#", std::string(24, ' ') + '#'}};
}

Answer Backlash(std::string_view text, double& kept) {
    const auto seconds = ParseNumber(text);
    const bool good = seconds && *seconds >= 0 && *seconds < 60;
    if (good) {
        kept = *seconds;
    }
    return Character(good);
}

template <Direction direction>
Answer Move(Call& call) {
    const auto milliseconds = ParseInteger(call.argument);
    if (!call.argument.empty() && !milliseconds) {
        return Unknown();
    }
    return call.mount.Move(direction, milliseconds) ? Silence() : Unknown();
}

template <Direction direction>
Answer StopMove(Call& call) {
    call.mount.StopMove(direction);
    return Silence();
}

Answer Sync(Call& call, bool keepsSide) {
    return Text(call.mount.Sync(keepsSide) ? "Coordinates     matched.        " : "No target");
}

Answer FixedPark(Call& call) {
    const auto index = ParseInteger(call.argument);
    if (!index || *index < 1 || *index > 5) {
        return Unknown();
    }
    call.mount.GotoFixedPark(*index);
    return Silence();
}

// One digit that chooses a row of a rate table.
template <typename Find, typename Store>
Answer ChooseRate(Call& call, Find find, Store store) {
    const auto index = ParseInteger(call.argument);
    const std::optional<double> multiple = index ? find(*index) : std::nullopt;
    if (!multiple) {
        return Unknown();
    }
    store(*index, *multiple);
    return Silence();
}

Answer SlewRate(Call& call) {
    return ChooseRate(
        call, [&](int index) { return SlewMultiple(call.mount.firmware, index); },
        [&](int index, double multiple) {
            call.mount.rates.slewIndex = index;
            call.mount.rates.slew = multiple;
        });
}

Answer CenteringRate(Call& call) {
    return ChooseRate(
        call, [&](int index) { return CenteringMultiple(call.mount.firmware, index); },
        [&](int index, double multiple) {
            call.mount.rates.centeringIndex = index;
            call.mount.rates.centering = multiple;
            call.mount.rates.movesAtGuide = false;
        });
}

Answer GuideRate(Call& call) {
    return ChooseRate(call, GuideMultiple, [&](int index, double multiple) {
        call.mount.rates.guideIndex = index;
        call.mount.rates.guide = multiple;
        call.mount.rates.movesAtGuide = true;
    });
}

// With a number it sets the slew rate, without one it reports it.
Answer CustomSlewRate(Call& call) {
    if (call.argument.empty()) {
        return Text(NumberText(call.mount.rates.slew));
    }
    const auto rate = ParseNumber(call.argument);
    if (!rate || *rate <= 0 || *rate >= 1200) {
        return Unknown();
    }
    call.mount.rates.slew = *rate;
    call.mount.rates.slewIndex = -1;
    return Silence();
}

Answer TrackingRate(Call& call) {
    const auto rate = ParseInteger(call.argument);
    switch (call.argument.size() == 1 && rate ? *rate : -1) {
        case 0:
            call.mount.Track(Tracking::Lunar);
            break;
        case 1:
            call.mount.Track(Tracking::Solar);
            break;
        case 2:
            call.mount.Track(Tracking::Sidereal);
            break;
        case 3:
            call.mount.SwitchKing(false);
            break;
        case 8:
            call.mount.SwitchKing(true);
            break;
        case 9:
            call.mount.Track(Tracking::Stopped);
            break;
        default:
            return Unknown();
    }
    call.mount.LeavePark();
    return Silence();
}

// Multiples of sidereal: the fastest slew, 5 degrees per second.
constexpr double kHighestCustomRate = 1200;

Answer CustomRate(Call& call, void (MountModel::*set)(double)) {
    const auto multiple = ParseNumber(call.argument);
    const bool good = multiple && std::abs(*multiple) <= kHighestCustomRate;
    if (good) {
        (call.mount.*set)(*multiple);
    }
    return Character(good);
}

Answer ReticleBy(Call& call, int steps) {
    const int highest = call.mount.firmware.reticleLevels ? 7 : 10;
    call.mount.reticle = std::clamp(call.mount.reticle + steps, 0, highest);
    return Silence();
}

Answer ReticleLevel(Call& call) {
    const auto level = ParseInteger(call.argument);
    if (!level || *level > 7) {
        return Unknown();
    }
    call.mount.reticle = *level;
    return Silence();
}

bool HasStatus(const Firmware& firmware) {
    return firmware.statusLength > 0;
}
bool HasRevision(const Firmware& firmware) {
    return firmware.revision > 0;
}
bool HasMeridianDelay(const Firmware& firmware) {
    return firmware.meridianDelay;
}
bool HasPierSide(const Firmware& firmware) {
    return firmware.pierSide;
}
bool HasCustomRates(const Firmware& firmware) {
    return firmware.customRates;
}
bool HasReticleLevels(const Firmware& firmware) {
    return firmware.reticleLevels;
}
bool HasFixedParks(const Firmware& firmware) {
    return firmware.fixedParks;
}

// clang-format off
constexpr Argument kNone = Argument::None;
constexpr Argument kNeeded = Argument::Needed;
constexpr Argument kOptional = Argument::Optional;

constexpr std::array kRows{
    // Identification and control
    Row{"#",       kNone,     [](Call&)   { return Silence(); }},
    Row{"V",       kNone,     [](Call& c) { return Text(std::string(c.version)); }},
    Row{"U",       kNone,     [](Call& c) { c.mount.longFormat = !c.mount.longFormat; return Silence(); }},
    Row{"G\x05",   kNone,     [](Call& c) { return Text(std::string(c.mountForm)); }},
    Row{"G_S",     kNone,     [](Call& c) { return Text(std::to_string(c.mount.firmware.revision)); }, HasRevision},
    Row{"GOS",     kNone,     [](Call& c) { return Text(StatusText(c.mount)); }, HasStatus},

    // Queries
    Row{"GR",      kNone,     [](Call& c) { return Text(RightAscensionText(c.mount)); }},
    Row{"GD",      kNone,     [](Call& c) { return Text(DeclinationText(c.mount)); }},
    Row{"GA",      kNone,     [](Call& c) { return Text(AngleText(c.mount, c.mount.AltAz().altitude)); }},
    Row{"GZ",      kNone,     [](Call& c) { return Text(AroundText(c.mount, c.mount.AltAz().azimuth)); }},
    Row{"GS",      kNone,     [](Call& c) { return Text(HoursText(c.mount.SiderealTime(), 0)); }},
    Row{"GL",      kNone,     [](Call& c) { return Text(HoursText(std::floor(c.mount.clock.LocalHours() * 3600 + 1e-6) / 3600, 0)); }},
    Row{"GG",      kNone,     [](Call& c) { return Text(OffsetText(c.mount.clock.Zone())); }},
    Row{"GM",      kNone,     [](Call& c) { return Text(OffsetText(c.mount.meridianDelay)); }, HasMeridianDelay},
    Row{"pS",      kNone,     [](Call& c) { return Text(c.mount.axes.Side() == PierSide::East ? "East" : "West"); }, HasPierSide},
    Row{"Gg",      kNone,     [](Call& c) { return Text(AroundText(c.mount, c.mount.longitudeWest)); }},
    Row{"Gt",      kNone,     [](Call& c) { return Text(AngleText(c.mount, c.mount.Latitude())); }},
    Row{"Rc",      kNone,     [](Call& c) { return Text(NumberText(c.mount.rates.centering)); }},

    // Settings
    Row{"Sr",      kNeeded,   SetRa},
    Row{"Sd",      kNeeded,   SetDec},
    Row{"Sa",      kNeeded,   SetAlt},
    Row{"Sz",      kNeeded,   SetAz},
    Row{"St",      kNeeded,   [](Call& c) { return Keep(ParseSignedDegrees(c.argument), [&](double v) { c.mount.SetLatitude(v); }); }},
    Row{"Sg",      kNeeded,   [](Call& c) { return Keep(ParseCircle(c.argument, true), [&](double v) { c.mount.SetLongitudeWest(v); }); }},
    Row{"SL",      kNeeded,   [](Call& c) { return Keep(ParseHours(c.argument), [&](double v) { c.mount.clock.SetTimeOfDay(v); }); }},
    Row{"SC",      kNeeded,   SetDate},
    Row{"SG",      kNeeded,   [](Call& c) { return Keep(ParseOffset(c.argument), [&](double v) { c.mount.clock.SetZone(v); }); }},
    Row{"SM",      kNeeded,   [](Call& c) { return Keep(ParseOffset(c.argument), [&](double v) { c.mount.meridianDelay = v; }); }, HasMeridianDelay},
    Row{"Bd0*00:", kNeeded,   [](Call& c) { return Backlash(c.argument, c.mount.decBacklash); }},
    Row{"Br0*00:", kNeeded,   [](Call& c) { return Backlash(c.argument, c.mount.raBacklash); }},

    // Slews and motion
    Row{"MS",      kNone,     [](Call& c) { return Answer{Outcome::Done, {std::string(1, c.mount.Slew())}}; }},
    Row{"CM",      kNone,     [](Call& c) { return Sync(c, false); }},
    Row{"CMR",     kNone,     [](Call& c) { return Sync(c, true); }},
    Row{"Q",       kNone,     [](Call& c) { c.mount.StopAll(); return Silence(); }},
    Row{"Mn",      kOptional, Move<Direction::North>},
    Row{"Ms",      kOptional, Move<Direction::South>},
    Row{"Me",      kOptional, Move<Direction::East>},
    Row{"Mw",      kOptional, Move<Direction::West>},
    Row{"Qn",      kNone,     StopMove<Direction::North>},
    Row{"Qs",      kNone,     StopMove<Direction::South>},
    Row{"Qe",      kNone,     StopMove<Direction::East>},
    Row{"Qw",      kNone,     StopMove<Direction::West>},
    Row{"EW",      kNone,     [](Call& c) { c.mount.swappedEastWest = !c.mount.swappedEastWest; return Silence(); }},
    Row{"NS",      kNone,     [](Call& c) { c.mount.swappedNorthSouth = !c.mount.swappedNorthSouth; return Silence(); }},
    Row{"KA",      kNone,     [](Call& c) { c.mount.Park(); return Silence(); }},
    Row{"PO",      kNone,     [](Call& c) { c.mount.Unpark(); return Silence(); }},
    Row{"$K",      kNeeded,   FixedPark, HasFixedParks},

    // Rates
    Row{"RS",      kNeeded,   SlewRate},
    Row{"Rs",      kOptional, CustomSlewRate},
    Row{"RC",      kNeeded,   CenteringRate},
    Row{"RG",      kNeeded,   GuideRate},
    Row{"RT",      kNeeded,   TrackingRate},
    Row{"RR",      kNeeded,   [](Call& c) { return CustomRate(c, &MountModel::CustomRa); }, HasCustomRates},
    Row{"RD",      kNeeded,   [](Call& c) { return CustomRate(c, &MountModel::CustomDec); }, HasCustomRates},

    // Periodic error correction, reticle
    Row{"pP",      kNone,     [](Call& c) { c.mount.pem = PemState::On; return Silence(); }},
    Row{"p",       kNone,     [](Call& c) { c.mount.pem = PemState::Off; return Silence(); }},
    Row{"pR",      kNone,     [](Call& c) { c.mount.pem = PemState::Recording; return Silence(); }},
    Row{"B+",      kNone,     [](Call& c) { return ReticleBy(c, 1); }},
    Row{"B-",      kNone,     [](Call& c) { return ReticleBy(c, -1); }},
    Row{"B",       kNeeded,   ReticleLevel, HasReticleLevels},
    Row{"ho",      kNone,     [](Call& c) { c.mount.held = true; return Silence(); }},
    Row{"hq",      kNone,     [](Call& c) { c.mount.held = false; return Silence(); }},

    // Focuser
    Row{"F+",      kNone,     [](Call& c) { c.mount.focuser.Run(1); return Silence(); }},
    Row{"F-",      kNone,     [](Call& c) { c.mount.focuser.Run(-1); return Silence(); }},
    Row{"FQ",      kNone,     [](Call& c) { c.mount.focuser.Run(0); return Silence(); }},
    Row{"FF",      kNone,     [](Call& c) { c.mount.focuser.Fast(true); return Silence(); }},
    Row{"FS",      kNone,     [](Call& c) { c.mount.focuser.Fast(false); return Silence(); }},

    // Answered by a companion application, never by the mount
    Row{"QUAY",    kNone,     [](Call&)   { return Silence(); }, Never},
    Row{"ZZ00,",   kOptional, [](Call&)   { return Silence(); }, Never},
    Row{"ZZ01",    kOptional, [](Call&)   { return Silence(); }, Never},
    Row{"ZZ02",    kOptional, [](Call&)   { return Silence(); }, Never},
    Row{"*SLEW,",  kNeeded,   [](Call&)   { return Silence(); }, Never},
    Row{"*SLEWALTAZ,", kNeeded, [](Call&) { return Silence(); }, Never},
    Row{"*PARK,",  kNeeded,   [](Call&)   { return Silence(); }, Never},
    Row{"*PARKALTAZ,", kNeeded, [](Call&) { return Silence(); }, Never},
    Row{"*DISABLESAFESLEW,", kNeeded, [](Call&) { return Silence(); }, Never},
    Row{"*DOESREFRACTION", kNone, [](Call&) { return Silence(); }, Never},
    Row{"*TIMESYNC,", kNeeded, [](Call&)  { return Silence(); }, Never},
};
// clang-format on

bool Fits(const Row& row, std::string_view command) {
    if (!command.starts_with(row.text)) {
        return false;
    }
    const bool bare = command.size() == row.text.size();
    return row.argument == Argument::Optional || bare == (row.argument == Argument::None);
}

// The row with the longest text that fits.
const Row* RowFor(std::string_view command) {
    const Row* best = nullptr;
    for (const Row& row : kRows) {
        if (Fits(row, command) && (best == nullptr || row.text.size() > best->text.size())) {
            best = &row;
        }
    }
    return best;
}

}  // namespace

Answer Execute(MountModel& mount, std::string_view version, std::string_view mountForm, std::string_view command) {
    const Row* row = RowFor(command);
    if (row == nullptr) {
        return Unknown();
    }
    if (!row->supported(mount.firmware)) {
        return {Outcome::Unsupported, {}, row->text};
    }
    Call call{mount, version, mountForm, command.substr(row->text.size())};
    Answer answer = row->handler(call);
    answer.name = row->text;
    return answer;
}

}  // namespace kestrane::simulator
