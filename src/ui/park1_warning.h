#pragma once

#include "forms/frm_park1_warning.h"
#include "forms/modal.h"
#include "settings/persist.h"

namespace kestrane {

/// The logic of the warning about "Park 1". Logic thread only.
class Park1Warning {
public:
    Park1Warning(frmPark1Warning& form, Modal& modal, Persist& persist);

    /// Shows it and pumps until it is closed, unless a person has said never to show it again; then keeps whether that
    /// was said now. Nothing while it is open.
    void Show();

private:
    frmPark1Warning& form_;
    Modal& modal_;
    Persist& persist_;
};

}  // namespace kestrane
