#include <algorithm>

#include "catalogue/wire_commands.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "state/mount_replies.h"
#include "state/site_query.h"
#include "telescope/telescope.h"

namespace kestrane {
namespace {

constexpr double kMoveRateLater = 999.9999;
constexpr double kMoveRateEarlier = 99.9999;
constexpr std::int16_t kRevision160 = 160;
constexpr std::int32_t kReticleLevels = 7;
constexpr std::int32_t kReticleSteps = 10;
constexpr std::array<std::string_view, 4> kLowPrecisionKc4{"P01-00", "P01-01", "P01-02", "P01-03"};

/// At most `count` characters from `position` (from 1) on, as far as the text goes.
std::string Mid(std::string_view text, std::size_t position, std::size_t count = std::string_view::npos) {
    return position > text.size() ? std::string{} : std::string(text.substr(position - 1, count));
}

bool IsStatusGeneration(const std::string& digit) {
    return !digit.empty() && digit >= "3" && digit <= "9";
}

class FirmwareSteps : TelescopeSteps {
public:
    using TelescopeSteps::TelescopeSteps;

    void ResetFirmwareFlags();
    void ClassifyFirmware();
    void ClassifyModernFirmware();
    void ClassifyKc5();
    void ClassifyKc4();
    void ApplyVersionU();
    void ReadFirmwareRevision();
    void RaisePrecision(std::string_view reason);
    void CorrectMount(Mount_Type mount);
    void ApplyStatusSettings();
    void ReadFirstPicture();
};

}  // namespace

bool Telescope::InitBasicValues() {
    FirmwareSteps steps(*this);
    ResumeNext errors{driver_.ledger, "InitBasicValues"};
    Sequence mount = Talk(procedure::FirstPicture);
    mount.CommandClearInternal();
    if (!state_.g_bVersionKnown) {
        const std::string version = mount.CommandStringInternal(wire::VersionRaw);
        if (version.empty() && !state_.g_sVersion.empty()) {
            return false;  // the mount is still the same one when a reply is lost
        }
        state_.g_sVersion = version;
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
    steps.ResetFirmwareFlags();
    errors.Step([&] { steps.ClassifyFirmware(); });
    errors.Step([&] { needs_.panel.UpdateRateLimits(); });
    driver_.log.LogMessage(
        "InitBasics", LogLevel::Info,
        "Firmware=" + state_.g_sVersion + ", Precision: RA=" + std::to_string(state_.g_nPrecisionRa) +
            ", Dec=" + std::to_string(state_.g_nPrecisionDec) + ", AltAz=" + std::to_string(state_.g_nPrecisionAltAz) +
            ", LatLong=" + std::to_string(state_.g_nPrecisionLatLong) +
            ", MaxMoveRate=" + PlainNumber(state_.g_dMaxMoveRate));
    errors.Step([&] { steps.ApplyStatusSettings(); });
    errors.Step([&] { steps.ReadFirstPicture(); });
    return true;
}

void FirmwareSteps::ResetFirmwareFlags() {
    state_.g_bGosActive = state_.g_bGosSupported = state_.g_bHasCustomRates = state_.g_bKc4OrLater = false;
    state_.g_bIsKc4 = state_.g_bIsKc5 = state_.g_bRev160 = state_.g_bHasMeridianQuery = false;
    state_.g_bFirmwareU = state_.g_bNewBSequence = state_.g_bFirmwareSafeSlew = false;
    state_.g_bExtendedPulses = false;
    state_.g_sStatus.clear();
    needs_.handBox.hscrReticleBrightness.Maximum(kReticleSteps);
    state_.g_nPrecisionRa = 1;
    state_.g_nPrecisionDec = state_.g_nPrecisionAltAz = state_.g_nPrecisionLatLong = 0;
    state_.g_dMaxMoveRate = kMoveRateEarlier;
}

void FirmwareSteps::ClassifyFirmware() {
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

void FirmwareSteps::ClassifyModernFirmware() {
    const std::string generation = Mid(state_.g_sVersion, 2, 3);
    // Before the controller's rate tables: their lists offer custom rates depending on this flag.
    state_.g_bHasMeridianQuery = state_.g_bGosSupported = state_.g_bHasCustomRates = true;
    if (generation == "KC5") {
        ClassifyKc5();
    } else if (generation == "KC4") {
        ClassifyKc4();
    } else {
        needs_.controller.Apply(Controller_Type::VTRKC3, 0, 0);
    }
    if (state_.g_sVersion >= "U") {
        ApplyVersionU();
    }
    if (state_.g_sVersion >= "V1") {
        state_.g_dMaxMoveRate = kMoveRateLater;
    }
}

void FirmwareSteps::ClassifyKc5() {
    state_.g_bKc4OrLater = state_.g_bIsKc5 = state_.g_bExtendedPulses = true;
    ReadFirmwareRevision();
    state_.g_bRev160 = true;
    needs_.statusWindow.lblControlBox.Text("VTRKC5");
    if (needs_.mount.mountType != Mount_Type::LARCH) {
        CorrectMount(Mount_Type::LARCH);
    }
    state_.g_dMaxMoveRate = kMoveRateLater;
    needs_.mount.Firmware = Mid(state_.g_sVersion, 6);
    state_.g_bFirmwareSafeSlew = true;
    RaisePrecision("Increasing Precision Level (VTRKC5)");
    needs_.controller.Apply(Controller_Type::VTRKC5, 0, 0);
}

void FirmwareSteps::ClassifyKc4() {
    state_.g_bKc4OrLater = state_.g_bIsKc4 = state_.g_bExtendedPulses = true;
    ReadFirmwareRevision();
    state_.g_bRev160 = state_.g_nFirmwareRev == kRevision160;
    needs_.statusWindow.lblControlBox.Text("VTRKC4");
    if (needs_.mount.mountType == Mount_Type::LARCH) {
        CorrectMount(Mount_Type::CEDAR);
    }
    state_.g_dMaxMoveRate = kMoveRateLater;
    const std::string firmware = Mid(state_.g_sVersion, 6);
    needs_.mount.Firmware = firmware;
    if (std::ranges::find(kLowPrecisionKc4, firmware) == kLowPrecisionKc4.end()) {
        RaisePrecision("Increasing Precision Level");
    }
    int major = 0;
    int minor = 0;
    if (firmware.size() >= 6) {
        major = RoundHalfEven(Val_Global(Mid(firmware, 2, 2), driver_.log));
        minor = RoundHalfEven(Val_Global(Mid(firmware, 5, 2), driver_.log));
        state_.g_bFirmwareSafeSlew = major > 1 || (major == 1 && minor >= 2);
    }
    needs_.controller.Apply(Controller_Type::VTRKC4, major, minor);
}

/// The reticle of this firmware has levels 0 to 7; that of earlier firmware has steps up to 10.
void FirmwareSteps::ApplyVersionU() {
    state_.g_bFirmwareU = true;
    ScrollBar& brightness = needs_.handBox.hscrReticleBrightness;
    if (driver_.persist.ReadFlag(setting::ForceOldBSequence)) {
        return;
    }
    state_.g_bNewBSequence = true;
    brightness.Value(std::min(brightness.Value(), kReticleLevels));
    brightness.Maximum(kReticleLevels);
}

/// The controller reports that the chosen model is not possible.
void FirmwareSteps::CorrectMount(Mount_Type mount) {
    needs_.mount.mountType = mount;
    needs_.handBox.lblMountType.Text(needs_.mount.Name());
    needs_.statusWindow.lblMountType.Text(needs_.mount.Name());
    driver_.persist.Write(setting::MountType, std::to_string(static_cast<int>(mount)));
}

void FirmwareSteps::ReadFirmwareRevision() {
    std::int16_t revision = 0;
    const std::string reply = Talk(procedure::FirstPicture).CommandStringInternal(wire::FirmwareRevision);
    if (!reply.empty() && TryParseInteger(reply, revision)) {
        state_.g_nFirmwareRev = revision;
    }
}

void FirmwareSteps::RaisePrecision(std::string_view reason) {
    driver_.log.LogMessage("InitBasics", LogLevel::Info, reason);
    state_.g_nPrecisionRa = 2;
    state_.g_nPrecisionDec = state_.g_nPrecisionAltAz = state_.g_nPrecisionLatLong = 1;
}

void FirmwareSteps::ApplyStatusSettings() {
    if (driver_.persist.ReadFlag(setting::ForceQueryQOS)) {
        state_.g_bGosSupported = true;
    }
    if (driver_.persist.ReadFlag(setting::DontQueryGOS)) {
        state_.g_bGosSupported = false;
    }
    state_.g_bDontUseGosForSlew = driver_.persist.ReadFlag(setting::DontUseGOSForSlew);
}

void FirmwareSteps::ReadFirstPicture() {
    Sequence mount = Talk(procedure::FirstPicture);
    if (state_.g_bGosSupported) {
        const std::string status = mount.CommandStringInternal(wire::Status);
        if (!status.empty() && MayBeStatusText(status)) {
            state_.g_sStatus = status;
            telescope_.ParseGOS(status);
        }
    }
    core_.ReadPosition();
    if (const auto latitude = AskSiteDegrees(mount, wire::GetLatitude, driver_.log); latitude.Read()) {
        state_.g_dSiteLatitude = latitude.degrees;
    }
    if (const auto west = AskSiteDegrees(mount, wire::GetLongitude, driver_.log); west.Read()) {
        state_.g_dSiteLongitude = -west.degrees;
        state_.g_bLongitudeRead = true;
    }
    const std::string& status = state_.g_sStatus;
    if (status.size() > 2 && status[0] != 'P' && status[1] != '9') {
        needs_.setKingRateState();
    }
}

void Telescope::HoldMount(bool hold) {
    Talk(procedure::OneSetting).CommandBlindInternal(hold ? wire::HoldOn : wire::HoldOff);
}

/// A position that is not possible is left to the queries, which can recover.
void TelescopeCore::ReadPosition() {
    Sequence mount = Talk(procedure::FirstPicture);
    double value = 0.0;
    if (ParseProtocolHours(mount.CommandStringInternal(wire::GetRa), value, driver_.log) && value >= 0.0 &&
        value < 24.0) {
        state_.g_dRa = value;
        state_.g_bRaRead = true;
    }
    if (ParseProtocolDegrees(mount.CommandStringInternal(wire::GetDec), value, driver_.log) && value >= -90.0 &&
        value <= 90.0) {
        state_.g_dDec = value;
        state_.g_bDecRead = true;
    }
}

}  // namespace kestrane
