#include "alpaca/common_routes.h"
#include "alpaca/routes.h"
#include "alpaca/served_devices.h"

namespace kestrane::alpaca {
namespace {

template <typename Value, Value (Telescope::*Member)()>
constexpr Handler kRead = ReadProperty<ServedTelescope, Member>;
template <typename Value, void (Telescope::*Member)(Value)>
constexpr Handler kWrite = WriteProperty<ServedTelescope, Value, Member>;
template <void (Telescope::*Member)()>
constexpr Handler kCall = CallMethod<ServedTelescope, Member>;

std::string SendBlind(ClientObject& object, const Arguments& arguments) {
    DeviceOf<ServedTelescope>(object).CommandBlind(arguments.Text(0), arguments.Boolean(1));
    return {};
}

std::string SendBool(ClientObject& object, const Arguments& arguments) {
    return JsonOf(DeviceOf<ServedTelescope>(object).CommandBool(arguments.Text(0), arguments.Boolean(1)));
}

std::string SendString(ClientObject& object, const Arguments& arguments) {
    return JsonOf(DeviceOf<ServedTelescope>(object).CommandString(arguments.Text(0), arguments.Boolean(1)));
}

std::string ReadUtcDate(ClientObject& object, const Arguments&) {
    return JsonOf(DeviceOf<ServedTelescope>(object).utcDate());
}

std::string WriteUtcDate(ClientObject& object, const Arguments& arguments) {
    DeviceOf<ServedTelescope>(object).utcDate(arguments.UtcDate(0));
    return {};
}

std::string SlewAsync(ClientObject& object, const Arguments& arguments) {
    DeviceOf<ServedTelescope>(object).SlewToCoordinatesAsync(arguments.Number(0), arguments.Number(1));
    return {};
}

std::string ReadTrackingRates(ClientObject& object, const Arguments&) {
    const std::shared_ptr<const TrackingRates> rates = DeviceOf<ServedTelescope>(object).TrackingRates();
    return JsonList(rates->NewEnum());
}

std::string ReadAxisRates(ClientObject& object, const Arguments& arguments) {
    const std::shared_ptr<const AxisRates> rates = DeviceOf<ServedTelescope>(object).AxisRates(arguments.Integer(0));
    return JsonList(rates->NewEnum(), [](const std::shared_ptr<rate>& range) {
        return "{\"Maximum\":" + JsonOf(range->Maximum()) + ",\"Minimum\":" + JsonOf(range->Minimum()) + "}";
    });
}

std::string ReadCanMoveAxis(ClientObject& object, const Arguments& arguments) {
    return JsonOf(DeviceOf<ServedTelescope>(object).CanMoveAxis(arguments.Integer(0)));
}

std::string MoveAxis(ClientObject& object, const Arguments& arguments) {
    DeviceOf<ServedTelescope>(object).MoveAxis(arguments.Integer(0), arguments.Number(1));
    return {};
}

std::string PulseGuide(ClientObject& object, const Arguments& arguments) {
    DeviceOf<ServedTelescope>(object).PulseGuide(arguments.Integer(0), arguments.Integer(1));
    return {};
}

std::string ReadDestinationSideOfPier(ClientObject& object, const Arguments& arguments) {
    return JsonOf(DeviceOf<ServedTelescope>(object).DestinationSideOfPier(arguments.Number(0), arguments.Number(1)));
}

constexpr StopForm kMoveAxisStops{[](const Arguments& arguments) { return arguments.Number(1) == 0.0; },
                                  [](const Arguments& arguments) { return arguments.Integer(0); }};
constexpr StopForm kTrackingStops{[](const Arguments& arguments) { return !arguments.Boolean(0); },
                                  [](const Arguments&) { return std::int32_t{0}; }};
/// Of a call without a text: the member that parks.
ParkText ParkTextOf(const Arguments& arguments) {
    return arguments.IsEmpty() ? ParkText::Begins : kestrane::ParkTextOf(arguments.Text(0), arguments.Boolean(1));
}

/// The driver command that cancels a park, and what begins one; other texts have nothing to do with it.
constexpr StopForm kParkStops{
    [](const Arguments& arguments) { return ParkTextOf(arguments) == ParkText::Cancels; },
    [](const Arguments& arguments) { return std::int32_t{ParkTextOf(arguments) != ParkText::Other}; }};
constexpr std::string_view kVerbDone = "\"1\"";
/// Each axis has a pulse of its own: north and south have one, all other directions have the other.
constexpr StopForm kPulseGuideStops{[](const Arguments& arguments) { return arguments.Integer(1) <= 0; },
                                    [](const Arguments& arguments) {
                                        const std::int32_t direction = arguments.Integer(0);
                                        return std::int32_t{direction == 0 || direction == 1};
                                    }};
constexpr Handler kSlewAltAz = CallWithTwoNumbers<ServedTelescope, &Telescope::SlewToAltAz>;
constexpr Handler kSlewAltAzAsync = CallWithTwoNumbers<ServedTelescope, &Telescope::SlewToAltAzAsync>;
constexpr Handler kSlew = CallWithTwoNumbers<ServedTelescope, &Telescope::SlewToCoordinates>;
constexpr Handler kSyncAltAz = CallWithTwoNumbers<ServedTelescope, &Telescope::SyncToAltAz>;
constexpr Handler kSync = CallWithTwoNumbers<ServedTelescope, &Telescope::SyncToCoordinates>;

constexpr Verb Get = Verb::Get;
constexpr Verb Put = Verb::Put;
constexpr CallKind Brief = CallKind::Brief;
constexpr CallKind Read = CallKind::Read;
constexpr CallKind Long = CallKind::WaitsLong;
constexpr CallKind Stop = CallKind::Stop;
constexpr ValueType Bool = ValueType::Boolean;
constexpr ValueType Int = ValueType::Integer;
constexpr ValueType Num = ValueType::Number;
constexpr ValueType Text = ValueType::Text;
constexpr ValueType Date = ValueType::UtcDate;

const std::vector<Parameter> kNone;
const std::vector<Parameter> kCommand{{"Command", Text}, {"Raw", Bool}};
const std::vector<Parameter> kEquatorial{{"RightAscension", Num}, {"Declination", Num}};
const std::vector<Parameter> kHorizontal{{"Azimuth", Num}, {"Altitude", Num}};

}  // namespace

// clang-format off
// A row is of the kind Read when its member asks nobody: neither the mount nor, by a pump, other calls.
std::vector<Route> TelescopeRoutes() {
    using T = Telescope;
    return {
        {"Action",                  Put, Brief, {{"Action", Text}, {"Parameters", Text, true}},  RefuseAction},
        {"CommandBlind",            Put, Long,  kCommand,                                  SendBlind},
        {"CommandBool",             Put, Long,  kCommand,                                  SendBool},
        {"CommandString",           Put, Long,  kCommand,                                  SendString, &kParkStops, kVerbDone},
        {"Connected",               Get, Read,  kNone,                                     ReadConnected},
        {"Connected",               Put, Long,  {{"Connected", Bool}},                     WriteConnected},
        {"Description",             Get, Read,  kNone,                                     kRead<std::string, &T::Description>},
        {"DriverInfo",              Get, Read,  kNone,                                     kRead<std::string, &T::DriverInfo>},
        {"DriverVersion",           Get, Read,  kNone,                                     kRead<std::string, &T::DriverVersion>},
        {"InterfaceVersion",        Get, Read,  kNone,                                     kRead<int, &T::InterfaceVersion>},
        {"Name",                    Get, Read,  kNone,                                     kRead<std::string, &T::Name>},
        {"SupportedActions",        Get, Read,  kNone,                                     ReadSupportedActions},

        {"AlignmentMode",           Get, Read,  kNone,                                     kRead<int, &T::AlignmentMode>},
        {"Altitude",                Get, Brief, kNone,                                     kRead<double, &T::Altitude>},
        {"ApertureArea",            Get, Read,  kNone,                                     kRead<double, &T::ApertureArea>},
        {"ApertureDiameter",        Get, Read,  kNone,                                     kRead<double, &T::ApertureDiameter>},
        {"AtHome",                  Get, Read,  kNone,                                     kRead<bool, &T::AtHome>},
        {"AtPark",                  Get, Brief, kNone,                                     kRead<bool, &T::AtPark>},
        {"Azimuth",                 Get, Read,  kNone,                                     kRead<double, &T::Azimuth>},
        {"CanFindHome",             Get, Read,  kNone,                                     kRead<bool, &T::CanFindHome>},
        {"CanPark",                 Get, Read,  kNone,                                     kRead<bool, &T::CanPark>},
        {"CanPulseGuide",           Get, Read,  kNone,                                     kRead<bool, &T::CanPulseGuide>},
        {"CanSetDeclinationRate",   Get, Read,  kNone,                                     kRead<bool, &T::CanSetDeclinationRate>},
        {"CanSetGuideRates",        Get, Read,  kNone,                                     kRead<bool, &T::CanSetGuideRates>},
        {"CanSetPark",              Get, Read,  kNone,                                     kRead<bool, &T::CanSetPark>},
        {"CanSetPierSide",          Get, Read,  kNone,                                     kRead<bool, &T::CanSetPierSide>},
        {"CanSetRightAscensionRate", Get, Read,  kNone,                                    kRead<bool, &T::CanSetRightAscensionRate>},
        {"CanSetTracking",          Get, Read,  kNone,                                     kRead<bool, &T::CanSetTracking>},
        {"CanSlew",                 Get, Read,  kNone,                                     kRead<bool, &T::CanSlew>},
        {"CanSlewAltAz",            Get, Read,  kNone,                                     kRead<bool, &T::CanSlewAltAz>},
        {"CanSlewAltAzAsync",       Get, Read,  kNone,                                     kRead<bool, &T::CanSlewAltAzAsync>},
        {"CanSlewAsync",            Get, Read,  kNone,                                     kRead<bool, &T::CanSlewAsync>},
        {"CanSync",                 Get, Read,  kNone,                                     kRead<bool, &T::CanSync>},
        {"CanSyncAltAz",            Get, Read,  kNone,                                     kRead<bool, &T::CanSyncAltAz>},
        {"CanUnpark",               Get, Read,  kNone,                                     kRead<bool, &T::CanUnpark>},
        {"Declination",             Get, Read,  kNone,                                     kRead<double, &T::Declination>},
        {"DeclinationRate",         Get, Read,  kNone,                                     kRead<double, &T::DeclinationRate>},
        {"DeclinationRate",         Put, Brief, {{"DeclinationRate", Num}},                kWrite<double, &T::DeclinationRate>},
        {"DoesRefraction",          Get, Brief, kNone,                                     kRead<bool, &T::DoesRefraction>},
        {"DoesRefraction",          Put, Brief, {{"DoesRefraction", Bool}},                kWrite<bool, &T::DoesRefraction>},
        {"EquatorialSystem",        Get, Read,  kNone,                                     kRead<int, &T::EquatorialSystem>},
        {"FocalLength",             Get, Read,  kNone,                                     kRead<double, &T::FocalLength>},
        {"GuideRateDeclination",    Get, Read,  kNone,                                     kRead<double, &T::GuideRateDeclination>},
        {"GuideRateDeclination",    Put, Brief, {{"GuideRateDeclination", Num}},           kWrite<double, &T::GuideRateDeclination>},
        {"GuideRateRightAscension", Get, Read,  kNone,                                     kRead<double, &T::GuideRateRightAscension>},
        {"GuideRateRightAscension", Put, Brief, {{"GuideRateRightAscension", Num}},        kWrite<double, &T::GuideRateRightAscension>},
        {"IsPulseGuiding",          Get, Brief, kNone,                                     kRead<bool, &T::IsPulseGuiding>},
        {"RightAscension",          Get, Read,  kNone,                                     kRead<double, &T::RightAscension>},
        {"RightAscensionRate",      Get, Read,  kNone,                                     kRead<double, &T::RightAscensionRate>},
        {"RightAscensionRate",      Put, Brief, {{"RightAscensionRate", Num}},             kWrite<double, &T::RightAscensionRate>},
        {"SideOfPier",              Get, Read,  kNone,                                     kRead<int, &T::SideOfPier>},
        {"SideOfPier",              Put, Brief, {{"SideOfPier", Int}},                     kWrite<int, &T::SideOfPier>},
        {"SiderealTime",            Get, Read,  kNone,                                     kRead<double, &T::SiderealTime>},
        {"SiteElevation",           Get, Read,  kNone,                                     kRead<double, &T::SiteElevation>},
        {"SiteElevation",           Put, Brief, {{"SiteElevation", Num}},                  kWrite<double, &T::SiteElevation>},
        {"SiteLatitude",            Get, Brief, kNone,                                     kRead<double, &T::SiteLatitude>},
        {"SiteLatitude",            Put, Brief, {{"SiteLatitude", Num}},                   kWrite<double, &T::SiteLatitude>},
        {"SiteLongitude",           Get, Brief, kNone,                                     kRead<double, &T::SiteLongitude>},
        {"SiteLongitude",           Put, Brief, {{"SiteLongitude", Num}},                  kWrite<double, &T::SiteLongitude>},
        {"Slewing",                 Get, Brief, kNone,                                     kRead<bool, &T::Slewing>},
        {"SlewSettleTime",          Get, Read,  kNone,                                     kRead<std::int16_t, &T::SlewSettleTime>},
        {"SlewSettleTime",          Put, Brief, {{"SlewSettleTime", Int}},                 kWrite<std::int16_t, &T::SlewSettleTime>},
        {"TargetDeclination",       Get, Read,  kNone,                                     kRead<double, &T::TargetDeclination>},
        {"TargetDeclination",       Put, Brief, {{"TargetDeclination", Num}},              kWrite<double, &T::TargetDeclination>},
        {"TargetRightAscension",    Get, Read,  kNone,                                     kRead<double, &T::TargetRightAscension>},
        {"TargetRightAscension",    Put, Brief, {{"TargetRightAscension", Num}},           kWrite<double, &T::TargetRightAscension>},
        {"Tracking",                Get, Read,  kNone,                                     kRead<bool, &T::Tracking>},
        {"Tracking",                Put, Brief, {{"Tracking", Bool}},                      kWrite<bool, &T::Tracking>, &kTrackingStops},
        {"TrackingRate",            Get, Read,  kNone,                                     kRead<std::int32_t, &T::TrackingRate>},
        {"TrackingRate",            Put, Brief, {{"TrackingRate", Int}},                   kWrite<std::int32_t, &T::TrackingRate>},
        {"TrackingRates",           Get, Read,  kNone,                                     ReadTrackingRates},
        {"UTCDate",                 Get, Brief, kNone,                                     ReadUtcDate},
        {"UTCDate",                 Put, Brief, {{"UTCDate", Date}},                       WriteUtcDate},

        {"AbortSlew",               Put, Stop,  kNone,                                     kCall<&T::AbortSlew>},
        {"AxisRates",               Get, Read,  {{"Axis", Int}},                           ReadAxisRates},
        {"CanMoveAxis",             Get, Read,  {{"Axis", Int}},                           ReadCanMoveAxis},
        {"DestinationSideOfPier",   Get, Read,  kEquatorial,                               ReadDestinationSideOfPier},
        {"FindHome",                Put, Brief, kNone,                                     kCall<&T::FindHome>},
        {"MoveAxis",                Put, Brief, {{"Axis", Int}, {"Rate", Num}},            MoveAxis, &kMoveAxisStops},
        {"Park",                    Put, Long,  kNone,                                     kCall<&T::Park>, &kParkStops},
        {"PulseGuide",              Put, Long,  {{"Direction", Int}, {"Duration", Int}},   PulseGuide, &kPulseGuideStops},
        {"SetPark",                 Put, Brief, kNone,                                     kCall<&T::SetPark>},
        {"SlewToAltAz",             Put, Long,  kHorizontal,                               kSlewAltAz},
        {"SlewToAltAzAsync",        Put, Brief, kHorizontal,                               kSlewAltAzAsync},
        {"SlewToCoordinates",       Put, Long,  kEquatorial,                               kSlew},
        {"SlewToCoordinatesAsync",  Put, Brief, kEquatorial,                               SlewAsync},
        {"SlewToTarget",            Put, Long,  kNone,                                     kCall<&T::SlewToTarget>},
        {"SlewToTargetAsync",       Put, Brief, kNone,                                     kCall<&T::SlewToTargetAsync>},
        {"SyncToAltAz",             Put, Brief, kHorizontal,                               kSyncAltAz},
        {"SyncToCoordinates",       Put, Brief, kEquatorial,                               kSync},
        {"SyncToTarget",            Put, Brief, kNone,                                     kCall<&T::SyncToTarget>},
        {"Unpark",                  Put, Long,  kNone,                                     kCall<&T::Unpark>},
    };
}
// clang-format on

}  // namespace kestrane::alpaca
