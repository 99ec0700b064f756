#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "forms/frm_hand_box.h"
#include "platform/system_services.h"
#include "settings/persist.h"

namespace kestrane {

enum class SideTool { LogZipper, Jog, Timer, PolarAlignment };

/// The topics of the help; each is a page of `docs/help`, whose name begins with "help-" and the number.
enum class HelpTopic {
    ParkAndUnpark = 1,
    Setup = 2,
    Focuser = 3,
    Sites = 4,
    MountInitialization = 5,
    Goto = 6,
    Status = 7,
};

/// The file of a topic's page: "help-1-park-and-unpark.html".
std::string_view HelpPage(HelpTopic topic);

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
    void OpenHelp(HelpTopic topic);
    /// The page from which a person gets a newer driver.
    void OpenDownloadPage();
    void OpenStandardsSite();

private:
    std::string DownloadPage();
    bool OpenWithDesktop(std::string_view what);

    SideToolsNeeds needs_;
};

}  // namespace kestrane
