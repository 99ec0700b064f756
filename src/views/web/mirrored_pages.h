#pragma once

#include <string>
#include <vector>

#include "views/mirror/carried_views.h"
#include "views/web/web_view.h"

namespace kestrane::web {

/// The windows of the driver in browsers: each page that is open is a view of the mirror, which outlives this object.
/// Must outlive the server of its branches. Logic thread only.
class MirroredPages final {
public:
    MirroredPages(MessagePump& pump, mirror::Mirror& mirror, Doors doors, HoldsTelescope holdsTelescope);
    MirroredPages(const MirroredPages&) = delete;
    MirroredPages& operator=(const MirroredPages&) = delete;

    /// For the server.
    std::vector<http::Branch> Branches() { return web_.Branches(); }

    /// Whether all that was sent is on its way.
    bool AllIsSent() const { return views_.AllIsSent(); }

private:
    mirror::CarriedViews views_;
    WebView web_;
};

}  // namespace kestrane::web
