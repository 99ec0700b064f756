#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "telescope/telescope.h"

namespace kestrane {

/// As the value of an option of the mount: the one of the settings.
inline constexpr int kOfSettings = -1;

/// The options of a mount, one by one: for its initialization, and for whoever changes one of them. A value of
/// `kOfSettings` stands for the one of the settings. What the mount refuses is logged and reaches nobody. Raises
/// nothing, pumps nothing.
class MountSetup : TelescopeSteps {
public:
    using TelescopeSteps::TelescopeSteps;

    /// Arc-seconds; what lies outside 0 to 59.9 goes out as the nearer of these.
    void SetDecBacklash(double seconds);
    void SetRaBacklash(double seconds);
    /// 0: a quarter of the sidereal rate, 1: half, any other: all of it. Later pulses use it too.
    void SetGuideRate(int index);
    /// The periodic error correction, where the firmware has one: 0 off, 1 on; any other leaves it alone.
    void SetPem(int index);
    /// 0 to 2 a rate of the list, 3 the custom rate of the settings.
    void SetSlewRate(int index);
    /// Multiples of sidereal; sent when above 0 and below 1200.
    void SendCustomSlewRate(double multiple);
    /// 0 lunar, 1 solar, 2 sidereal, 3 none; any other leaves the rate alone.
    void SetTrackingRate(int index);
    /// Makes the site the current one and gives the mount its position; the hand box then reads the site of the mount
    /// back. A site without a proper position, or with a name that no init string can hold, is not sent.
    void SendLongLat(std::string_view siteName);

private:
    void SetBacklash(const CharacterCommand& command, std::string_view axis, const SettingKey& key, double seconds);
    const Site* SiteNamed(std::string_view name);
    void MakeCurrent(std::int16_t siteId, double elevation);
    void SendPosition(const SiteNumbers& numbers);
    void SendHalf(Sequence& mount, const CharacterCommand& command, std::string_view what, const std::string& text);
    void ShowPem(std::string_view text, std::int16_t state);
    int Choose(int index, const SettingKey& key);
};

}  // namespace kestrane
