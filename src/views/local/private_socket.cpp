#include "views/local/private_socket.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

namespace kestrane::local {
namespace {

constexpr mode_t kForUserAlone = S_IRWXU;
constexpr int kWaiting = 4;  ///< views that may wait to be accepted

std::string Reason(const std::string& what) {
    return what + ": " + std::strerror(errno);
}

/// Empty where the folder is there and nobody else gets into it.
std::string WhyNotPrivate(const std::filesystem::path& folder) {
    if (::mkdir(folder.c_str(), kForUserAlone) != 0 && errno != EEXIST) {
        return Reason(folder.string());
    }
    struct stat found {};
    if (::lstat(folder.c_str(), &found) != 0) {
        return Reason(folder.string());
    }
    const bool isPrivate = S_ISDIR(found.st_mode) && found.st_uid == ::geteuid() && (found.st_mode & 077U) == 0;
    return isPrivate ? "" : folder.string() + " is not a folder of this user alone";
}

int BoundSocket(const std::filesystem::path& path) {
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::ranges::copy(path.native(), address.sun_path);
    if (socket >= 0 && ::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0 &&
        ::listen(socket, kWaiting) == 0) {
        return socket;
    }
    const int error = errno;
    ::close(socket);
    errno = error;
    return -1;
}

}  // namespace

std::optional<PrivateSocket> PrivateSocket::Listen(const std::filesystem::path& path, std::string& why) {
    if (path.native().size() >= sizeof(sockaddr_un::sun_path)) {
        why = path.string() + " is too long for the name of a socket";
        return std::nullopt;
    }
    why = WhyNotPrivate(path.parent_path());
    if (!why.empty()) {
        return std::nullopt;
    }
    const std::string lockFile = path.string() + ".lock";
    const int lock = ::open(lockFile.c_str(), O_CREAT | O_RDWR | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR);
    if (lock < 0) {
        why = Reason(lockFile);
        return std::nullopt;
    }
    if (::flock(lock, LOCK_EX | LOCK_NB) != 0) {
        why = "another process serves at " + path.string();
        ::close(lock);
        return std::nullopt;
    }
    ::unlink(path.c_str());  // whoever made it holds no lock any more
    const int socket = BoundSocket(path);
    if (socket < 0) {
        why = Reason(path.string());
        ::close(lock);
        return std::nullopt;
    }
    return PrivateSocket(path, lock, socket);
}

PrivateSocket::PrivateSocket(std::filesystem::path path, int lock, int socket)
    : path_(std::move(path)), lock_(lock), socket_(socket) {}

PrivateSocket::PrivateSocket(PrivateSocket&& other) noexcept
    : path_(std::move(other.path_)), lock_(std::exchange(other.lock_, -1)), socket_(std::exchange(other.socket_, -1)) {}

PrivateSocket::~PrivateSocket() {
    if (socket_ >= 0) {
        ::close(socket_);
    }
    if (lock_ >= 0) {
        ::unlink(path_.c_str());
        ::close(lock_);
    }
}

int PrivateSocket::Take() {
    return std::exchange(socket_, -1);
}

bool PeerIsThisUser(int socket) {
    ucred peer{};
    socklen_t size = sizeof(peer);
    return ::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == ::geteuid();
}

}  // namespace kestrane::local
