#include "periphery/update_check.h"

#include <algorithm>

#include "kernel/base/application_info.h"
#include "kernel/base/text.h"
#include "settings/setting_keys.h"

namespace kestrane {
namespace {

constexpr std::string_view kPath = "/ksdriver/GetKsV2LatestVersion.php";
constexpr std::string_view kUserAgent = "Mozilla/4.0 (compatible; MSIE 6.0; Windows NT 5.0)";
constexpr std::int32_t kWithinMs = 5000;
constexpr std::size_t kMostBytes = 1024;
constexpr int kGroups = 3;
constexpr std::size_t kMostDigits = 9;  ///< of a group; no version has more

bool IsDigit(char letter) {
    return letter >= '0' && letter <= '9';
}

std::string_view TakeGroup(std::string_view& rest) {
    const std::size_t point = rest.find('.');
    const std::string_view group = rest.substr(0, point);
    rest = point == std::string_view::npos ? std::string_view() : rest.substr(point + 1);
    return group;
}

bool IsVersion(std::string_view text) {
    const bool rightLetters = std::ranges::all_of(text, [](char letter) { return letter == '.' || IsDigit(letter); });
    bool shortGroups = true;
    for (std::string_view rest = text; !rest.empty();) {
        shortGroups = TakeGroup(rest).size() <= kMostDigits && shortGroups;
    }
    return rightLetters && shortGroups && std::ranges::any_of(text, IsDigit);
}

/// A comma stays: it stands between the values.
std::string Encoded(std::string_view text) {
    constexpr std::string_view kHex = "0123456789ABCDEF";
    constexpr std::string_view kPlain = "-._~";
    std::string encoded;
    for (const char letter : text) {
        const bool isLetter = (letter >= 'A' && letter <= 'Z') || (letter >= 'a' && letter <= 'z');
        const auto byte = static_cast<unsigned char>(letter);
        if (isLetter || IsDigit(letter) || kPlain.find(letter) != std::string_view::npos) {
            encoded += letter;
        } else {
            encoded += {'%', kHex[byte >> 4U], kHex[byte & 0xFU]};
        }
    }
    return encoded;
}

}  // namespace

std::int64_t VersionNumber(std::string_view version) {
    std::int64_t number = 0;
    for (int group = 0; group < kGroups; ++group) {
        std::int64_t value = 0;
        for (const char digit : TakeGroup(version)) {
            value = value * 10 + (digit - '0');
        }
        number = number * 100 + value;
    }
    return number;
}

bool IsNewerVersion(std::string_view latest, std::string_view own) {
    const std::string there(Trim(latest));
    const std::string here(Trim(own));
    return IsVersion(there) && IsVersion(here) && VersionNumber(there) - VersionNumber(here) > 0;
}

void UpdateCheck::Run() {
    ResumeNext errors{needs_.driver.ledger, "UpdateCheck"};
    errors.Step([&] {
        const std::string host = needs_.driver.persist.Read(setting::UpdateHost);
        if (ran_ || host.empty() || !needs_.driver.persist.ReadFlag(setting::chkNewVersion)) {
            return;
        }
        ran_ = true;
        needs_.pages.Fetch({.host = host,
                            .target = Target(),
                            .headers = {{"User-Agent", std::string(kUserAgent)}},
                            .withinMs = kWithinMs,
                            .mostBodyBytes = kMostBytes},
                           [this, token = std::weak_ptr<int>(token_)](const std::optional<std::string>& body) {
                               if (body && !token.expired()) {
                                   TakeAnswer(*body);
                               }
                           });
    });
}

std::string UpdateCheck::Target() {
    const bool overIp = needs_.driver.persist.Read(setting::chkIPAddress) != "0";
    std::string target(kPath);
    target.append("?VERS=").append(application::kDriverVersion);
    target.append("&DETAILS=").append(overIp ? "E," : "S,").append(Encoded(needs_.mount.Name())).append(",");
    target.append(ZeroOrOne(needs_.driver.state.g_bQuayLink)).append(",").append(Encoded(Firmware()));
    return target;
}

/// That of the mount, which is kept for the next time.
std::string UpdateCheck::Firmware() {
    const std::string& firmware = needs_.driver.state.g_sVersion;
    if (firmware.empty()) {
        return needs_.driver.persist.Read(setting::FW);
    }
    needs_.driver.persist.Write(setting::FW, firmware);
    return firmware;
}

void UpdateCheck::TakeAnswer(const std::string& body) {
    std::string text = body;
    std::erase_if(text, [](char letter) { return letter == '\r' || letter == '\n'; });
    needs_.driver.state.g_sLatestVersion = Trim(text);
    if (IsNewerVersion(needs_.driver.state.g_sLatestVersion, application::kDriverVersion)) {
        needs_.driver.state.g_bNewVersion = true;
        needs_.newVersionFound();
    }
}

}  // namespace kestrane
