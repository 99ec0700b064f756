#pragma once

#include <cstdint>
#include <string>

#include "platform/system_services.h"

namespace kestrane {

/// Where the companion application can be reached, as it publishes it for this user. Read afresh by each call.
class CompanionSettings {
public:
    explicit CompanionSettings(ApplicationSettings& settings) : settings_(settings) {}

    /// Name of its virtual serial port, such as "COM7"; empty when it publishes none. A process with raised rights has
    /// a port of its own where there is one. The text has the form "COM7", blank, anything; another form counts as
    /// none.
    std::string PortName(bool elevated) const;

    /// The port of its REST interface, as the text stands.
    std::string RestPortText() const;
    /// The same as a number; a text that is no port counts as the default, 60001.
    std::int32_t RestPort() const;

private:
    std::string Get(std::string_view key, std::string_view fallback) const;

    ApplicationSettings& settings_;
};

}  // namespace kestrane
