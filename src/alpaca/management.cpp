#include "alpaca/management.h"

#include <array>
#include <cassert>

#include "kernel/base/json_text.h"

namespace kestrane::alpaca {
namespace {

struct ConfiguredDevice {
    DeviceKind kind;
    std::string_view type;
    std::string_view name;
    std::string_view setupPath;
};

constexpr std::array kDevices{
    ConfiguredDevice{DeviceKind::Telescope, "Telescope", "Kestrane V2 Telescope", "/setup/v1/telescope/0/setup"},
    ConfiguredDevice{DeviceKind::Focuser, "Focuser", "Kestrane V2 Focuser", "/setup/v1/focuser/0/setup"},
};

constexpr std::string_view kNothingToSetUp =
    "<p>There is nothing to set up on this page.</p>\n"
    "<p>The log is turned on by <code>kestrane-client log on</code>, shown by <code>kestrane-client log show</code> "
    "and "
    "turned off by <code>kestrane-client log off</code>.</p>\n";

std::string HtmlText(std::string_view text) {
    std::string html;
    for (const char c : text) {
        if (c == '<') {
            html += "&lt;";
        } else if (c == '&') {
            html += "&amp;";
        } else {
            html += c;
        }
    }
    return html;
}

std::string Page(std::string_view title, const std::string& content) {
    const std::string heading = HtmlText(title);
    return "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\"><title>" + heading +
           "</title></head>\n<body><h1>" + heading + "</h1>\n" + content + "</body></html>\n";
}

}  // namespace

Management::Management(ServerIdentity identity, std::filesystem::path deviceIdFile)
    : identity_(std::move(identity)), ids_(std::move(deviceIdFile)) {
    assert(!identity_.serverName.empty() && !identity_.manufacturer.empty() && !identity_.version.empty());
    if (identity_.location.empty()) {
        identity_.location = "This computer";
    }
}

std::optional<std::string> Management::ValueOf(std::string_view path) {
    if (path == "/management/apiversions") {
        return "[1]";
    }
    if (path == "/management/v1/description") {
        return Description();
    }
    if (path == "/management/v1/configureddevices") {
        return ConfiguredDevices();
    }
    return std::nullopt;
}

std::string Management::Description() const {
    return "{\"ServerName\":" + JsonOf(identity_.serverName) + ",\"Manufacturer\":" + JsonOf(identity_.manufacturer) +
           ",\"ManufacturerVersion\":" + JsonOf(identity_.version) + ",\"Location\":" + JsonOf(identity_.location) +
           "}";
}

std::string Management::ConfiguredDevices() {
    return JsonList(kDevices, [this](const ConfiguredDevice& device) {
        return "{\"DeviceName\":" + JsonOf(device.name) + ",\"DeviceType\":" + JsonOf(device.type) +
               ",\"DeviceNumber\":0,\"UniqueID\":" + JsonOf(ids_.IdOf(device.kind)) + "}";
    });
}

std::optional<std::string> Management::PageOf(std::string_view path) const {
    if (path == "/setup" || path == "/") {
        std::string content = "<p>" + HtmlText(identity_.manufacturer) + ", version " + HtmlText(identity_.version) +
                              ", on " + HtmlText(identity_.location) + "</p>\n<ul>\n";
        for (const ConfiguredDevice& device : kDevices) {
            content += "<li><a href=\"" + std::string(device.setupPath) + "\">" + HtmlText(device.name) + "</a></li>\n";
        }
        return Page(identity_.serverName, content + "</ul>\n");
    }
    for (const ConfiguredDevice& device : kDevices) {
        if (path == device.setupPath) {
            return Page(device.name, std::string(kNothingToSetUp) + "<p><a href=\"/setup\">Back</a></p>\n");
        }
    }
    return std::nullopt;
}

}  // namespace kestrane::alpaca
