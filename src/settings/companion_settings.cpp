#include "settings/companion_settings.h"

#include <charconv>

#include "kernel/base/text.h"
#include "platform/port_names.h"

namespace kestrane {
namespace {

constexpr std::string_view kDefaultRestPort = "60001";

std::int32_t PortNumber(std::string_view text) {
    std::int32_t port = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    const bool isPort = error == std::errc{} && end == text.data() + text.size() && port >= 1 && port <= 65535;
    return isPort ? port : 0;
}

}  // namespace

std::string CompanionSettings::PortName(bool elevated) const {
    const std::string port = Get("COMPort", "");
    const std::string adminPort = Get("COMPortAdmin", "");
    const std::string& chosen = elevated && !adminPort.empty() ? adminPort : port;
    const std::size_t blank = chosen.find(' ');
    const std::string first = chosen.substr(0, blank);
    const bool isPort = first.size() > kPortLetters.size() && ToUpper(first).starts_with(kPortLetters);
    return blank != std::string::npos && isPort ? first : std::string{};
}

std::string CompanionSettings::RestPortText() const {
    return Get("RestApiPort", kDefaultRestPort);
}

std::int32_t CompanionSettings::RestPort() const {
    const std::int32_t port = PortNumber(Trim(RestPortText()));
    return port != 0 ? port : PortNumber(kDefaultRestPort);
}

std::string CompanionSettings::Get(std::string_view key, std::string_view fallback) const {
    return settings_.Get("QUAY", "Driver", key, fallback);
}

}  // namespace kestrane
