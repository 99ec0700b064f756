#include "alpaca/device_request.h"

#include <optional>

#include "alpaca/parameter_values.h"
#include "http/request_parameters.h"

namespace kestrane::alpaca {
namespace {

struct DevicePath {
    DeviceKind device;
    std::string_view member;
};

constexpr std::string_view kApiRoot = "/api/v1/";

/// The path "/api/v1/<device>/0/<member>"; nothing for any other.
std::optional<DevicePath> ParseDevicePath(std::string_view path) {
    if (!path.starts_with(kApiRoot)) {
        return std::nullopt;
    }
    path.remove_prefix(kApiRoot.size());
    for (const DeviceKind device : kDeviceKinds) {
        const std::string root = std::string(PathName(device)) + "/0/";
        if (path.starts_with(root)) {
            return DevicePath{device, path.substr(root.size())};
        }
    }
    return std::nullopt;
}

template <typename Parsed>
Argument Checked(const std::optional<Parsed>& value, const Parameter& parameter) {
    if (!value) {
        throw RequestRefused("Parameter " + std::string(parameter.name) + " has a bad value.");
    }
    return *value;
}

Argument Convert(const Parameter& parameter, const std::string& text) {
    switch (parameter.type) {
        case ValueType::Boolean:
            return Checked(ParseBoolean(text), parameter);
        case ValueType::Integer:
            return Checked(ParseInteger(text), parameter);
        case ValueType::Number:
            return Checked(ParseNumber(text), parameter);
        case ValueType::UtcDate:
            return Checked(ParseUtcDate(text), parameter);
        case ValueType::Text:
            break;
    }
    return text;
}

Arguments ConvertAll(const http::RequestParameters& parameters, http::NameMatch match, const Route& route) {
    std::vector<Argument> values;
    for (const Parameter& parameter : route.parameters) {
        const std::string* text = parameters.Find(parameter.name, match);
        if (text == nullptr && parameter.mayBeMissing) {
            values.emplace_back(std::string());
            continue;
        }
        if (text == nullptr) {
            throw RequestRefused("Parameter " + std::string(parameter.name) + " is missing.");
        }
        values.push_back(Convert(parameter, *text));
    }
    return Arguments(std::move(values));
}

/// Empty for a stop: it runs each time it is asked for.
std::string PutIdentity(const http::Request& request, std::uint32_t transaction, CallKind kind) {
    const bool stops = kind == CallKind::Stop || kind == CallKind::StopsOne;
    if (request.verb != http::Verb::Put || transaction == 0 || stops) {
        return {};
    }
    return request.remoteAddress + "\n" + request.path + "\n" + request.body;
}

}  // namespace

bool IsDevicePath(std::string_view path) {
    return path.starts_with(kApiRoot);
}

bool IsStop(std::string_view method, std::string_view target, const RouteTable& routes) {
    const std::optional<DevicePath> path = ParseDevicePath(http::SplitTarget(target).path);
    const Route* route = path && method == "PUT" ? routes.Find(path->device, Verb::Put, path->member) : nullptr;
    return route != nullptr && route->kind == CallKind::Stop;
}

DeviceRequest ReadDeviceRequest(const http::Request& request, const RouteTable& routes) {
    const bool isGet = request.verb == http::Verb::Get;
    const http::NameMatch match = isGet ? http::NameMatch::AnyCase : http::NameMatch::Exact;
    const auto parameters = http::RequestParameters::Parse(isGet ? request.query : request.body);
    if (!parameters) {
        throw RequestRefused("There are too many parameters.");
    }
    const std::optional<DevicePath> path = ParseDevicePath(request.path);
    const Route* route = path ? routes.Find(path->device, request.verb, path->member) : nullptr;
    if (route == nullptr) {
        throw RequestRefused("There is no such device or member.");
    }
    const std::uint32_t transaction = ParseId(parameters->Find("ClientTransactionID", match));
    Arguments arguments = ConvertAll(*parameters, match, *route);
    std::string identity = PutIdentity(request, transaction, route->KindOf(arguments));
    return {.route = route,
            .key = {{request.remoteAddress, ParseId(parameters->Find("ClientID", match))}, path->device},
            .clientTransaction = transaction,
            .arguments = std::move(arguments),
            .putIdentity = std::move(identity)};
}

}  // namespace kestrane::alpaca
