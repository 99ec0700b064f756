#include "ui/move_commands.h"

#include "catalogue/wire_commands.h"

namespace kestrane {
namespace {

std::string Frame(const BlindCommand& command, std::string_view argument = "") {
    return command.With(argument).OnTheWire();
}

/// The commands of one kind with the given arguments.
std::vector<std::string> FrameAll(const BlindCommand& command, std::string_view arguments) {
    std::vector<std::string> framed;
    for (const char& argument : arguments) {
        framed.push_back(Frame(command, std::string_view(&argument, 1)));
    }
    return framed;
}

std::vector<std::string> Joined(std::vector<std::string> first, const std::vector<std::string>& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

}  // namespace

MoveCommands LoadMoveCommands(bool rateTypeOpen) {
    const std::string north = Frame(wire::MoveNorth);
    const std::string south = Frame(wire::MoveSouth);
    const std::string east = Frame(wire::MoveEast);
    const std::string west = Frame(wire::MoveWest);
    const std::string stop = Frame(wire::Stop);
    return MoveCommands{
        .move = {north + west, north, north + east, west, stop + stop, east, south + west, south, south + east},
        .rate = rateTypeOpen ? Joined(FrameAll(wire::GuideRate, "012"), FrameAll(wire::CenteringRate, "0123"))
                             : FrameAll(wire::CenteringRate, "56701234"),
        .guide = FrameAll(wire::GuideRate, "0123"),
    };
}

}  // namespace kestrane
