#include "support/small_disk.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace kestrane {
namespace {

constexpr const char* kSize = "size=4m";

std::string Words(const char* what) {
    return std::string(what) + ": " + std::generic_category().message(errno);
}

/// Mounts of this process are its own from the first call on. Empty, or why that is not permitted.
const std::string& OwnMounts() {
    static const std::string whyNot = [] {
        if (::unshare(CLONE_NEWNS) != 0) {
            return Words("unshare");
        }
        return ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 ? std::string() : Words("mount /");
    }();
    return whyNot;
}

std::filesystem::path Filler(const std::filesystem::path& folder) {
    return folder / "filler";
}

}  // namespace

SmallDisk::SmallDisk(std::filesystem::path folder) : folder_(std::move(folder)), whyNot_(OwnMounts()) {
    if (whyNot_.empty() && ::mount("tmpfs", folder_.c_str(), "tmpfs", 0, kSize) != 0) {
        whyNot_ = Words("mount");
    }
}

SmallDisk::~SmallDisk() {
    if (Mounted()) {
        ::umount2(folder_.c_str(), MNT_DETACH);
    }
}

void SmallDisk::Fill() const {
    const int file = ::open(Filler(folder_).c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    const std::array<char, 4096> block{};
    while (::write(file, block.data(), block.size()) > 0) {
    }
    ::close(file);
}

void SmallDisk::MakeRoom() const {
    std::filesystem::remove(Filler(folder_));
}

void SmallDisk::MakeRoom(std::uintmax_t bytes) const {
    std::filesystem::resize_file(Filler(folder_), std::filesystem::file_size(Filler(folder_)) - bytes);
}

void SmallDisk::ReadOnly(bool readOnly) const {
    const unsigned long flags = readOnly ? MS_REMOUNT | MS_RDONLY : MS_REMOUNT;
    if (::mount("tmpfs", folder_.c_str(), "tmpfs", flags, kSize) != 0) {
        throw std::system_error(errno, std::generic_category(), "remount");
    }
}

}  // namespace kestrane
