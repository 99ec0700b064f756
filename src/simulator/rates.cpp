#include "simulator/rates.h"

#include <array>
#include <cstddef>

namespace kestrane::simulator {
namespace {

struct RateTable {
    char type;                        // as the status string names it; ' ' for families that name none
    std::array<double, 8> centering;  // "RC0" to "RC7"; 0 for none
    std::array<double, 3> slew;       // "RS0" to "RS2"
};

// clang-format off
constexpr std::array kTables{
    RateTable{' ', {12, 64, 600, 1200, 0,    0,    0,   0}, {600, 900,  1200}},
    RateTable{'0', {12, 64, 200, 600,  1200, 0.25, 0.5, 1}, {600, 900,  1200}},
    RateTable{'1', {12, 64, 200, 500,  900,  0.25, 0.5, 1}, {400, 650,  900}},
    RateTable{'2', {12, 64, 200, 400,  600,  0.25, 0.5, 1}, {300, 450,  600}},
    RateTable{'3', {12, 64, 200, 600,  1200, 0.25, 0.5, 1}, {600, 1000, 1800}},
};
// clang-format on
constexpr std::array kGuide{0.25, 0.5, 1.0, 1.0};

const RateTable& TableOf(const Firmware& firmware) {
    for (const RateTable& table : kTables) {
        if (firmware.statusLength >= 14 && table.type == firmware.rateType) {
            return table;
        }
    }
    return kTables.front();
}

template <std::size_t N>
std::optional<double> At(const std::array<double, N>& rates, int index) {
    if (index < 0 || static_cast<std::size_t>(index) >= N || rates[static_cast<std::size_t>(index)] <= 0) {
        return std::nullopt;
    }
    return rates[static_cast<std::size_t>(index)];
}

}  // namespace

std::optional<double> CenteringMultiple(const Firmware& firmware, int index) {
    return At(TableOf(firmware).centering, index);
}

std::optional<double> GuideMultiple(int index) {
    return At(kGuide, index);
}

std::optional<double> SlewMultiple(const Firmware& firmware, int index) {
    return At(TableOf(firmware).slew, index);
}

Tracking Rates::Shown() const {
    if (customDec != 0 || (customRa && *customRa != 0)) {
        return Tracking::Custom;
    }
    return customRa ? Tracking::Sidereal : base;
}

double Rates::HourRate(double hemisphere) const {
    if (customRa) {
        return kSiderealRate * (1 - hemisphere * *customRa);
    }
    switch (base) {
        case Tracking::Lunar:
            return kLunarRate;
        case Tracking::Solar:
            return kSolarRate;
        case Tracking::Stopped:
            return 0;
        case Tracking::Sidereal:
        case Tracking::Custom:
            break;
    }
    return king ? kKingRate : kSiderealRate;
}

char Rates::MoveRateLetter() const {
    constexpr std::array letters{'3', '-', '-', '-', '-', '0', '1', '2'};
    constexpr std::array guideLetters{'0', '1', '2', '2'};
    return movesAtGuide ? guideLetters[static_cast<std::size_t>(guideIndex)]
                        : letters[static_cast<std::size_t>(centeringIndex)];
}

}  // namespace kestrane::simulator
