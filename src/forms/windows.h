#pragma once

#include <array>

#include "forms/frm_ask_abort_slew.h"
#include "forms/frm_ask_and_warn_parked.h"
#include "forms/frm_ask_custom_park_ok.h"
#include "forms/frm_ask_goto_ra_dec.h"
#include "forms/frm_ask_gto_alt_az.h"
#include "forms/frm_ask_park.h"
#include "forms/frm_ask_swap_ewns.h"
#include "forms/frm_ask_unpark.h"
#include "forms/frm_ask_user_close_driver.h"
#include "forms/frm_clients.h"
#include "forms/frm_hand_box.h"
#include "forms/frm_help.h"
#include "forms/frm_init_mount.h"
#include "forms/frm_initial_setup.h"
#include "forms/frm_log_window.h"
#include "forms/frm_message.h"
#include "forms/frm_park1_warning.h"
#include "forms/frm_quay_settings.h"
#include "forms/frm_rcal_sync_warning.h"
#include "forms/frm_setup_focuser.h"
#include "forms/frm_sky.h"
#include "forms/frm_status.h"

namespace kestrane {

/// All windows of the driver. It owns them, and each lives as long as it does, loaded or not. `pump` outlives it. Logic
/// thread only.
class Windows {
public:
    explicit Windows(MessagePump& pump)
        : handBox(pump),
          statusWindow(pump),
          initialSetup(pump),
          setupFocuser(pump),
          rcalSyncWarning(pump),
          askPark(pump),
          askCustomParkOK(pump),
          askGotoRaDec(pump),
          clients(pump),
          sky(pump) {}

    frmHandBox handBox;
    frmStatus statusWindow;
    frmLogWindow logWindow;
    frmInitialSetup initialSetup;
    frmInitMount initMount;
    frmSetupFocuser setupFocuser;
    frmQuaySettings quaySettings;
    frmRcalSyncWarning rcalSyncWarning;
    frmAskAbortSlew askAbortSlew;
    frmAskUnpark askUnpark;
    frmAskPark askPark;
    frmAskSwapEWNS askSwapEWNS;
    frmAskCustomParkOK askCustomParkOK;
    frmAskAndWarnParked askAndWarnParked;
    frmAskUserCloseDriver askUserCloseDriver;
    frmPark1Warning park1Warning;
    frmAskGotoRaDec askGotoRaDec;
    frmAskGtoAltAz askGtoAltAz;
    frmMessage message;
    frmAskMessage askMessage;
    frmClients clients;
    frmHelp help;
    frmSky sky;  ///< never visible

    /// In the order in which they were made.
    auto All() {
        return std::to_array<Form*>({&handBox,
                                     &statusWindow,
                                     &logWindow,
                                     &initialSetup,
                                     &initMount,
                                     &setupFocuser,
                                     &quaySettings,
                                     &rcalSyncWarning,
                                     &askAbortSlew,
                                     &askUnpark,
                                     &askPark,
                                     &askSwapEWNS,
                                     &askCustomParkOK,
                                     &askAndWarnParked,
                                     &askUserCloseDriver,
                                     &park1Warning,
                                     &askGotoRaDec,
                                     &askGtoAltAz,
                                     &message,
                                     &askMessage,
                                     &clients,
                                     &help,
                                     &sky});
    }

    /// What the end of the driver does to the windows. It unloads the following ones that are loaded, in this order:
    /// the hand box, the setup, the setup of the focuser, the warning about syncs and the log window. All others
    /// follow, which cancels what somebody waits for; but the status window and the question about a slew stay as they
    /// are and end with the process. Nothing loads a window any more.
    void UnloadAtShutdown() {
        for (Form* form :
             std::to_array<Form*>({&handBox, &initialSetup, &setupFocuser, &rcalSyncWarning, &logWindow})) {
            form->Unload();
        }
        for (Form* form : All()) {
            if (form != &statusWindow && form != &askAbortSlew) {
                form->Unload();
            }
        }
        for (Form* form : All()) {
            form->LoadNoMore();
        }
    }
};

}  // namespace kestrane
