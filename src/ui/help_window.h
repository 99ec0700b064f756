#pragma once

#include <cstdint>
#include <string_view>

#include "forms/frm_hand_box.h"
#include "forms/frm_help.h"

namespace kestrane {

/// The topics of the help; each is a page of `docs/help`, whose name begins with "help-" and the number.
enum class HelpTopic : std::int8_t {
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

struct HelpWindowNeeds {
    frmHandBox& handBox;
    frmHelp& form;
};

/// The logic of the window of the help. It is no modal window: a person reads it beside the one that it tells of. Logic
/// thread only.
class HelpWindow final {
public:
    explicit HelpWindow(HelpWindowNeeds needs);

    /// Shows the window with the topic, also where it shows another one.
    void Open(HelpTopic topic);

private:
    void Load();
    void ShowPage();

    HelpWindowNeeds needs_;
};

}  // namespace kestrane
