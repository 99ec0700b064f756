#include "process/silent_port.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <system_error>
#include <unistd.h>

namespace kestrane::process {

SilentPort::SilentPort(const std::filesystem::path& link) : master_(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
    std::array<char, 128> name{};
    if (master_ < 0 || ::grantpt(master_) != 0 || ::unlockpt(master_) != 0 ||
        ::ptsname_r(master_, name.data(), name.size()) != 0) {
        throw std::system_error(errno, std::generic_category(), "pseudo-terminal");
    }
    std::filesystem::create_directories(link.parent_path());
    std::filesystem::create_symlink(name.data(), link);
}

SilentPort::~SilentPort() {
    ::close(master_);
}

bool SilentPort::HearsSomething(Seconds limit) const {
    return WaitUntil(limit, [this] {
        pollfd line{master_, POLLIN, 0};
        return ::poll(&line, 1, 0) > 0 && (line.revents & POLLIN) != 0;
    });
}

void SilentPort::Answer(std::string_view reply) const {
    std::array<char, 1024> heard{};
    if (::read(master_, heard.data(), heard.size()) < 0 || ::write(master_, reply.data(), reply.size()) < 0) {
        throw std::system_error(errno, std::generic_category(), "pseudo-terminal");
    }
}

}  // namespace kestrane::process
