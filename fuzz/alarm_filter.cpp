// What the mount, or noise on the line, may send as a reply: the letters that count as alarms.

#include <array>

#include "kernel/base/counters.h"
#include "support.h"

namespace {

using namespace kestrane;
using fuzz::Require;

class CountedActions final : public AlarmActions {
public:
    void ShowLowPower() override { ++shown; }
    std::int32_t shown = 0;
};

class CountedView final : public CounterView {
public:
    void UpdateErrorCounts() override { ++updates; }
    std::int32_t updates = 0;
};

/// `text` without the first of each alarm letter, by one walk over its characters.
std::string WithoutAlarms(std::string_view text, std::array<std::int32_t, 3>& taken) {
    constexpr std::string_view kLetters = "XYZ";
    std::string rest;
    for (const char c : text) {
        const std::size_t letter = kLetters.find(c);
        if (letter != std::string_view::npos && taken[letter] == 0) {
            taken[letter] = 1;
        } else {
            rest += c;
        }
    }
    return rest;
}

/// `RemoveChar` at each position of a short text and outside it.
void CheckRemoveChar(std::string_view text) {
    for (std::size_t position = 0; position <= text.size() + 1; ++position) {
        std::string expected;
        for (std::size_t i = 0; i < text.size() && position >= 1 && position <= text.size(); ++i) {
            if (i + 1 != position) {
                expected += text[i];
            }
        }
        Require(RemoveChar(text, position) == expected, "RemoveChar takes the character at its position, no other");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static fuzz::KeptLog kept;
    kept.messages.clear();
    CounterState state;
    Counters counters(state, kept.log);
    CountedView view;
    counters.SetView(&view);
    CountedActions actions;
    AlarmFilter filter(counters);
    filter.SetActions(&actions);

    const std::string_view text = fuzz::TextOf(data, size);
    std::array<std::int32_t, 3> taken{};
    const std::string expected = WithoutAlarms(text, taken);
    std::string reply(text);
    const std::string returned = filter.FilterAlarms(reply);
    Require(returned == expected, "the first of each letter goes, all else stays in its order");
    Require(reply == returned, "the reply itself is changed");
    Require(state.g_nServoFaults == taken[0] && state.g_nLowPower == taken[1] && state.g_nMotorStalls == taken[2],
            "each letter is counted once, by its own counter");
    Require(state.g_nRetransmits == 0 && state.g_nReceiveCountedErrors == 0 && state.g_nReceiveTerminatedErrors == 0,
            "no other counter moves");
    Require(actions.shown == taken[1], "low power is shown when it is counted");
    const std::int32_t alarms = taken[0] + taken[1] + taken[2];
    Require(view.updates == alarms && static_cast<std::int32_t>(kept.messages.size()) == alarms,
            "each count is shown and logged");
    constexpr std::size_t kShort = 40;
    CheckRemoveChar(text.substr(0, kShort));
    return 0;
}
