#include "kernel/open_motion_file.h"

#include <fstream>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace kestrane {
namespace {

constexpr std::string_view kMountWord = "mount";
constexpr std::string_view kFocuserWord = "focuser";

}  // namespace

OpenMotion OpenMotionFile::Left() const {
    std::ifstream file(file_);
    OpenMotion left;
    for (std::string word; file >> word;) {
        left.mount |= word == kMountWord;
        left.focuser |= word == kFocuserWord;
    }
    return left;
}

void OpenMotionFile::Note(OpenMotion open) {
    if (open == noted_) {
        return;
    }
    noted_ = open;
    std::error_code failure;
    if (!open.Any()) {
        std::filesystem::remove(file_, failure);
        return;
    }
    std::filesystem::create_directories(file_.parent_path(), failure);
    std::ofstream file(file_, std::ios::trunc);
    file << (open.mount ? kMountWord : "") << "\n" << (open.focuser ? kFocuserWord : "") << "\n";
    if (!file.flush() && !std::exchange(failureLogged_, true)) {
        log_.LogMessage(
            "Motion", LogLevel::Warning,
            "The file for open motions cannot be written; after a crash nothing would be stopped: " + file_.string());
    }
}

}  // namespace kestrane
