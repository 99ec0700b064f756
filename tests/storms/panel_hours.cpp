// Runs hours in which two persons use whatever control they see, and prints what went wrong:
//
//     panel_hours [HOURS [FIRST SEED]]   500 hours when not given, from seed 1
//     panel_hours --hour SEED            one hour, with what was done before anything went wrong
//
// Exit status 1 when anything went wrong.
#include <cstdlib>
#include <iostream>
#include <string_view>

#include "storms/panel_hour.h"

namespace {

using kestrane::PanelHour;

constexpr int kHours = 500;

int RunOne(std::uint32_t seed) {
    PanelHour hour({.seed = seed, .tail = &std::cout});
    return hour.Run().empty() ? 0 : 1;
}

int RunAll(int hours, int first) {
    int wrong = 0;
    int uses = 0;
    int holds = 0;
    int rests = 0;
    for (int seed = first; seed < first + hours; ++seed) {
        PanelHour hour({.seed = static_cast<std::uint32_t>(seed)});
        const auto notes = hour.Run();
        uses += hour.Uses();
        holds += hour.Holds();
        rests += hour.Rests();
        wrong += notes.empty() ? 0 : 1;
        for (const std::string& note : notes) {
            std::cout << note << std::endl;
        }
    }
    std::cout << hours << " hours from seed " << first << ": " << uses << " uses of controls, " << holds
              << " moves of the pad, " << rests << " rests, " << wrong << " hours with a fault\n";
    return wrong == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    const auto number = [&](int index, int otherwise) { return argc > index ? std::atoi(argv[index]) : otherwise; };
    if (argc > 2 && std::string_view(argv[1]) == "--hour") {
        return RunOne(static_cast<std::uint32_t>(number(2, 1)));
    }
    return RunAll(number(1, kHours), number(2, 1));
}
