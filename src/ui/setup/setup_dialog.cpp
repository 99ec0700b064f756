#include "ui/setup/setup_dialog.h"

#include <memory>
#include <string>
#include <utility>

#include "kernel/base/application_info.h"

namespace kestrane {

SetupDialog::SetupDialog(SetupNeeds needs)
    : needs_(std::move(needs)),
      form_(needs_.form),
      kept_(form_, needs_.driver.persist, Keeps::WhenStored),
      validation_(needs_),
      link_(needs_, kept_),
      mount_(needs_),
      site_(needs_, validation_),
      options_(needs_, kept_),
      checks_(needs_, site_, validation_),
      tools_(needs_) {
    form_.tmrDifferentVersion.OnTick([this] { OnTick(); });
    form_.btnOK.OnClick([this] { OnOk(); });
    form_.btnCancel.OnClick([this] { form_.Hide(); });
}

bool SetupDialog::ShowModal() {
    if (std::exchange(open_, true)) {
        return false;
    }
    accepted_ = false;
    const std::shared_ptr<void> alsoAfterAnError(nullptr, [this](void*) { Close(); });
    Fill();
    form_.tmrDifferentVersion.Enabled(true);
    needs_.modal.ShowModal(form_);
    return accepted_;
}

void SetupDialog::Close() {
    form_.tmrDifferentVersion.Enabled(false);
    if (!accepted_) {
        ResumeNext errors{needs_.driver.ledger, form_.Name()};
        errors.Step([this] { PutBack(); });
    }
    form_.Unload();
    open_ = false;
}

void SetupDialog::Fill() {
    const FillsForm filling(form_);
    mount_.Fill();
    options_.Fill();
    kept_.Fill();
    link_.Fill();
    site_.Fill();
    tools_.Fill();
    validation_.Clear();
}

/// A client may connect while the window is open.
void SetupDialog::OnTick() {
    link_.ShowWhatMayChange();
    tools_.ShowVersion();
}

/// A press that comes late stores nothing. Another view may close the window or begin an editing during the question.
void SetupDialog::OnOk() {
    const auto mayGoOn = [this] { return form_.Visible() && NoSiteIsEdited(); };
    if (!mayGoOn()) {
        return;
    }
    const bool mayClose = form_.chkUseRCAL.Checked() || needs_.rcalSyncWarning.AskToCloseSetup();
    if (mayClose && mayGoOn() && validation_.AllGood()) {
        Store();
        accepted_ = true;
        form_.Hide();
    }
}

/// Else the person is told.
bool SetupDialog::NoSiteIsEdited() {
    if (site_.IsEdited()) {
        needs_.messageBoxes.Show("Please Save or Cancel Site Settings first!", application::kTitle,
                                 MessageIcon::Information);
    }
    return !site_.IsEdited();
}

/// The place of the hand box belongs to its settings too.
void SetupDialog::Store() {
    Persist& persist = needs_.driver.persist;
    kept_.Store();
    link_.Store();
    mount_.Store();
    site_.Store();
    needs_.handBox.EnsureLoaded();
    persist.Write(setting::FormTop, std::to_string(needs_.handBox.top));
    persist.Write(setting::FormLeft, std::to_string(needs_.handBox.left));
    mount_.Take();
    needs_.panel.UpdateControls();
    needs_.followAlwaysOnTop();
}

void SetupDialog::PutBack() {
    mount_.PutBack();
    site_.PutBack();
}

}  // namespace kestrane
