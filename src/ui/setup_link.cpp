#include "ui/setup_link.h"

#include <utility>

namespace kestrane {

SetupLink::SetupLink(SetupLinkNeeds needs) : needs_(std::move(needs)) {
    needs_.form.OnLoad([this] { ShowWhatMayChange(); });
    needs_.form.btnQuaySettings.OnClick([this] { needs_.showQuaySettings(); });
}

void SetupLink::ShowWhatMayChange() {
    frmInitialSetup& form = needs_.form;
    const bool mayChange = !needs_.linkConnected();
    form.chkIPAddress.Enabled(mayChange);
    form.txtIpAddress.Enabled(mayChange);
    form.chkQUAY.Enabled(mayChange);
    form.chkQuayRestApi.Enabled(mayChange);
}

}  // namespace kestrane
