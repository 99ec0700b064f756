#pragma once

#include <cstdint>
#include <string>

#include "ui/setup/setup_needs.h"

namespace kestrane {

/// Model and controller in the setup dialog. A choice holds at once, so that the dialog offers what goes with it; it is
/// stored or taken back at the end. Logic thread only.
class SetupMount {
public:
    explicit SetupMount(SetupNeeds& needs);

    void Fill();
    void Store();
    /// After storing: the driver works with what is shown.
    void Take();
    /// Back to what was in use before `Fill`.
    void PutBack();

private:
    bool MountHasTold() const;
    bool IsCorrected() const;
    Mount_Type StoredModel() const;
    Mount_Type ShownModel() const;
    Controller_Type ShownController() const;
    void OnModel();
    void OnController();
    void Use(Controller_Type controller);
    void PutRatesBack();

    SetupNeeds& needs_;
    frmInitialSetup& form_;
    Mount_Type modelBefore_{};
    Mount_Type storedModelBefore_{};
    Mount_Type modelToUse_{};  ///< once stored
    Controller_Type controllerBefore_{};
    std::uint32_t appliedHere_ = 0;  ///< how often a controller had been applied after the last choice in the window
    bool looked_ = false;            ///< a controller was chosen in the window, and may have changed the rates
    std::string rateTypeBefore_;
    std::string storedRateTypeBefore_;
};

}  // namespace kestrane
