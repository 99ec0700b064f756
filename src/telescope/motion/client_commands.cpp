#include "catalogue/vocabulary.h"
#include "catalogue/wire_texts.h"
#include "telescope/telescope.h"

/// The commands that clients hand over as texts of their own.
namespace kestrane {
namespace {

class ClientCommandSteps : TelescopeSteps {
public:
    using TelescopeSteps::TelescopeSteps;

    bool MayBeSent(std::string_view member, std::string_view command, bool raw);
    void NoteStop(std::string_view command, bool raw);
    void NoteGoto(std::string_view command, bool raw);
    /// The companion gets each text in a frame of its own.
    bool GoesRaw(bool raw) const { return raw && !needs_.channel.IsProved(); }

private:
    /// A bare mount does not know these commands.
    bool IsForCompanion(std::string_view onTheWire) const {
        return needs_.channel.IsProved() && wire::CompanionMoves(onTheWire);
    }
    bool BeginsGoto(std::string_view onTheWire) const {
        return wire::StartsGoto(onTheWire) || IsForCompanion(onTheWire);
    }
    static std::string OnTheWire(std::string_view command, bool raw);
};

}  // namespace

std::string ClientCommandSteps::OnTheWire(std::string_view command, bool raw) {
    return raw ? std::string(command) : wire::InFrame(command);
}

/// A park that is stopped on its way must not count as arrived where it stands.
void ClientCommandSteps::NoteStop(std::string_view command, bool raw) {
    if (wire::StopsAllMotion(OnTheWire(command, raw))) {
        if (InPark(state_) && !state_.g_bAbortPark) {
            driver_.log.LogMessage("Telescope", LogLevel::Info, "The park ends: a client's own text stops the mount");
        }
        needs_.motion.ParkAborted();
    }
}

/// False for a goto that was asked for before a stop.
bool ClientCommandSteps::MayBeSent(std::string_view member, std::string_view command, bool raw) {
    NoteStop(command, raw);
    if (!BeginsGoto(OnTheWire(command, raw))) {
        return true;
    }
    if (!needs_.door.Permit(member)) {
        return false;
    }
    const bool goesOn = core_.UntilStopped(procedure::ClientText, [&](Sequence& mount) {
        needs_.channel.EnableSafeSlewIfOwed();
        mount.LetStopIn();  // none that was asked for meanwhile may run after the goto
    });
    if (!goesOn) {
        needs_.door.LogOvertaken(member);
    }
    return goesOn;
}

/// The answer went to the client, so the goto counts as accepted, unless the same text stops it. It goes somewhere else
/// than a slew that is under way, and nobody has planned a safe way from there to the target of that one.
void ClientCommandSteps::NoteGoto(std::string_view command, bool raw) {
    const std::string text = OnTheWire(command, raw);
    if (!BeginsGoto(text)) {
        return;
    }
    if (!wire::StopComesLast(text)) {
        core_.NoteGotoTaken(IsForCompanion(text) ? GotoBy::Companion : GotoBy::Mount);
    }
    if (wire::MoveFollowsGoto(text)) {
        needs_.motion.MoveSent();
    }
    core_.BarSecondLeg("a client has sent a goto of its own");
}

ParkText ParkTextOf(std::string_view command, bool raw) {
    if (!CommandExchange::IsForDriver(command, raw)) {
        return ParkText::Other;
    }
    command.remove_prefix(kDriverCommandHead.size());
    const std::string_view verb = command.substr(0, command.find(','));
    return verb == kParkVerb ? ParkText::Begins : verb == kCancelParkVerb ? ParkText::Cancels : ParkText::Other;
}

void Telescope::CommandBlind(std::string_view command, bool raw) {
    ClientCommandSteps steps(*this);
    if (steps.MayBeSent("CommandBlind", command, raw)) {
        exchange_.CommandBlind(command, raw);
        steps.NoteGoto(command, raw);
    }
}

bool Telescope::CommandBool(std::string_view command, bool raw) {
    ClientCommandSteps steps(*this);
    if (!steps.MayBeSent("CommandBool", command, raw)) {
        return false;
    }
    bool good = false;
    if (UntilStopped(procedure::ClientText, [&](Sequence&) { good = exchange_.CommandBool(command, raw); })) {
        steps.NoteGoto(command, raw);
    }
    return good;
}

std::string Telescope::CommandString(std::string_view command, bool raw) {
    if (CommandExchange::IsForDriver(command, raw)) {
        return exchange_.CommandString(command, raw);
    }
    ClientCommandSteps steps(*this);
    if (!steps.MayBeSent("CommandString", command, steps.GoesRaw(raw))) {
        return {};
    }
    std::string reply;
    if (UntilStopped(procedure::ClientText, [&](Sequence&) { reply = exchange_.CommandString(command, raw); })) {
        steps.NoteGoto(command, steps.GoesRaw(raw));
    }
    return reply;
}

}  // namespace kestrane
