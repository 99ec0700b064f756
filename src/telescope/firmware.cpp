#include <algorithm>

#include "catalogue/wire_commands.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "telescope/telescope.h"

namespace kestrane {
namespace {

constexpr double kMoveRateLater = 999.9999;
constexpr double kMoveRateEarlier = 99.9999;
constexpr std::int16_t kRevision160 = 160;
constexpr std::array<std::string_view, 4> kLowPrecisionKc4{"P01-00", "P01-01", "P01-02", "P01-03"};

/// Characters from `position` (from 1), at most `count`, as far as the text goes.
std::string Mid(std::string_view text, std::size_t position, std::size_t count = std::string_view::npos) {
    return position > text.size() ? std::string{} : std::string(text.substr(position - 1, count));
}

bool IsStatusGeneration(const std::string& digit) {
    return !digit.empty() && digit >= "3" && digit <= "9";
}

}  // namespace

void Telescope::InitBasicValues() {
    ResumeNext errors{needs_.ledger, "InitBasicValues"};
    CommandClearInternal();
    if (!state_.g_bVersionKnown) {
        state_.g_sVersion = CommandStringInternal(wire::VersionRaw.text, true);
    }
    state_.g_bVersionKnown = false;
    needs_.handBox.lblFirmware.Text(state_.g_sVersion);
    needs_.statusWindow.lblFirmware.Text(state_.g_sVersion);
    errors.Step([&] {
        if (!needs_.link) {
            throw RunTimeError(RunTimeError::kObjectNotSet, "no link");
        }
        needs_.link->ClearBuffers();
    });
    ResetFirmwareFlags();
    errors.Step([&] { ClassifyFirmware(); });
    needs_.log.LogMessage("InitBasics", LogLevel::Info,
                          "Firmware=" + state_.g_sVersion + ", Precision: RA=" + std::to_string(state_.g_nPrecisionRa) +
                              ", Dec=" + std::to_string(state_.g_nPrecisionDec) +
                              ", AltAz=" + std::to_string(state_.g_nPrecisionAltAz) +
                              ", LatLong=" + std::to_string(state_.g_nPrecisionLatLong) +
                              ", MaxMoveRate=" + PlainNumber(state_.g_dMaxMoveRate));
    errors.Step([&] { ApplyStatusSettings(); });
    errors.Step([&] { ReadFirstPicture(); });
}

void Telescope::ResetFirmwareFlags() {
    state_.g_bGosActive = state_.g_bGosSupported = state_.g_bHasCustomRates = state_.g_bKc4OrLater = false;
    state_.g_bIsKc4 = state_.g_bIsKc5 = state_.g_bRev160 = state_.g_bHasMeridianQuery = false;
    state_.g_bFirmwareU = state_.g_bNewBSequence = state_.g_bFirmwareSafeSlew = false;
    state_.g_nPrecisionRa = 1;
    state_.g_nPrecisionDec = state_.g_nPrecisionAltAz = state_.g_nPrecisionLatLong = 0;
    state_.g_dMaxMoveRate = kMoveRateEarlier;
}

void Telescope::ClassifyFirmware() {
    const std::string& version = state_.g_sVersion;
    const std::string generation = Mid(version, 2, 3);
    if (version.starts_with("EK")) {
        state_.g_bGosSupported = IsStatusGeneration(Mid(version, 3, 1));
    } else if (version.starts_with("E")) {
        state_.g_bGosSupported = IsStatusGeneration(Mid(version, 2, 1));
    } else if (version >= "S" || generation == "KC4" || generation == "KC5") {
        ClassifyModernFirmware();
    }
}

void Telescope::ClassifyModernFirmware() {
    const std::string& version = state_.g_sVersion;
    const std::string generation = Mid(version, 2, 3);
    const std::string firmware = Mid(version, 6);
    if (generation == "KC5") {
        state_.g_bKc4OrLater = state_.g_bIsKc5 = state_.g_bFirmwareSafeSlew = true;
        ReadFirmwareRevision();
        state_.g_bRev160 = true;
        needs_.handBox.lblControllerType.Text("VTRKC5");
        state_.g_dMaxMoveRate = kMoveRateLater;
        RaisePrecision("Increasing Precision Level (VTRKC5)");
    } else if (generation == "KC4") {
        state_.g_bKc4OrLater = state_.g_bIsKc4 = true;
        ReadFirmwareRevision();
        state_.g_bRev160 = state_.g_nFirmwareRev == kRevision160;
        needs_.handBox.lblControllerType.Text("VTRKC4");
        state_.g_dMaxMoveRate = kMoveRateLater;
        if (std::ranges::find(kLowPrecisionKc4, firmware) == kLowPrecisionKc4.end()) {
            RaisePrecision("Increasing Precision Level");
        }
        if (firmware.size() >= 6) {
            const double major = Val_Global(Mid(firmware, 2, 2), needs_.log);
            const double minor = Val_Global(Mid(firmware, 5, 2), needs_.log);
            state_.g_bFirmwareSafeSlew = major > 1 || (major == 1 && minor >= 2);
        }
    }
    state_.g_bHasMeridianQuery = state_.g_bGosSupported = state_.g_bHasCustomRates = true;
    if (version >= "U") {
        state_.g_bFirmwareU = true;
        state_.g_bNewBSequence = !needs_.persist.ReadFlag(setting::ForceOldBSequence);
    }
    if (version >= "V1") {
        state_.g_dMaxMoveRate = kMoveRateLater;
    }
}

void Telescope::ReadFirmwareRevision() {
    std::int16_t revision = 0;
    if (TryParseInteger(CommandStringInternal(wire::FirmwareRevision.text, false), revision)) {
        state_.g_nFirmwareRev = revision;
    }
}

void Telescope::RaisePrecision(std::string_view reason) {
    needs_.log.LogMessage("InitBasics", LogLevel::Info, reason);
    state_.g_nPrecisionRa = 2;
    state_.g_nPrecisionDec = state_.g_nPrecisionAltAz = state_.g_nPrecisionLatLong = 1;
}

void Telescope::ApplyStatusSettings() {
    if (needs_.persist.ReadFlag(setting::ForceQueryQOS)) {
        state_.g_bGosSupported = true;
    }
    if (needs_.persist.ReadFlag(setting::DontQueryGOS)) {
        state_.g_bGosSupported = false;
    }
    state_.g_bDontUseGosForSlew = needs_.persist.ReadFlag(setting::DontUseGOSForSlew);
}

void Telescope::ReadFirstPicture() {
    if (state_.g_bGosSupported) {
        state_.g_sStatus = CommandStringInternal(wire::Status.text, false);
        if (!state_.g_sStatus.empty()) {
            ParseGOS(state_.g_sStatus);
        }
    }
    double value = 0.0;
    if (ParseProtocolHours(CommandStringInternal(wire::GetRa.text, false), value, needs_.log)) {
        state_.g_dRa = value;
    }
    if (ParseProtocolDegrees(CommandStringInternal(wire::GetDec.text, false), value, needs_.log)) {
        state_.g_dDec = value;
    }
    if (ParseProtocolDegrees(CommandStringInternal(wire::GetLatitude.text, false), value, needs_.log)) {
        state_.g_dSiteLatitude = value;
    }
    if (ParseProtocolDegrees(CommandStringInternal(wire::GetLongitude.text, false), value, needs_.log)) {
        state_.g_dSiteLongitude = -value;
    }
}

}  // namespace kestrane
