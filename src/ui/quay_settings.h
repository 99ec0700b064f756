#pragma once

#include "forms/frm_quay_settings.h"
#include "forms/modal.h"
#include "state/companion_channel.h"

namespace kestrane {

struct QuaySettingsNeeds {
    SwallowLedger& ledger;
    Modal& modal;
    CompanionChannel& channel;
    frmQuaySettings& form;
};

/// The logic of the window with the companion's corrections. Logic thread only.
class QuaySettings {
public:
    explicit QuaySettings(QuaySettingsNeeds needs);

    /// Asks the companion what is on, shows it and pumps until the window is closed; a click of a person switches at
    /// once. Without a companion nothing is sent, and nothing can be switched. Does nothing while the window is open.
    void ShowModal();

private:
    void Fill();
    void Connect(CheckBox& box, Correction correction);

    QuaySettingsNeeds needs_;
};

}  // namespace kestrane
