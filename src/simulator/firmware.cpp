#include "simulator/firmware.h"

#include <array>

namespace kestrane::simulator {
namespace {

// clang-format off
constexpr std::array kFamilies{
    //        prefix         GOS  GM     RR,RD  pS     prec   stray  B0-7   $K     pulse  type  G_S
    Firmware{"",             0,   false, false, false, false, false, false, false, 999,   '0',  0},
    Firmware{"C",            0,   false, false, false, false, false, false, false, 999,   '0',  0},
    Firmware{"D",            0,   false, false, true,  false, true,  false, false, 999,   '0',  0},
    Firmware{"E",            0,   false, false, true,  false, false, false, false, 999,   '0',  0},
    Firmware{"E3",           11,  false, false, true,  false, false, false, false, 999,   '0',  0},
    Firmware{"EK",           0,   false, false, true,  false, false, false, false, 999,   '0',  0},
    Firmware{"EK5",          13,  false, false, true,  false, false, false, false, 999,   '0',  0},
    Firmware{"S",            14,  true,  true,  true,  false, false, false, false, 999,   '0',  0},
    Firmware{"U",            14,  true,  true,  true,  false, false, true,  false, 999,   '0',  0},
    Firmware{"VKC4-P01-0",   14,  true,  true,  true,  false, false, true,  true,  99999, '0',  160},
    Firmware{"VKC4",         14,  true,  true,  true,  true,  false, true,  true,  99999, '0',  208},
    Firmware{"VKC5",         14,  true,  true,  true,  true,  false, true,  true,  99999, '3',  301},
};
// clang-format on

}  // namespace

const Firmware& FirmwareFor(std::string_view version) {
    const Firmware* best = &kFamilies.front();
    for (const Firmware& family : kFamilies) {
        if (version.starts_with(family.prefix) && family.prefix.size() >= best->prefix.size()) {
            best = &family;
        }
    }
    return *best;
}

bool IsKnownFirmware(std::string_view version) {
    return !FirmwareFor(version).prefix.empty();
}

}  // namespace kestrane::simulator
