#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "views/mirror/mirror.h"
#include "views/web/web_view.h"

namespace kestrane::web {

/// The windows of the driver in browsers: each page that is open is a view of the mirror. Must outlive the server of
/// its branches. Logic thread only.
class MirroredPages final {
public:
    MirroredPages(mirror::MirrorNeeds needs, Doors doors, HoldsTelescope holdsTelescope);
    MirroredPages(const MirroredPages&) = delete;
    MirroredPages& operator=(const MirroredPages&) = delete;

    /// For the server.
    std::vector<http::Branch> Branches() { return web_.Branches(); }

    bool AnyIsOpen() const { return mirror_.ViewCount() > 0; }
    /// Tells all pages that the driver ends, and why; the first reason holds.
    void SayEnd(mirror::EndReason reason);
    /// Whether all that was sent is on its way.
    bool AllIsSent() const;

private:
    class Page;
    struct OpenPage {
        std::shared_ptr<Page> page;
        mirror::Mirror::ViewId view = 0;
    };

    void OnOpened(ViewId id, May may);
    void OnReceived(ViewId id, const std::string& text);
    void OnClosed(ViewId id);

    MessagePump& pump_;
    mirror::Mirror mirror_;
    WebView web_;
    std::map<ViewId, OpenPage> pages_;
    bool endSaid_ = false;
};

}  // namespace kestrane::web
