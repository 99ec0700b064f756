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

FocuserSetup::FocuserSetup(FocuserSetupNeeds needs) : needs_(std::move(needs)), driver_(needs_.driver) {
    needs_.form.OnLoad([this] { Fill(); });
    needs_.form.btnCheckPort.OnClick([this] { CheckPort(); });
    needs_.form.btnOK.OnClick([this] {
        Store();
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

std::string FocuserSetup::Stored(const SettingKey& key) {
    const std::string text = driver_.persist.Read(key);
    return text.empty() ? std::string(key.fallback) : text;
}

void FocuserSetup::Fill() {
    frmSetupFocuser& form = needs_.form;
    form.lblVersion.Text("ASCOM V2 Focuser Driver - v" + std::string(application::kDriverVersion));
    FillPorts();
    const bool fast = Stored(setting::Focus_radFocusFast) == "True";
    (fast ? form.radFocusFast : form.radFocusSlow).Checked(true);
    const bool endsInward = Stored(setting::Focus_radFocusFinalDirectionIn) == "True";
    (endsInward ? form.radFocusFinalDirectionIn : form.radFocusFinalDirectionOut).Checked(true);
    form.txtBacklashMSecs.Text(Stored(setting::Focus_txtBacklashMSecs));
    form.txtMaxIncrementMSecs.Text(Stored(setting::Focus_txtMaxIncrementMSecs));
    const std::string multiplier = driver_.persist.Read(setting::Focus_txtStepMultiplierMSecs);
    form.txtStepMultiplierMSecs.Text(multiplier.empty() ? kStepMultiplierWhenEmpty : multiplier);
    form.chkReverseFocusDirection.Checked(driver_.persist.ReadFlag(setting::Focus_chkReverseFocusDirection));
}

/// The port of the settings is offered also when it has no device: OK must not change it by itself.
void FocuserSetup::FillPorts() {
    std::vector<std::string> names;
    for (const SerialPortEntry& entry : needs_.serialPorts.ListPorts().ports) {
        names.push_back(entry.name);
    }
    const std::string stored = Stored(setting::Port);
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

void FocuserSetup::Store() {
    const frmSetupFocuser& form = needs_.form;
    Persist& persist = driver_.persist;
    persist.Write(setting::Port, form.cbxPort.Text());
    persist.Write(setting::Focus_txtMaxIncrementMSecs, form.txtMaxIncrementMSecs.Text());
    persist.Write(setting::Focus_chkReverseFocusDirection, ZeroOrOne(form.chkReverseFocusDirection.Checked()));
    persist.Write(setting::Focus_txtBacklashMSecs, form.txtBacklashMSecs.Text());
    persist.Write(setting::Focus_txtStepMultiplierMSecs, form.txtStepMultiplierMSecs.Text());
    persist.Write(setting::Focus_radFocusFinalDirectionIn, TrueFalse(form.radFocusFinalDirectionIn.Checked()));
    persist.Write(setting::Focus_radFocusFast, TrueFalse(form.radFocusFast.Checked()));
}

}  // namespace kestrane
