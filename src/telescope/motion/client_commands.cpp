#include "catalogue/wire_texts.h"
#include "telescope/telescope.h"

/// The commands that clients hand over as texts of their own.
namespace kestrane {
namespace {

/// Whether the text starts a goto, alone or among others.
bool StartsGoto(std::string_view command, bool raw) {
    return wire::StartsGoto(raw ? std::string(command) : ":" + std::string(command) + "#");
}

class ClientCommandSteps : TelescopeSteps {
public:
    using TelescopeSteps::TelescopeSteps;

    bool MayBeSent(std::string_view member, std::string_view command, bool raw);
    void NoteGoto(std::string_view command, bool raw);
};

}  // namespace

/// False for a goto that was asked for before a stop.
bool ClientCommandSteps::MayBeSent(std::string_view member, std::string_view command, bool raw) {
    return !StartsGoto(command, raw) || needs_.door.Permit(member).has_value();
}

/// The answer went to the client, so the goto counts as accepted.
void ClientCommandSteps::NoteGoto(std::string_view command, bool raw) {
    if (StartsGoto(command, raw)) {
        needs_.motion.GotoTaken();
        state_.g_tickGotoTaken = driver_.clock.GetTickCount();
    }
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
    const bool good = exchange_.CommandBool(command, raw);
    steps.NoteGoto(command, raw);
    return good;
}

std::string Telescope::CommandString(std::string_view command, bool raw) {
    ClientCommandSteps steps(*this);
    if (!steps.MayBeSent("CommandString", command, raw)) {
        return {};
    }
    std::string reply = exchange_.CommandString(command, raw);
    steps.NoteGoto(command, raw);
    return reply;
}

}  // namespace kestrane
