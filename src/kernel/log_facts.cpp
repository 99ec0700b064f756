#include "kernel/log_facts.h"

#include <algorithm>
#include <limits>

#include "kernel/base/application_info.h"
#include "kernel/base/conversions.h"
#include "kernel/base/os_info.h"
#include "kernel/base/text.h"
#include "settings/setting_keys.h"

namespace kestrane {
namespace {

/// A setting that is no plain decimal number, or below 1, counts as its default.
LogLimits LimitsOfLog(Persist& persist, Log& log) {
    constexpr double kBytesOfAMByte = 1e6;
    static constexpr double kMost = 1e9;
    const auto number = [&](const SettingKey& key) {
        const double value = PlainDecimal(persist.ReadQuietly(key), log).value_or(0.0);
        return std::min(value >= 1.0 ? value : Val_Global(key.fallback, log), kMost);
    };
    return LogLimits{.keptBytes = static_cast<std::uintmax_t>(number(setting::LogKeepMBytes) * kBytesOfAMByte),
                     .keptDays = static_cast<int>(number(setting::LogKeepDays))};
}

/// A number too large for any model is clamped, so that it stays a number without a name.
std::string MountTypeName(Persist& persist, KsMount& mount) {
    using Limits = std::numeric_limits<std::int16_t>;
    const double number = persist.ReadNumber(setting::MountType);
    auto type = static_cast<std::int16_t>(RoundHalfEven(std::clamp<double>(number, Limits::min(), Limits::max())));
    return std::string(mount.GetMountType(type));
}

}  // namespace

LogFileFacts FactsOfLog(LogFactsNeeds needs) {
    return LogFileFacts{
        .logFileDir = [needs] { return needs.persist.Read(setting::LogFileDir); },
        .controller = [needs] { return needs.persist.Read(setting::Controller); },
        .mountTypeName = [needs] { return MountTypeName(needs.persist, needs.mount); },
        .osName = [needs] { return GetOsName(needs.platform.systemInfo); },
        .isAdmin = [needs] { return IsAdmin(needs.platform.systemInfo); },
        .commonAppData = [needs] { return needs.platform.folders.CommonAppData(); },
        .limits = [needs] { return LimitsOfLog(needs.persist, needs.log); },
        .reportMissingFolder =
            [needs](const std::string& folder) {
                needs.messageBoxes.Show("The log folder of the setting LogFileDir cannot be used: " + folder +
                                            ". No log file is written. Make the folder, or empty the setting, and turn "
                                            "logging off and on.",
                                        application::kTitle, MessageIcon::Information);
            },
    };
}

}  // namespace kestrane
