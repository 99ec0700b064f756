#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace kestrane::local {

/// A socket of the file system at which programs of the same user find this one. While it lives nobody else serves at
/// that path; its end takes the socket's file away.
class PrivateSocket {
public:
    /// `why` says in a sentence why there is none: the folder belongs to somebody else or is open to others, another
    /// process serves at that path, the path is too long. A folder that is missing is made, for this user alone; a file
    /// that a killed process left behind is replaced.
    static std::optional<PrivateSocket> Listen(const std::filesystem::path& path, std::string& why);

    ~PrivateSocket();
    PrivateSocket(PrivateSocket&& other) noexcept;
    PrivateSocket& operator=(PrivateSocket&&) = delete;

    /// The descriptor that listens; whoever takes it closes it.
    int Take();

private:
    PrivateSocket(std::filesystem::path path, int lock, int socket);

    std::filesystem::path path_;
    int lock_ = -1;  ///< -1: none, as for `socket_`
    int socket_ = -1;
};

/// Whether the process at the other end of a connected socket belongs to the user of this one.
bool PeerIsThisUser(int socket);

}  // namespace kestrane::local
