#include "process/heard_by_mount.h"

#include <sstream>
#include <string_view>
#include <vector>

#include "process/night_log.h"

namespace kestrane::process {
namespace {

struct HeardText {
    int time = 0;  ///< millisecond of the day
    std::string bytes;
};

std::vector<HeardText> HeardTexts(const Program& mount) {
    static constexpr std::string_view kToMount = " > ";
    static constexpr std::size_t kTimeWidth = 12;
    std::istringstream lines(mount.Errors());
    std::vector<HeardText> texts;
    for (std::string line; std::getline(lines, line);) {
        if (line.size() > kTimeWidth && std::string_view(line).substr(kTimeWidth).starts_with(kToMount)) {
            texts.push_back({MillisecondOfDay(line), line.substr(kTimeWidth + kToMount.size())});
        }
    }
    return texts;
}

}  // namespace

std::string HeardBy(const Program& mount) {
    std::string heard;
    for (const HeardText& text : HeardTexts(mount)) {
        heard += text.bytes;
    }
    return heard;
}

int WhenHeard(const Program& mount, const std::string& bytes) {
    for (const HeardText& text : HeardTexts(mount)) {
        if (text.bytes.find(bytes) != std::string::npos) {
            return text.time;
        }
    }
    return -1;
}

std::string AsTheMountShows(const std::string& wire) {
    std::string shown;
    for (const char byte : wire) {
        shown += byte == '\x05' ? "\\x05" : std::string(1, byte);
    }
    return shown;
}

}  // namespace kestrane::process
