#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "forms/frm_hand_box.h"
#include "platform/system_services.h"
#include "settings/persist.h"

namespace kestrane {

enum class SideTool { LogZipper, Jog, Timer, PolarAlignment };

struct SideToolsNeeds {
    Persist& persist;
    Processes& processes;
    Folders& folders;
    MessageBoxes& messageBoxes;
    frmHandBox& handBox;
};

/// Starts the tools that stand beside the driver, and opens pages; nobody waits for them. What cannot be opened is told
/// in a message box. Logic thread only.
class SideTools final {
public:
    explicit SideTools(SideToolsNeeds needs);

    void Start(SideTool tool);
    /// The page from which a person gets a newer driver.
    void OpenDownloadPage();
    void OpenStandardsSite();

private:
    std::string DownloadPage();

    SideToolsNeeds needs_;
};

}  // namespace kestrane
