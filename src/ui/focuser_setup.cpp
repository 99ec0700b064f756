#include "ui/focuser_setup.h"

#include <algorithm>
#include <limits>
#include <utility>
#include <vector>

#include "kernel/base/application_info.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "platform/port_names.h"
#include "settings/setting_keys.h"

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
    form.OnLoad([this] { Fill(); });
    form.btnCheckPort.OnClick([this] { CheckPort(); });
    form.btnOK.OnClick([this] {
        driver_.persist.Write(setting::Port, needs_.form.cbxPort.Text());
        kept_.Store();
        needs_.form.Hide();
    });
}

void FocuserSetup::ShowModal() {
    if (needs_.form.Visible()) {
        return;
    }
    needs_.modal.ShowModal(needs_.form);
    needs_.form.Unload();
}

void FocuserSetup::Fill() {
    needs_.form.lblVersion.Text("ASCOM V2 Focuser Driver - v" + std::string(application::kDriverVersion));
    FillPorts();
    kept_.Fill();
}

/// The port of the settings is offered also when it has no device: OK must not change it by itself.
void FocuserSetup::FillPorts() {
    std::vector<std::string> names;
    for (const SerialPortEntry& entry : needs_.serialPorts.ListPorts().ports) {
        names.push_back(entry.name);
    }
    const std::string kept = driver_.persist.Read(setting::Port);
    const std::string stored = kept.empty() ? std::string(setting::Port.fallback) : kept;
    auto selected = std::ranges::find(names, stored);
    if (selected == names.end()) {
        selected = names.insert(names.end(), stored);
    }
    const auto index = static_cast<std::int32_t>(selected - names.begin());
    frmSetupFocuser& form = needs_.form;
    form.cbxPort.ListItems(std::move(names));
    form.cbxPort.ListIndex(index);
    const bool connected = needs_.linkConnected();
    form.cbxPort.Enabled(!connected);
    form.btnCheckPort.Enabled(!connected);
}

void FocuserSetup::CheckPort() {
    constexpr std::int32_t kLongest = std::numeric_limits<std::int16_t>::max();
    const auto timeout = static_cast<std::int16_t>(std::min(needs_.readTimeout(), kLongest));
    std::int16_t port = 0;
    TryParseInteger(AfterPortLetters(needs_.form.cbxPort.Text()), port);
    std::string version;
    const bool found = needs_.checkConnection(port, timeout, version);
    if (version.ends_with('#')) {
        version.pop_back();
    }
    needs_.messageBoxes.Show(found ? "Mount found! Firmware Rev: " + version : "Mount not found!", application::kTitle,
                             MessageIcon::Information);
}

}  // namespace kestrane
