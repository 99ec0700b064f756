#include <optional>

#include "catalogue/vocabulary.h"
#include "catalogue/wire_commands.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "telescope/motion/custom_rates.h"
#include "telescope/mount/slew_rate.h"
#include "telescope/target_texts.h"
#include "telescope/telescope.h"

namespace kestrane {
namespace {

constexpr std::string_view kAccepted = "0";
constexpr std::int16_t kNoTarget = 9;  ///< a result that the mount does not give

/// 0 for a slew that the mount has accepted. Intentional: a reply that is no number counts as 0.
std::int16_t SlewResult(std::string_view reply) {
    std::int16_t result = 0;
    return TryParseInteger(reply, result) ? result : std::int16_t{0};
}

/// What the mount's reply to a slew command means to a person.
std::string_view MeaningOfRefusal(std::int16_t result) {
    switch (result) {
        case 1:
            return "below the horizon";
        case 2:
            return "below the minimum elevation";
        default:
            return "unknown reason";
    }
}

/// Keeps the queries of the poll out of a sequence whose reply is one character, which fits many commands.
class PollPause {
public:
    explicit PollPause(PollLoop& poll) : poll_(poll) { poll_.SetPolling(false); }
    ~PollPause() { poll_.SetPolling(true); }
    PollPause(const PollPause&) = delete;
    PollPause& operator=(const PollPause&) = delete;

private:
    PollLoop& poll_;
};

class SlewCommandSteps : TelescopeSteps {
public:
    using TelescopeSteps::TelescopeSteps;

    void StartFromSiderealTracking(Sequence& mount);
    std::int16_t SendTarget(Sequence& mount);
    std::optional<std::string> SendRaDecSequence(Sequence& mount);
    bool SendRaDecHalf(Sequence& mount, const CharacterCommand& command, std::string_view property,
                       const std::string& text);
    std::string SendAltAzSequence(Sequence& mount);
    void SendAltAzHalf(Sequence& mount, const CharacterCommand& command, std::string_view logged,
                       std::string_view property, const std::string& text);
    std::string SendSlew(Sequence& mount, std::string_view origin);
    void NoteAccepted();
    void LogRefusal(std::int16_t result);
    [[noreturn]] void RaiseSlewRefusal(std::int16_t result);
    void ApplySlewRateOfSettings(Sequence& mount);

private:
    void CalibrateOnFirstSlew();

    bool acceptanceHeard_ = false;  ///< the reply to the slew command was the one that accepts it
    bool replyIsDoubtful_ = false;  ///< that reply may belong to an earlier exchange
};

}  // namespace

void Telescope::SendSlewCommands() {
    SlewCommandSteps steps(*this);
    CheckConnected();
    const bool sent = UntilStopped(procedure::Slew, [&](Sequence& mount) {
        needs_.motion.SlewIsToBeSent();
        if (!InPark(state_)) {  // a park may need them off
            needs_.channel.EnableSafeSlewIfOwed();
        }
        steps.StartFromSiderealTracking(mount);
        mount.LetStopIn();
        steps.ApplySlewRateOfSettings(mount);
        if (const std::int16_t result = steps.SendTarget(mount); result != 0) {
            steps.RaiseSlewRefusal(result);
        }
        steps.NoteAccepted();
    });
    if (!sent) {
        LogSlewNotSent("SendSlewCommands");
    }
}

void SlewCommandSteps::NoteAccepted() {
    core_.NoteSlewTaken(GotoBy::Mount);
    // A slew whose acceptance was not heard may never have begun. It counts as one that was lost from sight: its second
    // leg follows only from where the first was to end.
    const std::uint32_t unheard = acceptanceHeard_ ? 0 : 1;
    state_.g_nSilencesAtGoto = state_.g_nSilences - unheard;
    state_.g_nLinkLossesAtGoto = state_.g_nLinkLosses - unheard;
    if (replyIsDoubtful_ && state_.g_bSafeSlewPending) {
        // If the mount has refused this leg, it stands where the way to the target may lead past the counterweights.
        core_.BarSecondLeg("the answer to the first one is in doubt");
    }
}

/// The result of the slew command: see `SlewResult`. 9 when nothing was sent for want of a target.
std::int16_t SlewCommandSteps::SendTarget(Sequence& mount) {
    const bool isRaDec = state_.g_bTargetRaSet && state_.g_bTargetDecSet;
    const bool isAltAz = state_.g_bTargetAltSet && state_.g_bTargetAzSet;
    if (!isRaDec && !isAltAz) {
        driver_.log.LogMessage("SendSlewCommands", LogLevel::Error, "No valid Ra/Dec or Alt/Az defined");
        return kNoTarget;
    }
    CalibrateOnFirstSlew();
    mount.LetStopIn();  // before the poll is held off, whose rhythm that would change
    const std::optional<std::string> reply =
        isRaDec ? SendRaDecSequence(mount) : std::optional<std::string>(SendAltAzSequence(mount));
    if (!reply) {
        return kNoTarget;
    }
    const std::int16_t result = SlewResult(*reply);
    if (result != 0) {
        LogRefusal(result);
    }
    return result;
}

/// The first slew of a connection finds out whether the directions of the mount are reversed, if the user wants that.
void SlewCommandSteps::CalibrateOnFirstSlew() {
    if (state_.g_bAutoCalibrated) {
        return;
    }
    if (driver_.persist.ReadNumber(setting::chkAutoCalibrateOnFirstSlew) == 1.0) {
        telescope_.AutoCalibrateNSEW(Telescope::kCalibrationAttempts);
    } else {
        state_.g_bAutoCalibrated = true;
    }
}

/// A part of the slew: after a stop, which puts back the custom rates, the sidereal rate must not go out any more.
void SlewCommandSteps::StartFromSiderealTracking(Sequence& mount) {
    if (state_.g_bTracking) {
        CustomRates(core_).ClearCustomDecRate(mount);
        mount.CommandBlindInternal(wire::TrackingRate, wire_rate::kSidereal);
    }
}

/// The reply to the slew command; nothing when a half of the target may not have reached the mount.
std::optional<std::string> SlewCommandSteps::SendRaDecSequence(Sequence& mount) {
    const PollPause pause(needs_.poll);
    const std::string ra = RaTargetText(state_.g_dTargetRa, state_);
    if (!SendRaDecHalf(mount, wire::SetTargetRa, "TargetRightAscension", ra)) {
        return std::nullopt;
    }
    const std::string dec = DecTargetText(state_.g_dTargetDec, state_);
    if (!SendRaDecHalf(mount, wire::SetTargetDec, "TargetDeclination", dec)) {
        return std::nullopt;
    }
    return SendSlew(mount, "Slew RA/Dec");
}

/// False when the mount has not answered: a slew command would lead to the half of an older target, far from both.
/// Intentional: when the mount refuses a half, that is logged and the sequence goes on. Only the reply to the slew
/// command counts then.
bool SlewCommandSteps::SendRaDecHalf(Sequence& mount, const CharacterCommand& command, std::string_view property,
                                     const std::string& text) {
    const CharacterReply reply = mount.CommandCharacterInternal(command, text);
    if (reply == CharacterReply::Good) {
        return true;
    }
    driver_.log.LogMessage("ASCOM", LogLevel::Exception, "SET " + std::string(property) + " FAILED!");
    needs_.poll.SetPolling(true);
    if (reply == CharacterReply::Refused) {
        return true;
    }
    driver_.log.LogMessage(
        "SendSlewCommands", LogLevel::Error,
        "The mount did not answer " + std::string(property) + ": the slew is not sent. Check the line to the mount");
    return false;
}

std::string SlewCommandSteps::SendAltAzSequence(Sequence& mount) {
    const PollPause pause(needs_.poll);
    SendAltAzHalf(mount, wire::SetTargetAlt, "TargetAlt", "TargetAltitude",
                  AltTargetText(state_.g_dTargetAlt, state_.g_dTargetAlt, state_));
    SendAltAzHalf(mount, wire::SetTargetAz, "TargetAz", "TargetAzimuth", AzTargetText(state_.g_dTargetAz, state_));
    return SendSlew(mount, "Slew ALT/AZ");
}

void SlewCommandSteps::SendAltAzHalf(Sequence& mount, const CharacterCommand& command, std::string_view logged,
                                     std::string_view property, const std::string& text) {
    if (!mount.CommandBoolInternal(command, text)) {
        driver_.log.LogMessage("ASCOM", LogLevel::Exception, "SET " + std::string(logged) + " FAILED!");
        throw DriverError(ErrorNumber::MountRejectedTarget,
                          "KS mount rejected set " + std::string(property) + " = " + text);
    }
}

/// The reply of the mount is one character without a terminator.
std::string SlewCommandSteps::SendSlew(Sequence& mount, std::string_view origin) {
    ResumeNext errors{driver_.ledger, "SendSlew"};
    mount.CommandBlindInternal(wire::Slew.ReplyReadApart());
    ReceivedCharacter received;
    errors.Assign(received, [&] { return needs_.link ? needs_.link->ReceiveCharacter() : ReceivedCharacter{}; });
    driver_.log.LogMessage(origin, LogLevel::Info, "Sent 'MS', Response: " + received.reply);
    acceptanceHeard_ = received.reply == kAccepted;
    replyIsDoubtful_ = received.afterAnother;
    return received.reply;
}

/// No client may hear of the refusal, so the log reports why nothing moved.
void SlewCommandSteps::LogRefusal(std::int16_t result) {
    driver_.log.LogMessage(
        "SendSlewCommands", LogLevel::Error,
        "The mount refused the slew: reply " + std::to_string(result) + ", " + std::string(MeaningOfRefusal(result)));
}

void SlewCommandSteps::RaiseSlewRefusal(std::int16_t result) {
    needs_.motion.SlewRefused();
    throw DriverError(result == 1   ? ErrorNumber::BelowHorizon
                      : result == 2 ? ErrorNumber::BelowMinimumElevation
                                    : ErrorNumber::SlewFailed);
}

/// A slew runs at the slew rate of the settings, if the user wants that.
void SlewCommandSteps::ApplySlewRateOfSettings(Sequence& mount) {
    if (Trim(driver_.persist.Read(setting::chkSetSlewRate)) == "1") {
        SlewRate(telescope_).Set(mount, SlewRate::kOfSettings);
    }
}

}  // namespace kestrane
