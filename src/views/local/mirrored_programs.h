#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "views/local/local_socket.h"
#include "views/local/private_socket.h"
#include "views/mirror/carried_views.h"

namespace kestrane::local {

/// The windows of the driver in programs of its own user on this machine: each that is connected is a view of the
/// mirror, which outlives this object. Logic thread only.
class MirroredPrograms final {
public:
    MirroredPrograms(MessagePump& pump, mirror::Mirror& mirror);
    MirroredPrograms(const MirroredPrograms&) = delete;
    MirroredPrograms& operator=(const MirroredPrograms&) = delete;

    /// Lets programs connect at that path; see `PrivateSocket`. Returns why not, or nothing. To be called once.
    std::string Listen(const std::filesystem::path& path);

    /// A program at the other end of this connected socket is a view from now on.
    void Adopt(int socket) { socket_.Adopt(socket); }

    /// Whether all that was sent is on its way.
    bool AllIsSent() const { return views_.AllIsSent(); }

private:
    mirror::CarriedViews views_;
    std::optional<PrivateSocket> door_;
    LocalSocket socket_;
};

}  // namespace kestrane::local
