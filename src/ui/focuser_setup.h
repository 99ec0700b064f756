#pragma once

#include <functional>

#include "forms/frm_setup_focuser.h"
#include "forms/modal.h"
#include "platform/serial_port.h"
#include "platform/system_services.h"
#include "settings/persist.h"
#include "state/essentials.h"
#include "ui/kept_controls.h"
#include "ui/port_check.h"

namespace kestrane {

struct FocuserSetupNeeds {
    Essentials driver;
    Modal& modal;
    MessageBoxes& messageBoxes;
    SerialPorts& serialPorts;
    frmSetupFocuser& form;
    std::function<bool()> linkConnected;
    const PortCheck& portCheck;
};

/// The logic of the setup window of the focuser. Logic thread only.
class FocuserSetup {
public:
    explicit FocuserSetup(FocuserSetupNeeds needs);

    /// Shows the window with the values of the settings and pumps until it is closed. Only its OK stores what it shows,
    /// unchecked: a text that is no number reads as 0 later.
    void ShowModal();

private:
    void Fill();
    void OnOk();
    void ShowWhatMayChange();
    void CheckPort();

    FocuserSetupNeeds needs_;
    Essentials driver_;
    KeptControls kept_;
};

}  // namespace kestrane
