#include "state/companion_channel.h"

#include "catalogue/wire_commands.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "settings/companion_settings.h"
#include "settings/setting_keys.h"

namespace kestrane {
namespace {

constexpr std::int32_t kQuayCheckIntervalMs = 60000;
constexpr std::int32_t kFirstQuayCheckEarlierMs = 45 * 1000;
constexpr int kTriesToEnable = 3;  // a text through the companion is not sent again by itself
constexpr std::string_view kTimeAndZone = "1";
constexpr std::string_view kCorrects = "1";

const TextCommand& CommandOf(Correction correction) {
    return correction == Correction::Pointing ? wire::PointingCorrectionOn : wire::TrackingCorrectionOn;
}

}  // namespace

bool CompanionChannel::IsAskedFor() {
    return driver_.persist.ReadFlag(setting::chkQUAY) || driver_.persist.ReadFlag(setting::chkQuayRestApi);
}

void CompanionChannel::LookForIt() {
    state_.g_bQuayConfigured = IsAskedFor();
    state_.g_tickLastQuayCheck = driver_.clock.GetTickCount() - kFirstQuayCheckEarlierMs;
    CheckQuay();
}

void CompanionChannel::CheckQuay() {
    if (IsProved()) {
        return;
    }
    if (!state_.g_bQuayConfigured) {
        state_.g_bQuayHandlesSlews = false;
        return;
    }
    const auto log = [&](LogLevel level, const std::string& text) { driver_.log.LogMessage("CheckQuay", level, text); };
    ResumeNext errors{driver_.ledger, "CheckQuay"};
    log(LogLevel::Info, "Checking for QUAY!");
    Sequence companion = Talk(procedure::Connect);
    errors.Step([&] { companion.CommandClear(); });
    bool answered = false;
    errors.Assign(answered, [&] { return companion.CommandBoolInternal(wire::Quay); });
    if (!answered) {
        log(LogLevel::Error, "QUAY Not found!");
        return;
    }
    state_.g_bQuayLink = true;
    state_.g_nQuaySeq = 1;
    state_.g_bQuayTimeSync = true;  // another one may take what the last one did not
    offIsAnswered_ = false;         // and slews in its own way
    errors.Assign(state_.g_bQuayHandlesSlews, [&] { return driver_.persist.ReadFlag(setting::QuayHandlesSlews); });
    log(LogLevel::Info, "QUAY Found!");
    log(LogLevel::Info, "QUAY Handles Slews: " + std::string(TrueFalse(state_.g_bQuayHandlesSlews)));
    ShowMountInfo("");
    if (!InPark(state_)) {
        errors.Step([&] { EnableSafeSlewIfOwed(); });
    }
}

bool CompanionChannel::PeriodicQuayCheck() {
    if (IsProved() || !state_.g_bQuayConfigured) {
        return true;
    }
    const Tick now = driver_.clock.GetTickCount();
    if (state_.g_tickLastQuayCheck == Tick{}) {
        state_.g_tickLastQuayCheck = now;
        return true;
    }
    const bool mustNotWait = needs_.door.ExpectsPulseEnd() || InParkMove(state_);
    if (now - state_.g_tickLastQuayCheck < kQuayCheckIntervalMs || mustNotWait) {
        return true;  // the end of a pulse would wait for the answer, and the look at a move ahead of a park
    }
    CheckQuay();
    state_.g_tickLastQuayCheck = driver_.clock.GetTickCount();
    return IsProved();
}

void CompanionChannel::ShowMountInfo(std::string_view port) {
    ResumeNext errors{driver_.ledger, "ShowMountInfo"};
    errors.Step([&] { needs_.handBox.frameMountPosition.Caption(MountInfoCaption(port)); });
}

std::string CompanionChannel::MountInfoCaption(std::string_view port) {
    if (needs_.linkIsOverIp()) {
        return AddressOverIp();
    }
    std::string shown{port};
    if (shown.empty()) {
        shown = driver_.persist.Read(setting::Port);
    } else {
        driver_.persist.Write(setting::Port, shown);
    }
    return "Mount Info: " + shown + " (QUAY)";
}

void CompanionChannel::ShowMountAddress() {
    std::string caption;
    if (needs_.linkIsOverIp()) {
        caption = AddressOverIp();
    } else {
        std::string port = driver_.persist.Read(setting::Port);
        if (port.empty()) {
            port = "COM1";
            driver_.persist.Write(setting::Port, port);
        }
        caption = IsProved() ? "Mount Info: " + port + "(QUAY)" : "Mount Information: " + port;
    }
    needs_.handBox.frameMountPosition.Caption(caption);
}

std::string CompanionChannel::AddressOverIp() {
    if (!driver_.persist.ReadFlag(setting::chkQuayRestApi)) {
        return "Mount Info: IP=" + driver_.persist.Read(setting::txtIpAddress);
    }
    return "Mount Info: REST (Port " + CompanionSettings(needs_.applicationSettings).RestPortText() + ")";
}

std::optional<std::string> CompanionChannel::Slew(double rightAscension, double declination) {
    return SendSlew(wire::CompanionSlew, FormatUs(rightAscension, "") + "," + FormatUs(declination, ""));
}

std::optional<std::string> CompanionChannel::SlewAltAz(double altitude, double azimuth) {
    return SendSlew(wire::CompanionSlewAltAz, FormatUs(altitude, "") + "," + FormatUs(azimuth, ""));
}

std::optional<std::string> CompanionChannel::SendSlew(const TextCommand& command, const std::string& target) {
    std::string reply;
    const bool sent =
        Sequence::UntilStopped(needs_.commands(), needs_.door, procedure::CompanionSlew, [&](Sequence& mount) {
            EnableSafeSlewIfOwed();
            reply = mount.CommandString(command, target);
        });
    return sent ? std::optional(reply) : std::nullopt;
}

void CompanionChannel::Park(Sequence& mount, std::int16_t index) {
    parkIsItsOwn_ = !mount.CommandString(wire::CompanionPark, std::to_string(index)).empty();
}

void CompanionChannel::ParkAltAz(Sequence& mount, std::string_view altitude, std::string_view azimuth) {
    mount.CommandString(wire::CompanionParkAltAz, std::string(altitude) + "," + std::string(azimuth));
}

void CompanionChannel::DisableSafeSlew() {
    if (IsProved()) {
        safeSlewIsOff_ = true;
        const std::string reply = Talk(procedure::OneSetting).CommandString(wire::CompanionSafeSlewOff, "1");
        offIsAnswered_ = !reply.empty();
        driver_.log.LogMessage("Telescope", LogLevel::Info, "Disabling QUAY Safe Slewing for CW Up Park = " + reply);
    }
}

void CompanionChannel::KeepSafeSlewOff() {
    if (!safeSlewIsOff_ || !offIsAnswered_) {
        DisableSafeSlew();
    }
}

void CompanionChannel::EnableSafeSlew() {
    if (IsProved()) {
        const std::string reply = Talk(procedure::OneSetting).CommandString(wire::CompanionSafeSlewOff, "0");
        driver_.log.LogMessage("PARK**", LogLevel::Info, "Re-enabled QUAY Safe Slewing = " + reply);
        safeSlewIsOff_ = safeSlewIsOff_ && reply.empty();
    }
}

void CompanionChannel::EnableSafeSlewIfOwed() {
    for (int tries = 0; safeSlewIsOff_ && IsProved() && tries < kTriesToEnable; ++tries) {
        if (tries > 0) {
            needs_.door.LetStopInBetweenTries();
        }
        EnableSafeSlew();
    }
    if (safeSlewIsOff_) {
        driver_.log.LogMessage("Telescope", LogLevel::Warning,
                               "The companion may still slew without its own protection: it has not answered that its "
                               "safe slews are on again");
    }
}

bool CompanionChannel::DoesRefraction() {
    if (!IsProved()) {
        return false;
    }
    const std::string reply = Talk(procedure::Question).CommandString(wire::CompanionRefraction);
    driver_.log.LogMessage("ASCOM", LogLevel::Info, "QUAY DoesRefraction= " + reply);
    return reply.size() >= 3 && reply[2] == '1';
}

void CompanionChannel::SyncTime(const std::string& kept) {
    if (!state_.g_bQuayTimeSync) {
        return;
    }
    ResumeNext errors{driver_.ledger, "QueryTime"};
    std::string reply;
    errors.Assign(reply, [&] { return Talk(procedure::OneSetting).CommandString(wire::CompanionTimeSync, kept); });
    if (reply.size() > 1 && reply[1] != '1') {
        state_.g_bQuayTimeSync = false;
    }
}

void CompanionChannel::SyncTimeZone() {
    ResumeNext errors{driver_.ledger, "QueryTimeZone"};
    std::string reply;
    errors.Assign(reply,
                  [&] { return Talk(procedure::OneSetting).CommandString(wire::CompanionTimeSync, kTimeAndZone); });
    if (!reply.starts_with('1')) {
        state_.g_bQuayTimeSync = false;
    }
}

void CompanionChannel::SetPointingCorrection(std::string_view arguments) {
    Talk(procedure::OneSetting).CommandBlindInternal(wire::PointingCorrection, arguments);
}

bool CompanionChannel::Corrects(Correction correction) {
    return Talk(procedure::Question).CommandString(CommandOf(correction)) == kCorrects;
}

void CompanionChannel::SwitchCorrection(Correction correction, bool on) {
    Talk(procedure::OneSetting).CommandString(CommandOf(correction), on ? ",1" : ",0");
}

}  // namespace kestrane
