#include "simulator/status_text.h"

#include <algorithm>

namespace kestrane::simulator {
namespace {

char ParkLetter(const MountModel& mount) {
    if (mount.Parked()) {
        return 'P';
    }
    return mount.autoPark ? '1' : '0';
}

char Digit(int index) {
    return static_cast<char>('0' + index);
}

}  // namespace

std::string StatusText(const MountModel& mount) {
    std::string text;
    text += ParkLetter(mount);
    text += static_cast<char>(mount.ShownTracking());
    text += '0';
    text += mount.Slewing() ? 'S' : '0';
    text += "00";
    text += Digit(std::min(mount.rates.guideIndex, 2));
    text += mount.rates.MoveRateLetter();
    text += mount.rates.slewIndex < 0 ? '-' : Digit(mount.rates.slewIndex);
    text += static_cast<char>(mount.pem);
    text += mount.fault;
    text += mount.swappedEastWest ? '1' : '0';
    text += mount.swappedNorthSouth ? '1' : '0';
    text += mount.firmware.rateType;
    return text.substr(0, static_cast<std::size_t>(mount.firmware.statusLength));
}

}  // namespace kestrane::simulator
