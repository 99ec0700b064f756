#include "simulator/mount_exchange.h"

#include <algorithm>
#include <limits>

namespace kestrane::simulator {

std::optional<std::string> AskMount(MountSimulator& mount, Clock& clock, std::string_view bytes, std::int32_t limitMs) {
    const Tick start = clock.GetTickCount();
    mount.Write(bytes);
    std::string heard;
    for (;;) {
        heard += mount.Read(std::numeric_limits<std::size_t>::max());
        const std::optional<std::int32_t> next = mount.NextByteIn();
        if (!next) {
            return heard;
        }
        const std::int32_t left = limitMs - (clock.GetTickCount() - start);
        if (*next > left || left <= 0) {
            clock.Sleep(std::max(left, 0));
            return std::nullopt;
        }
        clock.Sleep(std::max(*next, 1));
    }
}

std::string Framed(std::string_view command) {
    if (command == "#") {
        return "#";
    }
    return (command.starts_with('$') ? "" : ":") + std::string(command) + "#";
}

}  // namespace kestrane::simulator
