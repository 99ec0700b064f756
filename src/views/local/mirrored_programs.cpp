#include "views/local/mirrored_programs.h"

#include <utility>

namespace kestrane::local {

MirroredPrograms::MirroredPrograms(MessagePump& pump, mirror::Mirror& mirror)
    : views_(pump, mirror,
             {
                 .send = [this](ViewId id, std::string text) { socket_.Send(id, std::move(text)); },
                 .unsent = [this](ViewId id) { return socket_.Unsent(id); },
                 .close = [this](ViewId id) { socket_.Close(id); },
             }),
      socket_({
          .pump = pump,
          .opened = [this](ViewId id) { views_.Opened(id, mirror::May::All, mirror::Keeps::Nothing); },
          .received = [this](ViewId id, const std::string& text) { views_.Received(id, text); },
          .closed = [this](ViewId id) { views_.Closed(id); },
          .tick = [&mirror] { mirror.Tick(); },
      }) {
    static_assert(LocalSocket::kTickMs == mirror::Mirror::kBatchMs);
}

std::string MirroredPrograms::Listen(const std::filesystem::path& path) {
    std::string why;
    std::optional<PrivateSocket> door = PrivateSocket::Listen(path, why);
    if (door) {
        socket_.Listen(door->Take());
        door_.emplace(std::move(*door));
    }
    return why;
}

}  // namespace kestrane::local
