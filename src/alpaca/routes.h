#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "alpaca/device_kind.h"
#include "http/request.h"
#include "platform/clock.h"
#include "platform/message_pump.h"

/// The members that clients can reach over HTTP, one row each.
namespace kestrane::alpaca {

using http::Verb;

class ClientObject;

/// The form that a parameter's text must have before the driver is asked.
enum class ValueType { Boolean, Integer, Number, Text, UtcDate };

struct Parameter {
    std::string_view name;
    ValueType type = ValueType::Text;
    bool mayBeMissing = false;  ///< a text only: it counts as empty then
};

using Argument = std::variant<bool, std::int32_t, double, std::string, DateTime>;

/// The converted parameters of a call, in the order of the route's row. A request for another type than that of the row
/// is a mistake in the table.
class Arguments {
public:
    Arguments() = default;
    explicit Arguments(std::vector<Argument> values) : values_(std::move(values)) {}

    bool IsEmpty() const { return values_.empty(); }
    bool Boolean(std::size_t index) const { return std::get<bool>(values_.at(index)); }
    std::int32_t Integer(std::size_t index) const { return std::get<std::int32_t>(values_.at(index)); }
    double Number(std::size_t index) const { return std::get<double>(values_.at(index)); }
    const std::string& Text(std::size_t index) const { return std::get<std::string>(values_.at(index)); }
    const DateTime& UtcDate(std::size_t index) const { return std::get<DateTime>(values_.at(index)); }

private:
    std::vector<Argument> values_;
};

/// Runs a member on the logic thread and returns its value as JSON, empty when it has none. Raises what the member
/// raises.
using Handler = std::string (*)(ClientObject& object, const Arguments& arguments);

/// How to tell writes that stop one motion from those that start it. Such a stop goes ahead of other calls; writes of
/// the same motion that were asked for before it and would run after it are not run. Members that stop and start the
/// same motion share one object of this.
struct StopForm {
    bool (*stops)(const Arguments& arguments) = nullptr;
    std::int32_t (*motion)(const Arguments& arguments) = nullptr;  ///< which one, where the member has several
};

struct Route {
    std::string_view name;  ///< the name as clients use it ("SlewToCoordinates"); in lower case in the path
    Verb verb = Verb::Get;
    CallKind kind = CallKind::Brief;
    std::vector<Parameter> parameters;
    Handler handler = nullptr;           ///< null: the member is not implemented and answers that
    const StopForm* stopForm = nullptr;  ///< null: `kind` holds for all arguments
    std::string_view valueIfStopped{};   ///< the JSON value of a call that a stop of its motion went ahead of

    CallKind KindOf(const Arguments& arguments) const {
        return stopForm && stopForm->stops(arguments) ? CallKind::StopsOne : kind;
    }
};

/// All routes of the devices, for look-up by path.
class RouteTable {
public:
    RouteTable(std::vector<Route> telescope, std::vector<Route> focuser);
    RouteTable(const RouteTable&) = delete;
    RouteTable& operator=(const RouteTable&) = delete;

    /// `member` as written in the path, which is lower case only; null when there is none for that verb.
    const Route* Find(DeviceKind device, Verb verb, std::string_view member) const;
    const std::vector<Route>& Routes(DeviceKind device) const {
        return device == DeviceKind::Telescope ? telescope_ : focuser_;
    }

private:
    void Index(DeviceKind device, const std::vector<Route>& routes);

    std::vector<Route> telescope_;
    std::vector<Route> focuser_;
    std::map<std::string, const Route*, std::less<>> byPath_;
};

/// The telescope's and the focuser's rows, for objects that are `ServedTelescope` and `ServedFocuser`.
std::vector<Route> TelescopeRoutes();
std::vector<Route> FocuserRoutes();

}  // namespace kestrane::alpaca
