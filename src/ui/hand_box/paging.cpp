#include "ui/hand_box/paging.h"

namespace kestrane {
namespace {

constexpr std::int32_t kPages = 3;

/// A frame of the panel, its page, and the feature of the mount that it needs.
struct PanelFrame {
    Frame frmHandBox::*frame;
    std::int32_t page;
    bool DriverState::*needs = nullptr;
};

constexpr PanelFrame kPanelFrames[] = {
    {&frmHandBox::frameConfiguration, 0},
    {&frmHandBox::framePark, 0},
    {&frmHandBox::frameBrightness, 1},
    {&frmHandBox::frameTelescope, 1},
    {&frmHandBox::framePemSettings, 1, &DriverState::g_bPemAvailable},
    {&frmHandBox::frameSiteSetup, 1},
    {&frmHandBox::frameFocuser, 2, &DriverState::g_bFocuserAvailable},
    {&frmHandBox::frameMeridianDelay, 2},
    {&frmHandBox::frameCommunicationsErrors, 2},
};

/// A click on one of these shows the panel.
constexpr Label frmHandBox::*kPanelLabels[] = {
    &frmHandBox::lblMeridianDelay, &frmHandBox::lblParkStatus, &frmHandBox::lblTime,
    &frmHandBox::lblTimeLbl,       &frmHandBox::lblTZ,         &frmHandBox::lblTzLbl,
    &frmHandBox::lblSiteTag,       &frmHandBox::Label11,       &frmHandBox::Label26,
};

}  // namespace

Paging::Paging(const HandBoxNeeds& needs, KeptControls& kept) : needs_(needs), state_(needs.driver.state) {
    frmHandBox& handBox = needs_.handBox;
    kept.Add(KeptCheck{handBox.chkShowAllControls, setting::chkShowAllControls, [this] { OnShowAllChange(); }});
    handBox.btnMore.OnClick([this] { ExpandWindow(); });
    handBox.btnNext.OnClick([this] {
        ++needs_.handBox.pageIndex;
        ShowFrames();
    });
    handBox.btnContract.OnClick([this] { Contract(); });
    handBox.btnContract2.OnClick([this] { Contract(); });
    handBox.lblMain.OnClick([this] {
        if (!needs_.noticeTakesClick()) {
            TogglePanel();
        }
    });
    for (Label frmHandBox::*label : kPanelLabels) {
        (handBox.*label).OnClick([this] { ExpandWindow(); });
    }
}

void Paging::Load() {
    frmHandBox& handBox = needs_.handBox;
    handBox.expanded = needs_.driver.persist.ReadFlag(setting::chkShowAllControls);
    handBox.chkShowAllControls.Checked(handBox.expanded);
    ShowFrames();
}

void Paging::ShowFrames() {
    frmHandBox& handBox = needs_.handBox;
    if (handBox.pageIndex < 0 || handBox.pageIndex >= kPages) {
        handBox.pageIndex = 0;
    }
    const bool all = handBox.chkShowAllControls.Checked();
    for (const PanelFrame& row : kPanelFrames) {
        const bool inTurn = handBox.expanded && (all || row.page == handBox.pageIndex);
        (handBox.*row.frame).Visible(inTurn && (!row.needs || state_.*row.needs));
    }
    handBox.btnMore.Visible(!all && !handBox.expanded);
    for (Button* button : {&handBox.btnNext, &handBox.btnContract, &handBox.btnContract2}) {
        button->Visible(!all && handBox.expanded);
    }
}

void Paging::ExpandWindow() {
    needs_.handBox.expanded = true;
    ShowFrames();
}

void Paging::TogglePanel() {
    needs_.handBox.expanded ? Contract() : ExpandWindow();
}

void Paging::Contract() {
    needs_.handBox.expanded = false;
    ShowFrames();
}

void Paging::OnShowAllChange() {
    if (needs_.handBox.chkShowAllControls.Checked()) {
        needs_.handBox.expanded = true;
    }
    ShowFrames();
}

}  // namespace kestrane
