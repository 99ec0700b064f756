#include "ui/hand_box/position.h"

#include "ui/colours.h"

namespace kestrane {
namespace {

constexpr std::int32_t kAllMarks = -1;

void Show(Label& label, std::string_view text, Colours colours) {
    label.Text(text);
    Paint(label, colours);
}

}  // namespace

PositionFrame::PositionFrame(const HandBoxNeeds& needs) : needs_(needs), state_(needs.driver.state) {
    frmHandBox& handBox = needs_.handBox;
    handBox.tmrSlewFlashUI.OnTick([this] { OnFlashTick(); });
    handBox.lblLstHA.OnClick([this] { ToggleHourAngle(); });
    for (Label* label : {&handBox.lblRA, &handBox.lblDEC, &handBox.lblAlt, &handBox.lblAz}) {
        label->OnClick([this] { AskAbortSlew(); });
    }
}

void PositionFrame::SetParkStatus(std::string_view text) {
    needs_.handBox.lblParkStatus.Text(text);
    needs_.statusWindow.lblParkStatus.Text(text);
}

void PositionFrame::SetParkToolTip(std::string_view text) {
    needs_.handBox.lblParkStatus.ToolTip(text);
    needs_.statusWindow.lblParkStatus.ToolTip(text);
}

void PositionFrame::SlewFlashDisplay() {
    state_.g_bFlashShowing = state_.g_bSlewing && !state_.g_bFlashShowing;
    frmHandBox& handBox = needs_.handBox;
    if (state_.g_bFlashShowing) {
        Show(handBox.lblRA, state_.g_bParking ? "PARKING" : "SLEWING", kWarningColours);
        Show(handBox.lblDEC, "CLICK", kWarningColours);
        Show(handBox.lblAlt, "THIS TO", kWarningColours);
        Show(handBox.lblAz, "ABORT", kWarningColours);
    } else {
        Show(handBox.lblRA, needs_.queries.LastRaText(), kNormalColours);
        Show(handBox.lblDEC, needs_.queries.LastDecText(), kNormalColours);
        Show(handBox.lblAlt, needs_.queries.LastAltText(), kNormalColours);
        Show(handBox.lblAz, needs_.queries.LastAzText(), kNormalColours);
    }
}

void PositionFrame::OnFlashTick() {
    if (!state_.g_bSlewing) {
        needs_.handBox.tmrSlewFlashUI.Enabled(false);
        state_.g_bFlashShowing = false;
    }
    SlewFlashDisplay();
}

void PositionFrame::AskAbortSlew() {
    const bool moves = state_.g_bSlewing || state_.g_bParking;  // the flash goes on for a moment longer
    if (moves && needs_.handBox.tmrSlewFlashUI.Enabled()) {
        needs_.questions.AskAbort(state_.g_bParking);
    }
}

void PositionFrame::SetUiGuideIndicator(std::int32_t direction, bool on) {
    frmHandBox& handBox = needs_.handBox;
    Label* const marks[] = {&handBox.lblGuideNorth, &handBox.lblGuideSouth, &handBox.lblGuideEast,
                            &handBox.lblGuideWest};
    for (std::int32_t mark = 0; mark < 4; ++mark) {
        if (direction == mark || direction == kAllMarks) {
            Paint(*marks[mark], on ? kWarningColours : kNormalColours);
        }
    }
}

void PositionFrame::ToggleHourAngle() {
    frmHandBox& handBox = needs_.handBox;
    handBox.m_bShowHA = !handBox.m_bShowHA;
    handBox.lblLstHA.Text(handBox.m_bShowHA ? "HA" : "LST");
    needs_.queries.UpdateHourAngle();
}

}  // namespace kestrane
