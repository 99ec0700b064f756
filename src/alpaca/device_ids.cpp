#include "alpaca/device_ids.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <random>
#include <system_error>

namespace kestrane::alpaca {
namespace {

std::string NewUuid() {
    std::random_device random;
    std::array<std::uint32_t, 4> words{};
    for (std::uint32_t& word : words) {
        word = random();
    }
    const auto version = (words[1] & 0x0FFFU) | 0x4000U;
    const auto variant = ((words[2] >> 16) & 0x3FFFU) | 0x8000U;
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%08x-%04x-%04x-%04x-%04x%08x", words[0], words[1] >> 16, version, variant,
                  words[2] & 0xFFFFU, words[3]);
    return text.data();
}

/// Clients get only texts of this form, whatever the file holds.
bool LooksLikeId(const std::string& text) {
    return text.size() == 36 && text.find_first_not_of("0123456789abcdefABCDEF-") == std::string::npos;
}

}  // namespace

const std::string& DeviceIds::IdOf(DeviceKind device) {
    if (!loaded_) {
        Load();
        loaded_ = true;
        if (CompleteMissing()) {
            Save();
        }
    }
    return Slot(device);
}

void DeviceIds::Load() {
    std::ifstream stream(file_);
    std::string line;
    while (std::getline(stream, line)) {
        for (const DeviceKind device : kDeviceKinds) {
            const std::string key = std::string(PathName(device)) + "=";
            if (line.starts_with(key) && LooksLikeId(line.substr(key.size()))) {
                Slot(device) = line.substr(key.size());
            }
        }
    }
}

bool DeviceIds::CompleteMissing() {
    bool made = false;
    for (const DeviceKind device : kDeviceKinds) {
        if (Slot(device).empty()) {
            Slot(device) = NewUuid();
            made = true;
        }
    }
    return made;
}

void DeviceIds::Save() const {
    std::error_code ignored;
    std::filesystem::create_directories(file_.parent_path(), ignored);
    std::filesystem::path fresh = file_;
    fresh += ".new";
    std::ofstream stream(fresh, std::ios::trunc);
    stream << PathName(DeviceKind::Telescope) << "=" << telescope_ << "\n"
           << PathName(DeviceKind::Focuser) << "=" << focuser_ << "\n";
    stream.close();
    if (stream) {
        std::filesystem::rename(fresh, file_, ignored);
    }
}

}  // namespace kestrane::alpaca
