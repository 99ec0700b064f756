#include "kernel/base/application_info.h"

namespace kestrane::application {

std::string DriverInfoText() {
    std::string info = std::to_string(kMajor) + "." + std::to_string(kMinor) + "." + std::to_string(kRevision) + " " +
                       std::string(kTitle);
    for (const std::string_view text : kLegalTexts) {
        if (!text.empty()) {
            info += "\r\n" + std::string(text);
        }
    }
    return info;
}

}  // namespace kestrane::application
