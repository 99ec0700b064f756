#include "state/controller_features.h"

#include <algorithm>
#include <array>

#include "kernel/base/conversions.h"

namespace kestrane {
namespace {

struct ControllerRow {
    Controller_Type controller;
    std::string_view name;
    bool backlash;
    bool pem;
    bool focuser;
    bool ipLink;
    std::string_view rateType;
};

// clang-format off
constexpr std::array kControllers{
    //                                                 backlash pem    focuser IP link rates
    ControllerRow{Controller_Type::VTRKC1, "VTRKC1",   true,    true,  true,   false,  ""},
    ControllerRow{Controller_Type::VTRKC2, "VTRKC2",   true,    true,  true,   false,  ""},
    ControllerRow{Controller_Type::VTRKC3, "VTRKC3",   true,    true,  true,   false,  ""},
    ControllerRow{Controller_Type::VTRKC4, "VTRKC4",   false,   true,  false,  true,   ""},
    ControllerRow{Controller_Type::VTRKC5, "VTRKC5",   false,   false, false,  true,   "3"},
};
// clang-format on

constexpr double kFirstControllerWithRates = 2.0;

bool FirmwareHasKingRate(int major, int minor) {
    return major >= 3 || (major == 2 && minor >= 8);
}

}  // namespace

std::vector<std::string> ControllerNames() {
    std::vector<std::string> names;
    for (const ControllerRow& row : kControllers) {
        names.emplace_back(row.name);
    }
    return names;
}

void LoadControllerOption(const Essentials& driver) {
    const std::string controller = driver.persist.ReadQuietly(setting::Controller);
    driver.state.g_bControllerTakesRates =
        !controller.empty() && Val_Global(controller, driver.log) >= kFirstControllerWithRates;
}

void ControllerFeatures::Apply(Controller_Type controller, int major, int minor) {
    DriverState& state = driver_.state;
    ++timesApplied_;
    needs_.mount.ControllerType = controller;
    state.g_bBacklashAvailable = state.g_bPemAvailable = state.g_bFocuserAvailable = true;
    state.g_bKingRateAvailable = false;
    std::string_view rateType;
    const auto row = std::ranges::find(kControllers, controller, &ControllerRow::controller);
    if (row != kControllers.end()) {
        needs_.mount.ControllerName = row->name;
        state.g_bBacklashAvailable = row->backlash;
        state.g_bPemAvailable = row->pem;
        state.g_bFocuserAvailable = row->focuser;
        ShowIpLink(row->ipLink);
        rateType = row->rateType;
    }
    if (controller == Controller_Type::VTRKC4) {
        state.g_bKingRateAvailable = FirmwareHasKingRate(major, minor);
    } else if (controller == Controller_Type::VTRKC5) {
        needs_.handBox.chkEnableKingRate.Visible(true);
    }
    needs_.rates.UpdateMountRates(rateType, RebuildRates::Always);
    needs_.handBox.lblControllerType.Text("Controller Type: " + needs_.mount.ControllerName);
    ShowControls();
}

void ControllerFeatures::ShowIpLink(bool offered) {
    CheckBox& box = needs_.initialSetup.chkIPAddress;
    box.Visible(offered);
    if (!offered) {
        box.Checked(false);
    }
}

void ControllerFeatures::ShowControls() {
    const bool backlash = driver_.state.g_bBacklashAvailable;
    const bool pem = driver_.state.g_bPemAvailable;
    const auto show = [&](auto& form) {
        form.chkSetRABacklash.Visible(backlash);
        form.txtInitRaBacklash.Visible(backlash);
        form.chkSetDecBacklash.Visible(backlash);
        form.txtInitDecBacklash.Visible(backlash);
        form.chkSetPEM.Visible(pem);
        form.cbxInitPEM.Visible(pem);
    };
    show(needs_.initialSetup);
    show(needs_.initMount);
    ShowCustomSlewBounds();
    // Disabled also on the controller that always shows the box: its firmware has no King rate.
    needs_.handBox.chkEnableKingRate.Enabled(driver_.state.g_bKingRateAvailable);
    needs_.panel.ShowMountFeatures();
}

void ControllerFeatures::ShowCustomSlewBounds() {
    const std::string text = "Slew Rate (1-" + std::to_string(needs_.mount.MaxCustomSlewRate()) + "):";
    needs_.initMount.lblCustomSlew.Text(text);
    needs_.initialSetup.lblCustomSlew.Text(text);
}

}  // namespace kestrane
