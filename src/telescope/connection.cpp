#include <limits>
#include <utility>

#include "catalogue/vocabulary.h"
#include "catalogue/wire_commands.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "settings/setting_keys.h"
#include "telescope/mount/mount_initialization.h"
#include "telescope/mount/rate_lists.h"
#include "telescope/telescope.h"

namespace kestrane {
namespace {

constexpr double kMillimetres = 1000.0;
constexpr std::int32_t kStatusWindowDelayMs = 1000;

double NumberOr(const std::string& text, double whenEmpty, Log& log) {
    return text.empty() ? whenEmpty : Val_Global(text, log);
}

/// The stored number of a model; run-time error 6 when it does not fit.
std::int16_t ModelNumber(double stored) {
    const std::int32_t number = RoundHalfEven(stored);
    if (number != static_cast<std::int16_t>(number)) {
        throw RunTimeError(RunTimeError::kOverflow, "Overflow");
    }
    return static_cast<std::int16_t>(number);
}

class ConnectionSteps : TelescopeSteps {
public:
    using TelescopeSteps::TelescopeSteps;

    void ConnectClient();
    void OpenForFirstClient();
    void WarnAboutSync();
    void InitAfterPowerOn();
    void DisconnectClient();
    void WaitForTimerIdle();
    void InitializeFirstObject();
    void ResetState();
    void MinimizeStatusWindowLater();
    void TurnLogOn();
    void ReadSafeSlew();
    void TakeUpRateType(const std::string& rateType);
    void InitUiPanel();
};

}  // namespace

Telescope::Telescope(TelescopeNeeds needs)
    : TelescopeCore(std::move(needs),
                    [this](std::string_view command) { return needs_.executeDriverCommand(*this, command); }) {}

Telescope::~Telescope() {
    needs_.axisMotions.Leave(*this);
}

void Telescope::Class_Initialize() {
    ConnectionSteps steps(*this);
    ResumeNext errors{driver_.ledger, "Class_Initialize"};
    if (state_.g_nScopeObjects == 0) {
        errors.Step([&] { steps.InitializeFirstObject(); });
    }
    ++state_.g_nScopeObjects;
    needs_.axisMotions.Enter(*this);
    needs_.connections.UpdateClientsLabel();
}

void ConnectionSteps::InitializeFirstObject() {
    ResumeNext errors{driver_.ledger, "Class_Initialize"};
    if (!needs_.registration.RegisterTelescope()) {
        return;
    }
    errors.Assign(needs_.mount.mountType,
                  [&] { return static_cast<Mount_Type>(ModelNumber(driver_.persist.ReadNumber(setting::MountType))); });
    MakeClientRateLists(needs_);
    // Before the controller, which knows no rate type but one: what the mount told in an earlier run still holds.
    std::string rateType;
    errors.Assign(rateType, [&] { return driver_.persist.Read(setting::MountRateType); });
    errors.Step([&] {
        const std::int16_t controller = ModelNumber(driver_.persist.ReadNumber(setting::Controller));
        needs_.controller.Apply(static_cast<Controller_Type>(controller), 0, 0);
    });
    errors.Step([&] { LoadControllerOption(driver_); });
    ResetState();
    errors.Step([&] { MinimizeStatusWindowLater(); });
    errors.Step([&] { TurnLogOn(); });
    errors.Step([&] { ReadSafeSlew(); });
    errors.Step([&] { TakeUpRateType(rateType); });
}

void ConnectionSteps::ResetState() {
    state_.g_dGuideRate = 1.0;
    state_.g_nSlewSettleTime = 1;
    state_.g_bTargetRaSet = state_.g_bTargetDecSet = state_.g_bTargetAltSet = state_.g_bTargetAzSet = false;
    needs_.motion.FirstObjectBegins();
    state_.g_tickSettleEnd = state_.g_tickLastSlewCheck = Tick{};
    state_.g_sTrackingCommand = "RT2";
    state_.g_bTracking = state_.g_bWestSide = state_.g_bFlashShowing = false;
}

void ConnectionSteps::MinimizeStatusWindowLater() {
    if (state_.g_nFocuserObjects < 2 && driver_.persist.Read(setting::MinimizeStatusWindow) == "1") {
        needs_.handBox.tmrMinimize.Interval(kStatusWindowDelayMs);
        needs_.handBox.bForceMinimize = true;
    }
}

/// Here the default is on, unlike at the start of the process. The default of the first reader is stored and stays. A
/// settings file that does not answer turns nothing on.
void ConnectionSteps::TurnLogOn() {
    if (const auto enabled = driver_.persist.ReadIfAnswered(AskedLater(setting::chkEnableDebugLog))) {
        state_.g_bDebugLog = Val_Global(*enabled, driver_.log) != 0.0;
    }
    if (state_.g_bDebugLog) {
        driver_.log.OpenLog();
    }
}

void ConnectionSteps::ReadSafeSlew() {
    const std::string safeSlew = driver_.persist.Read(setting::SafeSlewRaDec);
    state_.g_bRawRaDecSlews = safeSlew == "0";
    driver_.log.LogMessage("Initialize", LogLevel::Info, "SafeSlewRaDec = " + safeSlew);
}

void ConnectionSteps::TakeUpRateType(const std::string& rateType) {
    if (!rateType.empty() || needs_.rates.IsRateTypeOpen()) {
        needs_.rates.UpdateMountRates(rateType);
        needs_.rates.ForgetToldType();  // no mount has told it yet
    }
}

void Telescope::Class_Terminate() {
    StopOwnAxes("The client has gone: its axes are stopped");
    needs_.axisMotions.Leave(*this);
    if (!needs_.axisMotions.AnyRuns()) {
        needs_.motion.AxisMotionsEnd();  // also after an axis that could not be stopped, since the link is closed
    }
    --state_.g_nScopeObjects;
    needs_.connections.UpdateClientsLabel();
    if (state_.g_nScopeObjects < 2) {
        Connected(false);
    }
    needs_.connections.ExitIfNoClients();
}

bool Telescope::Connected() {
    ResumeNext errors{driver_.ledger, "Connected"};
    bool connected = false;
    errors.Assign(connected, [&] { return needs_.link && needs_.link->Connected(); });
    return LogGet("Connected", connected);
}

void Telescope::Connected(bool connect) {
    ConnectionSteps steps(*this);
    if (connect) {
        steps.ConnectClient();
    } else {
        steps.DisconnectClient();
    }
}

void ConnectionSteps::ConnectClient() {
    core_.LogSet("Connected", "True");
    telescope_.LoadTelescopeOptions();
    state_.g_bPollSuspended = false;
    if (needs_.link && needs_.link->Connected()) {
        if (!state_.g_bOpeningLink) {  // the attempts of another client have the line to themselves
            needs_.poll.SetPolling(true);
        }
        needs_.connections.OpenConnection(ClientKind::Telescope);
    } else {
        state_.g_bAutoCalibrated = state_.g_bLongitudeRead = false;
        needs_.queries.ForgetToldSide();
        state_.g_nTrackingRate = tracking_rate::Sidereal;  // the rate of an earlier connection does not count
        needs_.registration.EnsureDriverHelper();
        OpenForFirstClient();
    }
    WarnAboutSync();
}

void ConnectionSteps::OpenForFirstClient() {
    try {
        needs_.channel.ShowMountAddress();
        needs_.panel.UserShow();
        needs_.connections.OpenConnection(ClientKind::Telescope);
        telescope_.InitUI();
    } catch (const DriverError&) {
        driver_.log.LogMessage("Connected", LogLevel::Info, "No Port");
        throw DriverError(ErrorNumber::NoMount);
    }
}

void ConnectionSteps::WarnAboutSync() {
    needs_.handBox.EnsureLoaded();
    if (!needs_.handBox.chkUseRCAL.Checked()) {
        needs_.warnAboutSync();
    }
}

void ConnectionSteps::DisconnectClient() {
    core_.LogSet("Connected", "False");
    if (state_.g_nScopeObjects < 2) {
        ResumeNext errors{driver_.ledger, "Connected"};
        errors.Step([&] { WaitForTimerIdle(); });
        if (!ParkIsOnItsWay(state_)) {
            needs_.motion.Disconnected();
        }
        errors.Step([&] {
            if (!needs_.link) {
                throw RunTimeError(RunTimeError::kObjectNotSet, "no link");
            }
            needs_.link->ClearBuffers();
        });
    }
    needs_.connections.CloseConnection(ClientKind::Telescope);
}

void ConnectionSteps::WaitForTimerIdle() {
    for (int i = 0; i < 3; ++i) {
        if (!state_.g_bInPoll) {
            driver_.waits.PumpOnce();
            return;
        }
        driver_.clock.Sleep(1);
    }
}

void Telescope::LoadTelescopeOptions() {
    LoadControllerOption(driver_);
    const auto read = [&](const SettingKey& key, double whenEmpty) {
        return NumberOr(driver_.persist.Read(key), whenEmpty, driver_.log);
    };
    state_.g_dAperture = read(setting::txtScopeAperture, 0.0) / kMillimetres;
    state_.g_dFocalLength = read(setting::txtScopeFocalLength, 0.0) / kMillimetres;
    state_.g_dSiteElevation = read(setting::Elevation, 0.0);
    state_.g_dConnectTimeout = read(setting::txtConnectTimeout, 1.0);
}

std::int16_t Telescope::ClientCount() {
    return static_cast<std::int16_t>(state_.g_nScopeObjects - 1);
}

void Telescope::ClientCount(std::int16_t count) {
    state_.g_nScopeObjects = count;
    needs_.connections.UpdateClientsLabel();
    needs_.connections.ExitIfNoClients();
}

std::int16_t Telescope::ReceiveTimeoutMS() {
    const std::int32_t milliseconds = needs_.link ? needs_.link->ReceiveTimeoutMS() : 0;
    if (milliseconds > std::numeric_limits<std::int16_t>::max()) {
        throw RunTimeError(RunTimeError::kOverflow, "Overflow");
    }
    return static_cast<std::int16_t>(milliseconds);
}

void Telescope::ReceiveTimeoutMS(std::int16_t milliseconds) {
    if (needs_.link) {
        needs_.link->ReceiveTimeoutMS(milliseconds);
    }
}

void Telescope::InitUI() {
    ConnectionSteps steps(*this);
    ResumeNext errors{driver_.ledger, "InitUI"};
    needs_.journal.ResetEvents();
    bool answered = true;
    errors.Assign(answered, [&] { return InitBasicValues(); });
    if (!answered) {
        // Each further question would cost seconds. The mount is initialized again when it reports the pole again.
        needs_.handBox.tmrQueryRaDecAltAz.Enabled(true);
        return;
    }
    errors.Step([&] { needs_.journal.AddRaDecEvent(state_.g_dRa, state_.g_dDec); });
    errors.Step([&] {
        if (needs_.queries.IsAtPowerOnPosition()) {
            steps.InitAfterPowerOn();
        }
    });
    errors.Step([&] { needs_.queries.UpdateHourAngle(); });
    errors.Step([&] { steps.InitUiPanel(); });
    needs_.handBox.m_bFormLoaded = true;
    needs_.panel.UpdateControls();
}

/// The mount has lost its position. It is initialized once, and not at each report of that position. Only a person can
/// say where it points: a position of the settings is offered, and until somebody accepts it the mount gets none.
void ConnectionSteps::InitAfterPowerOn() {
    const bool hasClient = state_.g_bConnected;  // a client of the focuser alone initializes no mount
    if (!hasClient || state_.g_bPowerOnInitDone) {
        return;
    }
    ResumeNext errors{driver_.ledger, "InitUI"};
    if (!errors.Step([&] { telescope_.CheckConnected(); })) {
        return;  // the next report of that position begins it
    }
    state_.g_bPowerOnInitDone = true;
    errors.Step([&] { MountInitialization(telescope_).InitAfterParkCheck(true, Confirmation::Offered); });
    telescope_.EnsureLongFormat(true);  // the initialization has toggled it
    core_.ReadPosition();
}

void ConnectionSteps::InitUiPanel() {
    MountQueries& queries = needs_.queries;
    queries.QueryRa();
    queries.QueryDec();
    queries.QueryAlt();
    queries.QueryAz();
    queries.QueryTime();
    queries.QueryLst();
    queries.QuerySideOfMount();
    queries.QueryTimeZone();
    needs_.handBox.tmrQueryRaDecAltAz.Enabled(true);
    if (queries.IsAtPowerOnPosition()) {
        needs_.panel.SetParkStatus("Parked", "InitUiPanel");
        needs_.motion.MountReportsParked(true);
        if (state_.g_tickParkedSince == Tick{}) {  // later ones would put off the pause of the log for ever
            state_.g_tickParkedSince = driver_.clock.GetTickCount();
        }
    } else if (state_.g_bFreshConnect && !state_.g_bGosSupported) {
        const std::string parkStatus = driver_.persist.Read(setting::ParkStatus);
        needs_.panel.SetParkStatus(parkStatus, "InitUiPanel2");
        needs_.motion.MountReportsParked(parkStatus == "Parked");
    }
    state_.g_bFreshConnect = false;
}

bool Telescope::AtPark() {
    const bool parked = LogGet("AtPark", state_.g_bParked);
    YieldToOthers();
    return parked;
}

bool Telescope::IsPulseGuiding() {
    const bool guiding =
        state_.g_bGuidingNorth || state_.g_bGuidingSouth || state_.g_bGuidingEast || state_.g_bGuidingWest;
    LogGet("IsPulseGuiding", guiding);
    driver_.waits.PumpBriefly();
    return guiding;
}

}  // namespace kestrane
