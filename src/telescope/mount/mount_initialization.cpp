#include "telescope/mount/mount_initialization.h"

#include "catalogue/wire_commands.h"
#include "settings/park_settings.h"
#include "telescope/motion/custom_rates.h"
#include "telescope/mount/mount_setup.h"
#include "telescope/mount/mount_time.h"

namespace kestrane {
namespace {

constexpr std::int32_t kAfterStopMs = 20;

}  // namespace

/// The site of new settings lies at longitude and latitude 0. A mount would take that for its place.
bool MountInitialization::NobodySetTheSite() {
    const std::string name = needs_.sites.CurrentSiteName();
    SiteNumbers numbers;
    return name == setting::SiteName.fallback && needs_.sites.GetSiteNumbers(name, numbers) &&
           numbers.longitude == 0.0 && numbers.latitude == 0.0;
}

InitSteps MountInitialization::StepsOfSettings() {
    const auto wants = [&](const SettingKey& key) { return driver_.persist.ReadFlag(key); };
    const auto ofSettings = [&](const SettingKey& key) {
        return wants(key) ? std::optional(kOfSettings) : std::nullopt;
    };
    InitSteps steps;
    if (wants(setting::chkSetLongLat)) {
        if (NobodySetTheSite()) {
            driver_.log.LogMessage("UI_INIT", LogLevel::Warning,
                                   "Nobody has set the site yet: the mount keeps its own");
        } else {
            steps.site = needs_.sites.CurrentSiteName();
        }
    }
    steps.time = wants(setting::chkSyncMountToPCTime);
    steps.decBacklash = ofSettings(setting::chkSetDecBacklash);
    steps.raBacklash = ofSettings(setting::chkSetRABacklash);
    steps.guideRate = ofSettings(setting::chkSetGuiderRate);
    steps.pem = ofSettings(setting::chkSetPEM);
    steps.slewRate = ofSettings(setting::chkSetSlewRate);
    return steps;
}

void MountInitialization::InitMount(std::string_view initString, std::optional<std::int16_t> unparkFrom,
                                    Confirmation confirmation) {
    ResumeNext errors{driver_.ledger, "InitMount"};
    if (!initString.empty()) {
        driver_.log.LogMessage("UI_INIT", LogLevel::Info, initString);
    }
    InitSteps steps;
    errors.Assign(steps,
                  [&] { return initString.empty() ? StepsOfSettings() : StepsOfInitString(initString, driver_.log); });
    if (unparkFrom) {
        steps.unparkFrom = unparkFrom;
    }
    {
        Sequence mount = Talk(procedure::Initialization);
        mount.CommandClearInternal();
        mount.CommandBlindInternal(wire::EndInput);
        mount.CommandBlindInternal(wire::ToggleFormat);
    }
    Run(steps, confirmation);
}

void MountInitialization::Run(const InitSteps& steps, Confirmation confirmation) {
    MountSetup setup(telescope_);
    ResumeNext errors{driver_.ledger, "InitMount"};
    bool leftPowerOn = false;
    const auto step = [&](const auto& value, auto send) {
        if (value) {
            errors.Step([&] { send(*value); });
        }
    };
    if (steps.time) {
        errors.Step([&] { MountTime(telescope_).Sync(); });
    }
    step(steps.site, [&](const std::string& name) { setup.SendLongLat(name); });
    step(steps.unparkFrom,
         [&](std::int16_t index) { leftPowerOn = Unparking(telescope_).UnparkMount(index, confirmation); });
    step(steps.decBacklash, [&](double seconds) { setup.SetDecBacklash(seconds); });
    step(steps.raBacklash, [&](double seconds) { setup.SetRaBacklash(seconds); });
    step(steps.guideRate, [&](int index) { setup.SetGuideRate(index); });
    step(steps.pem, [&](int index) { setup.SetPem(index); });
    step(steps.slewRate, [&](int index) { setup.SetSlewRate(index); });
    step(steps.trackingRate, [&](int index) { setup.SetTrackingRate(index); });
    if (leftPowerOn) {
        errors.Step([&] { telescope_.Tracking(driver_.persist.ReadFlag(setting::chkEnableMountTracking)); });
    }
}

/// What runs here waits for the mount, and pumps while a person is asked; the poll must not get in between two of its
/// commands, and goes on whatever happens.
template <typename Steps>
void MountInitialization::WithoutPoll(Steps&& steps) {
    telescope_.CheckConnected();
    needs_.handBox.tmrQueryRaDecAltAz.Enabled(false);
    ResumeNext errors{driver_.ledger, "InitMount"};
    errors.Step(std::forward<Steps>(steps));
    needs_.poll.SetPolling(true);
}

void MountInitialization::InitAfterParkCheck(bool unparks, Confirmation confirmation) {
    WithoutPoll([&] {
        Talk(procedure::Initialization).CommandClearInternal();
        std::optional<std::int16_t> from;
        if (unparks) {
            needs_.motion.MountReportsParked(false);
            from = StoredUnparkIndex(driver_.persist, driver_.log);
        } else {
            Talk(procedure::Initialization).CommandBlindInternal(wire::ToggleFormat);
        }
        InitMount("", from, confirmation);
    });
}

/// The stop ends a slew, a park and the axes of any client, and clears the custom rates of the mount, which come back.
void MountInitialization::StopMount() {
    Sequence mount = Talk(procedure::Initialization);
    mount.CommandClearInternal();
    needs_.motion.Stopped();
    mount.CommandBlindInternal(wire::StopClean);
    driver_.waits.WaitForMilliseconds(kAfterStopMs);
    if (needs_.axisMotions.AnyRuns()) {
        needs_.axisMotions.EndAll();
        needs_.axisMotions.AxisEnded(state_);
    } else {
        CustomRates(core_).Reinstate(telescope_);
    }
}

void MountInitialization::InitWithTime(std::string_view initString) {
    WithoutPoll([&] {
        StopMount();
        Talk(procedure::Initialization).CommandBlindInternal(wire::ToggleFormat);
        InitMount(initString, std::nullopt, Confirmation::AskedElseAccepted);
    });
}

}  // namespace kestrane
