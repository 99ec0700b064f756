#include "ui/move_commands.h"

#include <utility>

#include "catalogue/wire_commands.h"

namespace kestrane {
namespace {

std::string Framed(const BlindCommand& command, std::string_view argument = "") {
    return command.With(argument).OnTheWire();
}

/// The commands of one kind with the given arguments.
std::vector<std::string> FramedAll(const BlindCommand& command, std::string_view arguments) {
    std::vector<std::string> framed;
    for (const char& argument : arguments) {
        framed.push_back(Framed(command, std::string_view(&argument, 1)));
    }
    return framed;
}

std::vector<std::string> Joined(std::vector<std::string> first, const std::vector<std::string>& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

MoveCommands WithRates(std::vector<std::string> rates) {
    const std::string north = Framed(wire::MoveNorth);
    const std::string south = Framed(wire::MoveSouth);
    const std::string east = Framed(wire::MoveEast);
    const std::string west = Framed(wire::MoveWest);
    const std::string stop = Framed(wire::Stop);
    return MoveCommands{
        .move = {north + west, north, north + east, west, stop + stop, east, south + west, south, south + east},
        .rate = std::move(rates),
        .guide = FramedAll(wire::GuideRate, "0123"),
    };
}

}  // namespace

MoveCommands MoveCommandsOfToldType() {
    return WithRates(FramedAll(wire::CenteringRate, "56701234"));
}

MoveCommands MoveCommandsOfOpenType() {
    return WithRates(Joined(FramedAll(wire::GuideRate, "012"), FramedAll(wire::CenteringRate, "0123")));
}

}  // namespace kestrane
