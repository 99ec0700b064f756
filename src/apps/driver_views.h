#pragma once

#include <vector>

#include "apps/desktop_program.h"
#include "kernel/driver.h"
#include "platform/posix/posix_platform.h"
#include "views/local/mirrored_programs.h"
#include "views/mirror/mirror.h"
#include "views/web/mirrored_pages.h"

namespace kestrane {

/// All that shows the windows of a driver: pages in browsers, and programs of its own user at the socket
/// "kestrane/handbox" in `XDG_RUNTIME_DIR`. Where there is no such folder, or another driver serves there, there are
/// pages only. Where `KESTRANE_DESKTOP` is 1 the hand box is shown on the desktop. `platform` and `driver` outlive it;
/// it outlives the server of its branches. Logic thread only.
class DriverViews final {
public:
    DriverViews(PosixPlatform& platform, Driver& driver);

    /// For the server.
    std::vector<http::Branch> Branches() { return pages_.Branches(); }
    /// Whether the driver goes on for one of them without a client.
    bool AnyKeepsDriver() const { return mirror_.AnyKeepsDriver(); }

    /// Tells all views that the driver ends, and why; the first reason holds.
    void SayEnd(mirror::EndReason reason);
    /// Waits until all know it, though not for long. Whatever has not ended the process otherwise was a person.
    void SayGoodbye();

private:
    void ListenForPrograms(Log& log);
    void ShowOnDesktop();

    Clock& clock_;
    mirror::Mirror mirror_;
    web::MirroredPages pages_;
    local::MirroredPrograms programs_;
    DesktopProgram desktop_;
    bool endSaid_ = false;
};

}  // namespace kestrane
