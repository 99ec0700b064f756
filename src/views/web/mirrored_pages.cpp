#include "views/web/mirrored_pages.h"

#include <utility>

namespace kestrane::web {

MirroredPages::MirroredPages(MessagePump& pump, mirror::Mirror& mirror, Doors doors, HoldsTelescope holdsTelescope)
    : views_(pump, mirror,
             {
                 .send = [this](ViewId id, std::string text) { web_.Send(id, std::move(text)); },
                 .unsent = [this](ViewId id) { return web_.Unsent(id); },
                 .close = [this](ViewId id) { web_.Close(id); },
             }),
      web_({
          .pump = pump,
          .doors = doors,
          .opened = [this](ViewId id,
                           May may) { views_.Opened(id, may == May::All ? mirror::May::All : mirror::May::OnlyStop); },
          .received = [this](ViewId id, const std::string& text) { views_.Received(id, text); },
          .closed = [this](ViewId id) { views_.Closed(id); },
          .tick = [&mirror] { mirror.Tick(); },
          .stop = [&mirror](std::function<void()> done) { mirror.Stop(std::move(done)); },
          .holdsTelescope = std::move(holdsTelescope),
      }) {
    static_assert(WebView::kTickMs == mirror::Mirror::kBatchMs);
}

}  // namespace kestrane::web
