#include "ui/focuser_setup.h"

#include <string>
#include <utility>

#include "kernel/base/application_info.h"
#include "settings/setting_keys.h"
#include "ui/port_list.h"

namespace kestrane {
namespace {

/// Intentional: not the default of the setting, which is 1.
constexpr std::string_view kStepMultiplierWhenEmpty = "10";

}  // namespace

FocuserSetup::FocuserSetup(FocuserSetupNeeds needs)
    : needs_(std::move(needs)), driver_(needs_.driver), kept_(needs_.form, driver_.persist, Keeps::WhenStored) {
    frmSetupFocuser& form = needs_.form;
    kept_.Add(KeptText{.control = form.txtBacklashMSecs,
                       .key = setting::Focus_txtBacklashMSecs,
                       .whenEmpty = setting::Focus_txtBacklashMSecs.fallback});
    kept_.Add(KeptText{.control = form.txtMaxIncrementMSecs,
                       .key = setting::Focus_txtMaxIncrementMSecs,
                       .whenEmpty = setting::Focus_txtMaxIncrementMSecs.fallback});
    kept_.Add(KeptText{.control = form.txtStepMultiplierMSecs,
                       .key = setting::Focus_txtStepMultiplierMSecs,
                       .whenEmpty = kStepMultiplierWhenEmpty});
    kept_.Add(KeptCheck{form.chkReverseFocusDirection, setting::Focus_chkReverseFocusDirection});
    kept_.Add(KeptOption{form.radFocusFast, form.radFocusSlow, setting::Focus_radFocusFast});
    kept_.Add(KeptOption{form.radFocusFinalDirectionIn, form.radFocusFinalDirectionOut,
                         setting::Focus_radFocusFinalDirectionIn});
    form.tmrLink.OnTick([this] { ShowWhatMayChange(); });
    form.btnCheckPort.OnClick([this] { CheckPort(); });
    form.btnOK.OnClick([this] { OnOk(); });
}

void FocuserSetup::ShowModal() {
    if (needs_.form.IsInUse()) {
        return;
    }
    Fill();
    needs_.form.tmrLink.Enabled(true);
    needs_.modal.ShowModal(needs_.form);
    needs_.form.tmrLink.Enabled(false);
    needs_.form.Unload();
}

void FocuserSetup::Fill() {
    needs_.form.lblVersion.Text("ASCOM V2 Focuser Driver - v" + std::string(application::kDriverVersion));
    FillPorts(needs_.form.cbxPort, needs_.serialPorts, driver_.persist);
    kept_.Fill();
    ShowWhatMayChange();
}

/// A press that comes late, from a view that still shows the window, stores nothing.
void FocuserSetup::OnOk() {
    if (needs_.form.Visible()) {
        driver_.persist.Write(setting::Port, needs_.form.cbxPort.Text());
        kept_.Store();
        needs_.form.Hide();
    }
}

/// A client may connect while the window is open.
void FocuserSetup::ShowWhatMayChange() {
    frmSetupFocuser& form = needs_.form;
    const bool connected = needs_.linkConnected();
    form.cbxPort.Enabled(!connected);
    form.btnCheckPort.Enabled(!connected);
}

void FocuserSetup::CheckPort() {
    std::string version;
    const bool found = needs_.portCheck.Find(needs_.form.cbxPort.Text(), version);
    needs_.messageBoxes.Show(CheckResultText(found, std::move(version)), application::kTitle, MessageIcon::Information);
}

}  // namespace kestrane
