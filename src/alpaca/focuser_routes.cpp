#include "alpaca/common_routes.h"
#include "alpaca/routes.h"
#include "alpaca/served_devices.h"

namespace kestrane::alpaca {
namespace {

template <typename Value, Value (Focuser::*Member)()>
constexpr Handler kRead = ReadProperty<ServedFocuser, Member>;

template <typename Value, void (Focuser::*Member)(Value)>
constexpr Handler kWrite = WriteProperty<ServedFocuser, Value, Member>;
template <void (Focuser::*Member)()>
constexpr Handler kCall = CallMethod<ServedFocuser, Member>;

/// A stop of the motor goes ahead of other calls; a move that was asked for before it must not undo it.
constexpr StopForm kFocuserStops{
    [](const Arguments& arguments) { return arguments.IsEmpty() || arguments.Integer(0) == 0; },
    [](const Arguments&) { return std::int32_t{0}; }};

constexpr Handler kNotOffered = nullptr;

constexpr Verb Get = Verb::Get;
constexpr Verb Put = Verb::Put;
constexpr CallKind Brief = CallKind::Brief;
constexpr CallKind Read = CallKind::Read;
constexpr CallKind Long = CallKind::WaitsLong;
constexpr ValueType Bool = ValueType::Boolean;
constexpr ValueType Int = ValueType::Integer;
constexpr ValueType Text = ValueType::Text;

const std::vector<Parameter> kNone;
const std::vector<Parameter> kCommand{{"Command", Text}, {"Raw", Bool}};

}  // namespace

// clang-format off
std::vector<Route> FocuserRoutes() {
    using F = Focuser;
    return {
        {"Action",            Put, Brief, {{"Action", Text}, {"Parameters", Text, true}}, RefuseAction},
        {"CommandBlind",      Put, Long,  kCommand,                                 kNotOffered},
        {"CommandBool",       Put, Long,  kCommand,                                 kNotOffered},
        {"CommandString",     Put, Long,  kCommand,                                 kNotOffered},
        {"Connected",         Get, Read,  kNone,                                    ReadConnected},
        {"Connected",         Put, Long,  {{"Connected", Bool}},                    WriteConnected},
        {"Description",       Get, Read,  kNone,                                    kRead<std::string, &F::Description>},
        {"DriverInfo",        Get, Read,  kNone,                                    kRead<std::string, &F::DriverInfo>},
        {"DriverVersion",     Get, Read,  kNone,                                    kRead<std::string, &F::DriverVersion>},
        {"InterfaceVersion",  Get, Read,  kNone,                                    kRead<int, &F::InterfaceVersion>},
        {"Name",              Get, Read,  kNone,                                    kRead<std::string, &F::Name>},
        {"SupportedActions",  Get, Read,  kNone,                                    ReadSupportedActions},

        {"Absolute",          Get, Read,  kNone,                                    kRead<bool, &F::Absolute>},
        {"IsMoving",          Get, Read,  kNone,                                    kRead<bool, &F::IsMoving>},
        {"MaxIncrement",      Get, Read,  kNone,                                    kRead<std::int32_t, &F::MaxIncrement>},
        {"MaxStep",           Get, Read,  kNone,                                    kRead<std::int32_t, &F::MaxStep>},
        {"Position",          Get, Read,  kNone,                                    kRead<std::int32_t, &F::Position>},
        {"StepSize",          Get, Read,  kNone,                                    kRead<double, &F::StepSize>},
        {"TempComp",          Get, Read,  kNone,                                    kRead<bool, &F::TempComp>},
        {"TempComp",          Put, Brief, {{"TempComp", Bool}},                     kWrite<bool, &F::TempComp>},
        {"TempCompAvailable", Get, Read,  kNone,                                    kRead<bool, &F::TempCompAvailable>},
        {"Temperature",       Get, Read,  kNone,                                    kRead<double, &F::Temperature>},

        {"Halt",              Put, Brief, kNone,                                    kCall<&F::Halt>, &kFocuserStops},
        {"Move",              Put, Brief, {{"Position", Int}},                      kWrite<std::int32_t, &F::Move>, &kFocuserStops},
    };
}
// clang-format on

}  // namespace kestrane::alpaca
