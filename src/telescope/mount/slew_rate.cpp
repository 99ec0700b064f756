#include "telescope/mount/slew_rate.h"

#include <algorithm>

#include "catalogue/wire_commands.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"

namespace kestrane {
namespace {

constexpr int kCustomSlewRate = 3;
constexpr double kMostCustomSlewRate = 1200.0;

/// What the status window shows for a slew rate.
struct SlewRateLabel {
    std::string_view fir;
    std::string_view others;
};

constexpr std::array<SlewRateLabel, 3> kSlewRates{{{"x300", "x600"}, {"x450", "x900"}, {"x600", "x1200"}}};

/// Digits with at most one point: a text of the settings goes out as it is, and anything else could be a command.
bool IsPlainNumber(std::string_view text) {
    const auto points = std::ranges::count(text, '.');
    const auto digits = std::ranges::count_if(text, [](char c) { return c >= '0' && c <= '9'; });
    return points <= 1 && digits > 0 && static_cast<std::size_t>(points + digits) == text.size();
}

}  // namespace

void SlewRate::Set(Sequence& mount, int index) {
    if (index == kOfSettings) {
        const double stored = driver_.persist.ReadNumber(setting::cbxInitSlewRate);
        index = RoundHalfEven(std::clamp(stored, -1.0, kCustomSlewRate + 1.0));
    }
    if (index >= 0 && index < kCustomSlewRate) {
        const SlewRateLabel& row = kSlewRates[static_cast<std::size_t>(index)];
        mount.CommandBlindInternal(wire::SlewRate, std::to_string(index));
        needs_.statusWindow.lblSlewRate.Text(needs_.mount.mountType == Mount_Type::FIR ? row.fir : row.others);
    } else if (index == kCustomSlewRate) {
        // A person may have typed a decimal comma.
        SendCustom(mount, ReplaceAll(Trim(driver_.persist.Read(setting::txtCustomSlewRate)), ",", "."));
    }
}

void SlewRate::SendCustom(Sequence& mount, std::string_view rate) {
    const double value = Val_Global(rate, driver_.log);
    if (!IsPlainNumber(rate) || !(value > 0.0 && value <= kMostCustomSlewRate)) {
        driver_.log.LogMessage("SetSlewRate", LogLevel::Error,
                               "The custom slew rate is out of range, it is not sent: '" + std::string(rate) + "'");
        return;
    }
    mount.CommandBlindInternal(wire::CustomSlewRate, rate);
    needs_.statusWindow.lblSlewRate.Text("x" + std::string(rate));
}

}  // namespace kestrane
