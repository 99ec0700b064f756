#include "ui/setup/setup_link.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "settings/companion_settings.h"
#include "ui/port_list.h"

namespace kestrane {
namespace {

std::vector<std::string> Retries() {
    return {"0", "1", "2", "3", "4", "5"};
}

}  // namespace

SetupLink::SetupLink(SetupNeeds& needs, KeptControls& kept)
    : needs_(needs), form_(needs.form), persist_(needs.driver.persist) {
    const auto showKind = [this] { ShowKind(); };
    const auto showCompanion = [this] { ShowCompanion(); };
    kept.Add(KeptCheck{form_.chkIPAddress, setting::chkIPAddress, showKind});
    kept.Add(KeptCheck{form_.chkQUAY, setting::chkQUAY, showCompanion});
    kept.Add(KeptCheck{form_.chkQuayRestApi, setting::chkQuayRestApi, showCompanion});
    kept.Add(KeptCheck{form_.chkUseASCOMSerialObject, setting::chkUseASCOMSerialObject});
    kept.Add(KeptCheck{form_.chkAllowConnectIfMountNotPresent, setting::chkAllowConnectIfMountNotPresent});
    kept.Add(KeptText{form_.txtIpAddress, setting::txtIpAddress});
    kept.Add(KeptText{form_.txtConnectTimeout, setting::txtConnectTimeout});
    form_.cbxRetry.OnClick([this] { retryIsChosen_ = retryIsChosen_ || !form_.IsFilling(); });
    form_.btnQuaySettings.OnClick([this] { needs_.showQuaySettings(); });
}

/// The two boxes are shown as the link reads their settings, which are not numbers for it. The box of the address is
/// there while it is ticked, also with a controller that has no such adapter: a person must be able to clear it.
void SetupLink::Fill() {
    const bool ip = persist_.Read(setting::chkIPAddress) != "0";
    form_.chkIPAddress.Checked(ip);
    form_.chkIPAddress.Visible(ip || form_.chkIPAddress.Visible());
    form_.chkQuayRestApi.Checked(persist_.Read(setting::chkQuayRestApi) == "1");
    form_.txtQuayIpAddr.Enabled(false);
    form_.txtConnectTimeout.ToolTip("Range is 1-600 seconds, 0 = forever.");
    FillPorts(form_.cbxPort, needs_.serialPorts, persist_);
    FillTimeouts();
    FillRetries();
    ShowKind();
    ShowCompanion();
    ShowWhatMayChange();
}

/// As the link reads the setting: a text that is no number counts as the default. OK must not change it by itself.
void SetupLink::FillRetries() {
    const double fallback = PlainDecimal(setting::Retry.fallback, needs_.driver.log).value_or(0.0);
    const double stored = PlainDecimal(persist_.Read(setting::Retry), needs_.driver.log).value_or(fallback);
    form_.cbxRetry.ListItems(Retries());
    const auto most = static_cast<double>(form_.cbxRetry.ListItems().size() - 1);
    form_.cbxRetry.ListIndex(RoundHalfEven(std::clamp(stored, 0.0, most)));
    retryIsChosen_ = false;
}

/// A stored limit that is none of the usual ones is offered too: OK must not change it by itself.
void SetupLink::FillTimeouts() {
    std::vector<std::string> items{"250", "500", "1000", "2000", "5000"};
    std::string stored = persist_.Read(setting::Timeout);
    if (stored.empty()) {
        stored = setting::Timeout.fallback;
    }
    auto selected = std::ranges::find(items, stored);
    if (selected == items.end()) {
        selected = items.insert(items.end(), stored);
    }
    const auto index = static_cast<std::int32_t>(selected - items.begin());
    form_.cbxTimeout.ListItems(std::move(items));
    form_.cbxTimeout.ListIndex(index);
}

void SetupLink::Store() {
    persist_.Write(setting::Port, form_.cbxPort.Text());
    persist_.Write(setting::Timeout, form_.cbxTimeout.Text());
    if (retryIsChosen_ || persist_.Read(setting::Retry) == form_.cbxRetry.Text()) {
        persist_.Write(setting::Retry, form_.cbxRetry.Text());
    }
}

void SetupLink::ShowKind() {
    const bool ip = form_.chkIPAddress.Checked();
    form_.frmComm.Caption(ip ? "IP Address Details" : "COM Port Details");
    form_.lblPortType.Text(ip ? "IP Address:" : "Port:");
    form_.cbxPort.Visible(!ip);
    form_.txtIpAddress.Visible(ip);
}

void SetupLink::ShowCompanion() {
    const bool rest = form_.chkQUAY.Checked() && form_.chkQuayRestApi.Checked();
    form_.txtQuayIpAddr.Visible(rest);
    form_.txtQuayIpAddr.Text(rest ? "127.0.0.1:" + CompanionSettings(needs_.applicationSettings).RestPortText() : "");
}

void SetupLink::ShowWhatMayChange() {
    const bool mayChange = !needs_.linkConnected();
    for (VisibleControl* control : std::initializer_list<VisibleControl*>{
             &form_.chkIPAddress, &form_.txtIpAddress, &form_.chkQUAY, &form_.chkQuayRestApi, &form_.cbxPort,
             &form_.cbxMountType, &form_.cbxController, &form_.chkUseASCOMSerialObject}) {
        control->Enabled(mayChange);
    }
}

}  // namespace kestrane
