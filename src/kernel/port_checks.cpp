#include "catalogue/wire_commands.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "kernel/connection_manager.h"
#include "platform/port_names.h"

namespace kestrane {
namespace {

constexpr std::int32_t kCheckTimeoutMs = 5000;
constexpr std::int32_t kSettleMs = 100;
constexpr std::int32_t kStopSpacingMs = 20;
constexpr int kTries = 3;

}  // namespace

/// Opens the closed link for a check, after `setTimeout` has set its time limit; false when it stays closed.
bool ConnectionManager::OpenForCheck(std::int16_t port, const std::function<void(MountLink&)>& setTimeout) {
    try {
        MountLink& link = *needs_.link;
        link.Port(port);
        link.Speed(kLinkSpeed);
        setTimeout(link);
        link.Connected(true);
        return link.Connected();
    } catch (const DriverError&) {
        return false;
    }
}

/// Runs `work` on the link. A closed link is opened for it and then closed again. An open link that clients use stays
/// open, also after a failure.
bool ConnectionManager::OnLink(std::int16_t port, const std::function<void(MountLink&)>& setTimeout,
                               const std::function<bool(MountLink&, bool openedHere)>& work) {
    if (!needs_.link || ended_) {
        return false;
    }
    MountLink& link = *needs_.link;
    const bool openedHere = !link.Connected();
    if (openedHere && !OpenForCheck(port, setTimeout)) {
        return false;
    }
    bool result = false;
    try {
        result = work(link, openedHere);
        if (openedHere) {
            link.ClearBuffers();
            link.Connected(false);
        }
    } catch (const DriverError&) {
        result = false;
        ResumeNext errors{driver_.ledger, "CheckConnection"};
        errors.Step([&] { link.ClearBuffers(); });
        if (openedHere) {
            errors.Step([&] { link.Connected(false); });
        }
    }
    return result;
}

/// A stop gets in between two tries. The end of the process does too, and closes the link.
bool ConnectionManager::AskVersion(std::string& version) {
    for (int i = 0; i < kTries && version.empty() && !ended_; ++i) {
        driver_.log.LogMessage("CheckConnection", LogLevel::Info, "Sending request for version");
        version = Talk(procedure::PortCheck).CommandStringInternal(wire::Version);
    }
    return !version.empty();
}

bool ConnectionManager::CheckConnection(std::int16_t port, std::int16_t timeoutMs, std::string& version) {
    bool opened = false;
    return LookForMount(port, timeoutMs, version, opened);
}

/// `opened` is whether the port could be opened, or was open.
bool ConnectionManager::LookForMount(std::int16_t port, std::int32_t timeoutMs, std::string& version, bool& opened) {
    driver_.log.LogMessage("CheckConnection", LogLevel::Info, "Checking for mount on " + PortName(port));
    version.clear();
    return OnLink(
        port, [](MountLink& link) { link.ReceiveTimeoutMS(kCheckTimeoutMs); },
        [&](MountLink& link, bool openedHere) {
            opened = true;
            link.ClearBuffers();
            if (!openedHere) {
                link.Transmit(wire::EndInput.With("").OnTheWire());
            }
            driver_.waits.WaitForMilliseconds(kSettleMs);
            if (timeoutMs > 0) {
                link.ReceiveTimeoutMS(timeoutMs);
            }
            return AskVersion(version);
        });
}

MountCheck ConnectionManager::CheckMount() {
    const std::int16_t port = PortOfSettings();
    const std::int32_t timeout = ReadTimeout();
    const Tick start = driver_.clock.GetTickCount();
    bool opened = false;
    MountCheck check;
    if (!LookForMount(port, timeout, check.version, opened)) {
        check.version.clear();
        check.whyNone =
            needs_.link && needs_.link->IsOverIp() ? needs_.link->WhyNothingCame() : WhyNoMount(port, opened, start);
    }
    return check;
}

void ConnectionManager::ToggleFormatForSite(MountLink& link, std::int16_t timeoutMs) {
    link.ClearBuffers();
    Talk(procedure::ReadSite).CommandBlindInternal(wire::ToggleFormat);
    driver_.waits.WaitForMilliseconds(kSettleMs);
    if (timeoutMs > 0) {
        link.ReceiveTimeoutMS(timeoutMs);
    }
}

SiteAnswer ConnectionManager::AskDegrees(const TextCommand& question, double& degrees) {
    Sequence mount = Talk(procedure::ReadSite);
    const SiteDegrees site = AskSiteDegrees(mount, question, driver_.log);
    degrees = site.degrees;
    return site.answer;
}

bool ConnectionManager::GetMountLongLat(std::int16_t port, std::int16_t timeoutMs, double& longitude,
                                        double& latitude) {
    return AskLongLat(port, timeoutMs, longitude, latitude, AfterSilence::AsksOn) == SiteAnswer::Read;
}

/// Refused as soon as one half is.
SiteAnswer ConnectionManager::AskLongLat(std::int16_t port, std::int16_t timeoutMs, double& longitude, double& latitude,
                                         AfterSilence afterSilence) {
    driver_.log.LogMessage("GetMountLongLat", LogLevel::Info, "Getting Long/Lat for mount on " + PortName(port));
    longitude = latitude = 0.0;
    SiteAnswer answer = SiteAnswer::Silent;
    const bool whole = OnLink(
        port, [](MountLink&) {},
        [&](MountLink& link, bool) {
            ToggleFormatForSite(link, timeoutMs);
            answer = AskDegrees(wire::GetLongitude, longitude);
            if (longitude > 180.0) {
                longitude -= 360.0;
            }
            needs_.door.LetStopIn();
            if (ended_ || (answer == SiteAnswer::Silent && afterSilence == AfterSilence::Ends)) {
                return false;
            }
            const SiteAnswer other = AskDegrees(wire::GetLatitude, latitude);
            answer = answer == SiteAnswer::Refused || other == SiteAnswer::Read ? answer : other;
            return true;
        });
    return whole || answer == SiteAnswer::Refused ? answer : SiteAnswer::Silent;
}

bool ConnectionManager::SendStop(OpenMotion open) {
    return OnLink(
        PortOfSettings(), [](MountLink&) {},
        [&](MountLink& link, bool) {
            bool sent = true;
            if (open.mount) {
                Talk(procedure::StopPair).CommandBlindInternal(wire::Stop);
                driver_.waits.WaitForMilliseconds(kStopSpacingMs);
                Talk(procedure::StopPair).CommandBlindInternal(wire::Stop);
                sent = link.CanSend();
            }
            if (open.focuser) {
                Talk(procedure::FocuserStop).CommandBlindLight(wire::FocusStop);
                sent = sent && link.CanSend();
            }
            return sent;
        });
}

bool ConnectionManager::SetMountLongLat(std::int16_t port, std::int16_t timeoutMs, std::string_view longitude,
                                        std::string_view latitude) {
    driver_.log.LogMessage("SetMountLongLat", LogLevel::Info, "Setting Long/Lat for mount on " + PortName(port));
    return OnLink(
        port, [](MountLink& link) { link.ReceiveTimeout(1); },
        [&](MountLink& link, bool) {
            ToggleFormatForSite(link, timeoutMs);
            Sequence mount = Talk(procedure::PortCheck);
            const bool longitudeTaken = mount.CommandBoolInternal(wire::SetLongitudeRaw, longitude);
            const bool latitudeTaken = mount.CommandBoolInternal(wire::SetLatitudeRaw, latitude);
            return longitudeTaken && latitudeTaken;
        });
}

}  // namespace kestrane
