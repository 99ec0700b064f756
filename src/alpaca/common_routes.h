#pragma once

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

#include "alpaca/client_object.h"
#include "alpaca/routes.h"
#include "kernel/base/errors.h"
#include "kernel/base/json_text.h"

/// Handlers made from members of a device class. `Served` is the server's holder of the class, `Member` one of its
/// members.
namespace kestrane::alpaca {

template <typename Served>
auto& DeviceOf(ClientObject& object) {
    return static_cast<Served&>(object.Device()).Device();
}

/// The first argument in the type that a member takes. Numbers beyond a small integer type become its limits, and the
/// range check of the member then refuses them.
template <typename Value>
Value FirstArgument(const Arguments& arguments) {
    if constexpr (std::is_same_v<Value, bool>) {
        return arguments.Boolean(0);
    } else if constexpr (std::is_same_v<Value, double>) {
        return arguments.Number(0);
    } else {
        using Limits = std::numeric_limits<Value>;
        return static_cast<Value>(std::clamp<std::int32_t>(arguments.Integer(0), Limits::min(), Limits::max()));
    }
}

/// Reads a property.
template <typename Served, auto Member>
std::string ReadProperty(ClientObject& object, const Arguments&) {
    return JsonOf((DeviceOf<Served>(object).*Member)());
}

/// Writes a property of type `Value`.
template <typename Served, typename Value, auto Member>
std::string WriteProperty(ClientObject& object, const Arguments& arguments) {
    (DeviceOf<Served>(object).*Member)(FirstArgument<Value>(arguments));
    return {};
}

/// Calls a method without arguments and result.
template <typename Served, auto Member>
std::string CallMethod(ClientObject& object, const Arguments&) {
    (DeviceOf<Served>(object).*Member)();
    return {};
}

/// Calls a method with two numbers.
template <typename Served, auto Member>
std::string CallWithTwoNumbers(ClientObject& object, const Arguments& arguments) {
    (DeviceOf<Served>(object).*Member)(arguments.Number(0), arguments.Number(1));
    return {};
}

inline std::string ReadConnected(ClientObject& object, const Arguments&) {
    return JsonOf(object.Device().Connected());
}

inline std::string WriteConnected(ClientObject& object, const Arguments& arguments) {
    object.Connected(arguments.Boolean(0));
    return {};
}

/// Reports that there are none.
inline std::string ReadSupportedActions(ClientObject&, const Arguments&) {
    return "[]";
}

inline std::string RefuseAction(ClientObject&, const Arguments& arguments) {
    throw DriverError(ErrorNumber::ActionNotImplemented,
                      "Action " + arguments.Text(0) + " is not implemented in this driver.");
}

}  // namespace kestrane::alpaca
