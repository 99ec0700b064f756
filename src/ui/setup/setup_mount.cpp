#include "ui/setup/setup_mount.h"

#include <string>
#include <vector>

#include "ui/kept_controls.h"

namespace kestrane {
namespace {

constexpr std::string_view kModelOfNewest = "Larch VTR";

std::vector<std::string> Models() {
    std::vector<std::string> names;
    for (std::int16_t i = 0; !KsMount::GetMountListEntry(i).empty(); ++i) {
        names.emplace_back(KsMount::GetMountListEntry(i));
    }
    return names;
}

}  // namespace

SetupMount::SetupMount(SetupNeeds& needs) : needs_(needs), form_(needs.form) {
    form_.cbxMountType.OnClick([this] { OnModel(); });
    form_.cbxController.OnClick([this] { OnController(); });
}

void SetupMount::Fill() {
    modelBefore_ = needs_.mount.mountType;
    storedModelBefore_ = StoredModel();
    controllerBefore_ = needs_.mount.ControllerType;
    looked_ = false;
    appliedHere_ = 0;
    rateTypeBefore_ = needs_.driver.state.g_sMountRateType;
    storedRateTypeBefore_ = needs_.driver.persist.Read(setting::MountRateType);
    form_.cbxMountType.ListItems(Models());
    form_.cbxMountType.ListIndex(needs_.mount.GetNewMountIndex(static_cast<std::int16_t>(storedModelBefore_)));
    form_.cbxController.ListItems(ControllerNames());
    form_.cbxController.ListIndex(StoredNumber(needs_.driver.persist, setting::Controller));
}

/// The first model for a setting that names none.
Mount_Type SetupMount::StoredModel() const {
    const std::int32_t model = StoredNumber(needs_.driver.persist, AskedLater(setting::MountType));
    const bool isModel = model >= 0 && model <= static_cast<std::int32_t>(Mount_Type::LARCH);
    return isModel ? static_cast<Mount_Type>(model) : Mount_Type::ALDER;
}

Mount_Type SetupMount::ShownModel() const {
    return KsMount::FindMountType(form_.cbxMountType.Text());
}

Controller_Type SetupMount::ShownController() const {
    return static_cast<Controller_Type>(form_.cbxController.ListIndex());
}

void SetupMount::OnModel() {
    if (!form_.IsFilling() && needs_.linkConnected()) {
        return;
    }
    needs_.mount.mountType = ShownModel();
    needs_.controller.ShowCustomSlewBounds();
}

/// The newest controller and its model go together. A connected mount has told what it is, so a choice that comes late
/// has no effect; the same holds below.
void SetupMount::OnController() {
    if (form_.IsFilling() || needs_.linkConnected() || form_.cbxController.ListIndex() < 0) {
        return;
    }
    looked_ = true;
    const std::int16_t modelOfNewest = KsMount::FindMountListEntry(kModelOfNewest);
    const bool isNewest = ShownController() == Controller_Type::VTRKC5;
    const bool hasItsModel = form_.cbxMountType.ListIndex() == modelOfNewest;
    if (isNewest && !hasItsModel) {
        form_.cbxMountType.ListIndex(modelOfNewest);
    } else if (!isNewest && hasItsModel) {
        form_.cbxMountType.ListIndex(modelOfNewest - 1);
    }
    needs_.controller.Apply(ShownController(), 0, 0);
    appliedHere_ = needs_.controller.TimesApplied();
}

/// A mount that was connected while the dialog was open has told its controller, unless its firmware tells nothing of
/// it.
bool SetupMount::MountHasTold() const {
    return needs_.linkConnected() && (!looked_ || needs_.controller.TimesApplied() != appliedHere_);
}

/// A connect has corrected the model while the window was open. It stays: the mount has told it, also where it is
/// connected no more.
bool SetupMount::IsCorrected() const {
    return StoredModel() != storedModelBefore_;
}

void SetupMount::Store() {
    Persist& persist = needs_.driver.persist;
    const bool isCorrected = IsCorrected();
    modelToUse_ = isCorrected ? StoredModel() : ShownModel();
    if (!isCorrected) {
        persist.Write(setting::MountType, std::to_string(static_cast<int>(ShownModel())));
    }
    if (form_.cbxController.ListIndex() >= 0) {
        persist.Write(setting::Controller, std::to_string(form_.cbxController.ListIndex()));
    }
}

void SetupMount::Take() {
    LoadControllerOption(needs_.driver);
    if (MountHasTold()) {
        return;
    }
    if (!needs_.linkConnected()) {
        needs_.mount.mountType = modelToUse_;
    }
    if (form_.cbxController.ListIndex() >= 0) {
        Use(ShownController());
    }
}

void SetupMount::PutBack() {
    needs_.mount.mountType = needs_.linkConnected() || IsCorrected() ? StoredModel() : modelBefore_;
    needs_.controller.ShowCustomSlewBounds();
    if (!MountHasTold()) {
        Use(controllerBefore_);
    }
}

/// After the model, on which the rates depend too.
void SetupMount::Use(Controller_Type controller) {
    if (looked_ || needs_.mount.ControllerType != controller) {
        needs_.controller.Apply(controller, 0, 0);
    }
    if (looked_ && controller == controllerBefore_) {
        PutRatesBack();
    }
}

/// What the mount has told in an earlier run holds still: a controller that was only looked at has put its own rates in
/// its place.
void SetupMount::PutRatesBack() {
    if (needs_.driver.state.g_sMountRateType != rateTypeBefore_) {
        needs_.rates.UpdateMountRates(rateTypeBefore_);
    }
    if (needs_.driver.persist.Read(setting::MountRateType) != storedRateTypeBefore_) {
        needs_.driver.persist.Write(setting::MountRateType, storedRateTypeBefore_);
    }
}

}  // namespace kestrane
