#include "kernel/connection_manager.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "catalogue/wire_commands.h"
#include "kernel/base/conversions.h"
#include "kernel/base/os_info.h"
#include "kernel/base/text.h"
#include "link/link_choice.h"
#include "platform/port_names.h"
#include "settings/companion_settings.h"
#include "state/mount_replies.h"

namespace kestrane {
namespace {

constexpr std::int32_t kMaxStartAttempts = 100;  // passes after the companion was started
constexpr std::int32_t kCompanionWaitMs = 250;
constexpr std::int32_t kPassWaitMs = 200;
constexpr std::int32_t kFormatToggleWaitMs = 20;
constexpr std::int32_t kLongestParkWithoutClientsMs = 30 * 60 * 1000;  // a mount may report a slew for ever
constexpr std::int32_t kDefaultTimeoutMs = 500;
constexpr double kLongestTimeoutMs = 60'000.0;
constexpr double kDefaultRetries = 2.0;
constexpr double kMostRetries = 5.0;
constexpr std::size_t kRateKeyPosition = 13;  // of the status text, from 0

std::int32_t ToInteger(const std::string& text, Log& log) {
    return RoundHalfEven(Val_Global(text, log));
}

/// Marks that a connect makes its attempts, however they end. They may be nested: the outer ones go on after the inner.
class Attempts {
public:
    explicit Attempts(bool& opening) : opening_(opening), outer_(std::exchange(opening, true)) {}
    ~Attempts() { opening_ = outer_; }
    Attempts(const Attempts&) = delete;
    Attempts& operator=(const Attempts&) = delete;

private:
    bool& opening_;
    const bool outer_;
};

}  // namespace

void ConnectionManager::OpenConnection(ClientKind kind) {
    const bool ip = LinkIsOverIp(needs_.link.get(), driver_.persist, driver_.log);
    const std::string address = driver_.persist.Read(setting::txtIpAddress);
    if (!needs_.link || !needs_.link->Connected()) {
        OpenLink(kind, ip, address);
    } else if (state_.g_sVersion.empty()) {
        state_.g_bMountUnproved = true;
        answersBefore_ = needs_.queries.Answers();
        if (!state_.g_bOpeningLink) {
            needs_.handBox.tmrQueryRaDecAltAz.Enabled(true);  // it notices when a mount answers at last
        }
        driver_.log.LogMessage("OpenConnection", LogLevel::Warning,
                               "The link is open although no mount has answered on it.");
    }
    CountClient(kind);
}

void ConnectionManager::OpenLink(ClientKind kind, bool ip, const std::string& address) {
    Opening opening{.ip = ip, .portText = address};
    // What was read from the mount of an earlier link says nothing about this one.
    state_.g_bRaRead = state_.g_bDecRead = state_.g_bPowerOnInitDone = false;
    state_.g_bMeridianDelayKnown = state_.g_bMeridianDelayRead = false;
    needs_.rates.ForgetToldType();
    if (!ip) {
        opening.portText = driver_.persist.Read(setting::Port);
        if (opening.portText.empty()) {
            opening.portText = "COM1";
            driver_.persist.Write(setting::Port, opening.portText);
        }
    }
    needs_.statusWindow.lblComPortValue.Text(opening.portText);
    bool found = false;
    try {
        const Attempts attempts(state_.g_bOpeningLink);
        found = FindMount(opening);
        if (found) {
            MountFound();
            found = !ended_;
        }
    } catch (const DriverError& error) {
        if (!opening.linkSetUp) {
            const bool portFailed = !ip && needs_.link && needs_.link->OpenError() != 0;
            connectFailure_ = portFailed ? WhyNoMount(ToInteger(opening.portText, driver_.log), false, opening.start)
                                         : opening.portText + ": " + error.Message();
            throw;  // the transport's own error reaches the client unchanged
        }
        found = false;
    }
    if (!found && state_.g_bMountUnproved && !state_.g_bOpeningLink) {
        needs_.handBox.tmrQueryRaDecAltAz.Enabled(true);  // for a client that connected during the attempts
    }
    if (!found) {
        FailOpening(kind, opening);
    }
}

bool ConnectionManager::FindMount(Opening& opening) {
    needs_.ensureUtil();
    if (!opening.ip) {
        opening.portText = AfterPortLetters(opening.portText);
        opening.quay = driver_.persist.ReadFlag(setting::chkQUAY);
        opening.quayRest = driver_.persist.ReadFlag(setting::chkQuayRestApi);
    }
    state_.g_dConnectTimeout = driver_.persist.ReadNumber(setting::txtConnectTimeout);
    opening.start = driver_.clock.GetTickCount();
    opening.elevated = IsAdmin(needs_.systemInfo);
    PassResult result = PassResult::NextPass;
    while (result == PassResult::NextPass && !ended_) {
        result = TryOnce(opening);
    }
    return result == PassResult::MountFound;
}

ConnectionManager::PassResult ConnectionManager::TryOnce(Opening& opening) {
    if (opening.quay || opening.quayRest) {
        ChooseCompanionPort(opening);
    }
    if (!SetUpLink(opening)) {
        return PassResult::Failed;
    }
    state_.g_nReceiveTimeoutMS = needs_.link->ReceiveTimeoutMS();
    opening.linkSetUp = true;
    needs_.door.LetStopIn();
    if (ended_) {
        return PassResult::Failed;
    }
    if (ProbeMount()) {
        return PassResult::MountFound;
    }
    needs_.door.LetStopIn();
    if (ended_) {
        return PassResult::Failed;
    }
    if (StartedOrRetriesCompanion(opening)) {
        return PassResult::NextPass;
    }
    const double elapsed = driver_.clock.GetTickCount() - opening.start;
    if (state_.g_dConnectTimeout != 0.0 && elapsed > state_.g_dConnectTimeout * 1000.0) {
        return PassResult::Failed;
    }
    state_.g_bFreshConnect = false;
    driver_.waits.WaitForMilliseconds(kPassWaitMs);
    return PassResult::NextPass;
}

void ConnectionManager::ChooseCompanionPort(Opening& opening) {
    const std::string port = CompanionSettings(needs_.applicationSettings).PortName(opening.elevated);
    if (!port.empty()) {
        needs_.channel.ShowMountInfo(port);
        opening.portText = AfterPortLetters(port);
    }
}

/// False when a serial port cannot be opened and no companion is configured that might still create it.
bool ConnectionManager::SetUpLink(Opening& opening) {
    if (!needs_.link) {
        throw RunTimeError(RunTimeError::kObjectNotSet, "The link does not exist.");
    }
    MountLink& link = *needs_.link;
    const std::int32_t timeout = ReadTimeout();
    if (opening.ip) {
        link.ReceiveTimeoutMS(timeout);
        link.Connected(true);
        return true;
    }
    link.Port(ToInteger(opening.portText, driver_.log));
    link.Speed(kLinkSpeed);
    link.ReceiveTimeoutMS(timeout);
    opening.opened = false;
    link.Connected(true);
    opening.opened = link.Connected();
    return opening.opened || opening.quay;
}

/// 0 for a name without a number of 16 bits.
std::int16_t ConnectionManager::PortOfSettings() {
    std::int16_t port = 0;
    TryParseInteger(AfterPortLetters(driver_.persist.Read(setting::Port)), port);
    return port;
}

/// A setting that is no number or below 1 counts as the default.
std::int32_t ConnectionManager::ReadTimeout() {
    const double timeout = PlainDecimal(driver_.persist.Read(setting::Timeout), driver_.log).value_or(0.0);
    return timeout < 1.0 ? kDefaultTimeoutMs : RoundHalfEven(std::min(timeout, kLongestTimeoutMs));
}

std::int16_t ConnectionManager::ReadRetries() {
    const double retries = PlainDecimal(driver_.persist.Read(setting::Retry), driver_.log).value_or(kDefaultRetries);
    return static_cast<std::int16_t>(RoundHalfEven(std::clamp(retries, 0.0, kMostRetries)));
}

bool ConnectionManager::ProbeMount() {
    needs_.link->ClearBuffers();
    Telescope& internal = needs_.internalInstance();
    internal.MaxSerialRetries(0);
    state_.g_sVersion = Talk(procedure::Connect).CommandString(wire::Version);
    state_.g_bFreshConnect = true;
    ResetCommCounters();
    return !state_.g_sVersion.empty();
}

/// When the companion is configured: closes the port, starts the companion once, then keeps trying for a while.
bool ConnectionManager::StartedOrRetriesCompanion(Opening& opening) {
    if (!needs_.channel.IsAskedFor()) {
        return false;
    }
    needs_.link->Connected(false);
    if (opening.startAttempts >= 1) {
        ++opening.startAttempts;
        if (opening.startAttempts >= kMaxStartAttempts) {
            return false;
        }
        driver_.waits.PumpOnce();
        driver_.waits.WaitForMilliseconds(kCompanionWaitMs);
        return true;
    }
    if (needs_.companion.StartCompanion(opening.companionFailureTold, [this] { return ended_; })) {
        opening.startAttempts = 1;
        return true;
    }
    return false;
}

bool ConnectionManager::HealIsDue() const {
    return state_.g_bMountUnproved && !ended_ && !state_.g_bOpeningLink && needs_.queries.Answers() != answersBefore_;
}

/// A long call of its own: it takes seconds and pumps, which would hold up a tick and the calls around it.
void ConnectionManager::HealWhenDue() {
    if (!HealIsDue() || std::exchange(healPosted_, true)) {
        return;
    }
    needs_.pump.Post(CallKind::WaitsLong, [this, token = std::weak_ptr<int>(token_)] {
        if (!token.expired()) {
            healPosted_ = false;
            HealConnect();
        }
    });
}

/// A client was connected although no mount had answered. Once one answers the poll, everything is made up for that a
/// connect does when it finds a mount; the clients were counted before.
void ConnectionManager::HealConnect() {
    if (!HealIsDue()) {
        return;  // another connect got in first
    }
    driver_.log.LogMessage("OpenConnection", LogLevel::Warning,
                           "A mount answers on the open link. The connect is completed now.");
    needs_.handBox.tmrQueryRaDecAltAz.Enabled(false);
    ResumeNext errors{driver_.ledger, "HealConnect"};
    bool found = false;
    errors.Assign(found, [&] { return ProbeMount(); });
    if (found) {
        errors.Step([&] { MountFound(); });
    }
    if (ended_) {
        return;
    }
    if (found) {
        errors.Step([&] { needs_.internalInstance().InitUI(); });
    }
    answersBefore_ = needs_.queries.Answers();
    needs_.handBox.tmrQueryRaDecAltAz.Enabled(true);
}

/// The end of the process may get in between two questions and close the link: the rest is then left out.
void ConnectionManager::MountFound() {
    state_.g_bMountUnproved = false;
    needs_.channel.LinkIsNew();
    needs_.link->ReceiveTimeoutMS(ReadTimeout());
    Telescope& internal = needs_.internalInstance();
    internal.MaxSerialRetries(ReadRetries());
    needs_.stopWhatWasLeft();  // before any client can move something
    Talk(procedure::Connect).CommandBlindInternal(wire::ToggleFormatRaw);
    driver_.waits.WaitForMilliseconds(kFormatToggleWaitMs);
    ReadRateKey();
    ReadMountForm();
    if (ended_) {
        return;
    }
    state_.g_bVersionKnown = true;
    needs_.channel.LookForIt();
    ReadMountSite(Notice::LogOnly);
    if (ended_) {
        return;
    }
    if (state_.g_bFreshConnect) {
        needs_.checkForUpdate();
    }
    needs_.handBox.tmrQueryRaDecAltAz.Enabled(true);
}

SiteAnswer ConnectionManager::ReadMountSite(Notice notice, AfterSilence afterSilence) {
    double westLongitude = 0.0;
    double latitude = 0.0;
    SiteAnswer answer = SiteAnswer::Silent;
    ResumeNext errors{driver_.ledger, "GetLongLatFromMount"};
    errors.Assign(answer, [&] { return AskLongLat(PortOfSettings(), 0, westLongitude, latitude, afterSilence); });
    if (answer == SiteAnswer::Read) {
        state_.g_dSiteLongitude = -westLongitude;
        state_.g_bLongitudeRead = true;
        needs_.panel.ShowMountSite(-westLongitude, latitude, notice);
    } else {
        needs_.panel.ShowNoMountSite(notice);
    }
    return answer;
}

void ConnectionManager::ReadRateKey() {
    if (!state_.g_sVersion.starts_with("VKC")) {
        return;
    }
    const std::string status = Talk(procedure::Connect).CommandString(wire::Status);
    if (status.size() > kRateKeyPosition && MayBeStatusText(status)) {
        needs_.rates.UpdateMountRates(status.substr(kRateKeyPosition, 1));
    }
}

void ConnectionManager::ReadMountForm() {
    state_.g_sForkReply = Talk(procedure::Connect).CommandString(wire::MountForm);
    const std::string& form = state_.g_sForkReply;
    state_.g_bForkMount = form == "1" || form == "3" || form == "5" || form == "7";
    if (state_.g_bForkMount) {
        state_.g_bRawRaDecSlews = true;
        driver_.log.LogMessage("Connections", LogLevel::Info,
                               "OpenConnection: Fork Mount detected - enabling Raw RA/Dec Slews");
    }
}

std::string ConnectionManager::WhyNoMount(std::int32_t port, bool opened, Tick start) const {
    std::string why = needs_.serialPorts.Describe(port) + ": ";
    if (!opened) {
        const std::int32_t error = needs_.link ? needs_.link->OpenError() : 0;
        return why + (error == 0 ? "it could not be opened" : needs_.serialPorts.WhyNotOpened(port, error));
    }
    const double seconds = (driver_.clock.GetTickCount() - start) / 1000.0;
    return why + "it could be opened, but nothing answered in " + FormatUs(seconds, "0.0") +
           " s; is the mount switched on?";
}

/// The link is left as it is. Intentional: the close below runs although this client was never counted, so it takes one
/// off the count of an earlier client if there is one.
void ConnectionManager::FailOpening(ClientKind kind, const Opening& opening) {
    connectFailure_ = opening.ip ? needs_.link->WhyNothingCame()
                                 : WhyNoMount(ToInteger(opening.portText, driver_.log), opening.opened, opening.start);
    driver_.log.LogMessage("OpenConnection", LogLevel::Error,
                           "OpenConnection Failed. No response from COM" + opening.portText + ". " + connectFailure_);
    CloseConnection(kind);
    throw DriverError(ErrorNumber::NoMount);
}

void ConnectionManager::CountClient(ClientKind kind) {
    connectFailure_.clear();
    exitAwaitsParkSince_.reset();
    parkIsGivenUp_ = false;
    // A program that connects again and again without end must not come out as minus 32768 clients.
    const auto count = [](std::int16_t& connects, bool& connected) {
        connected = true;
        if (connects < std::numeric_limits<std::int16_t>::max()) {
            ++connects;
        }
    };
    if (kind == ClientKind::Telescope) {
        count(state_.g_nScopeConnects, state_.g_bConnected);
    } else {
        count(state_.g_nFocuserConnects, state_.g_bFocuserConnected);
    }
    UpdateClientsLabel();
    driver_.log.LogMessage("Connections", LogLevel::Info, "OpenConnection: " + Counts());
}

std::string ConnectionManager::Counts() const {
    return "Scope Clients/Connects=" + std::to_string(state_.g_nScopeObjects - 1) + "/" +
           std::to_string(state_.g_nScopeConnects) +
           ", Focuser Clients/Connects=" + std::to_string(state_.g_nFocuserObjects - 1) + "/" +
           std::to_string(state_.g_nFocuserConnects);
}

void ConnectionManager::CloseConnection(ClientKind kind) {
    const auto uncount = [](std::int16_t& connects, bool& connected) {
        --connects;
        if (connects < 1) {
            connects = 0;
            connected = false;
        }
    };
    if (kind == ClientKind::Telescope) {
        uncount(state_.g_nScopeConnects, state_.g_bConnected);
    } else {
        uncount(state_.g_nFocuserConnects, state_.g_bFocuserConnected);
    }
    UpdateClientsLabel();
    driver_.log.LogMessage("Connections", LogLevel::Info, "CloseConnection: " + Counts());
}

bool ConnectionManager::IsClientConnected(ClientKind kind) {
    return kind == ClientKind::Telescope ? state_.g_bConnected : state_.g_bFocuserConnected;
}

void ConnectionManager::UpdateClientsLabel() {
    const auto shown = [](std::int16_t objects) { return std::to_string(std::max(0, objects - 1)); };
    needs_.handBox.lblClients.Text("Clients:  " + shown(state_.g_nScopeObjects) + " / " +
                                   shown(state_.g_nFocuserObjects));
}

void ConnectionManager::ExitIfNoClients() {
    if (state_.g_nFocuserObjects >= 2 || state_.g_nScopeObjects >= 2) {
        parkIsGivenUp_ = false;
        return;
    }
    const bool parks = !ended_ && ParkIsOnItsWay(state_);
    if (parks && !parkIsGivenUp_) {
        exitAwaitsParkSince_ = driver_.clock.GetTickCount();
        driver_.log.LogMessage("Connections", LogLevel::Info,
                               "The last client has gone: the park comes to its end first");
        return;
    }
    if (parks) {
        driver_.log.LogMessage("Connections", LogLevel::Warning,
                               "The park has not ended 30 minutes after the last client left: the driver ends, and the "
                               "mount is left to itself");
    }
    ShutdownDriver();
}

bool ConnectionManager::AwaitsPark(std::int32_t withoutClientsMs) {
    parkIsGivenUp_ = withoutClientsMs >= kLongestParkWithoutClientsMs;
    return ParkIsOnItsWay(state_) && !parkIsGivenUp_;
}

void ConnectionManager::ExitAfterPark() {
    if (exitAwaitsParkSince_ && !ended_ && !AwaitsPark(driver_.clock.GetTickCount() - *exitAwaitsParkSince_)) {
        exitAwaitsParkSince_.reset();
        ExitIfNoClients();
    }
}

void ConnectionManager::ShutdownDriver() {
    ResumeNext errors{driver_.ledger, "ShutdownDriver"};
    errors.Step([&] { needs_.endRuns(); });
    ended_ = true;
    if (needs_.link && needs_.link->Connected()) {
        errors.Step([&] { needs_.link->ClearBuffers(); });
        errors.Step([&] { needs_.link->Connected(false); });
    }
    errors.Step([&] { needs_.unloadWindows(); });
    needs_.endProcess();
}

void ConnectionManager::ResetCommCounters() {
    const std::int32_t stalls = driver_.counters.Values().g_nMotorStalls;
    driver_.counters.Reset();
    needs_.panel.UpdateErrorCounts();
    if (stalls >= 1) {
        needs_.internalInstance().CancelPark();  // stopped on its way, it must not count as arrived where it stands
        Talk(procedure::StopPair).CommandBlindInternal(wire::Stop);
    }
}

}  // namespace kestrane
