#include "ui/hand_box/brightness.h"

#include <cstdlib>
#include <string>
#include <utility>

#include "settings/setting_keys.h"

namespace kestrane {
namespace {

class ReticleSteps : TelescopeSteps {
public:
    using TelescopeSteps::TelescopeSteps;

    void Send(const BlindCommand& step, std::int32_t times) {
        Sequence mount = Talk(procedure::Reticle);
        ResumeNext errors{driver_.ledger, "hscrReticleBrightness"};
        for (std::int32_t sent = 0; sent < times; ++sent) {
            errors.Step([&] { mount.CommandBlindInternal(step); });
        }
    }
};

}  // namespace

BrightnessFrame::BrightnessFrame(const HandBoxNeeds& needs, KeptControls& kept, ButtonActions& actions)
    : needs_(needs) {
    kept.Add(KeptScroll{needs_.handBox.hscrReticleBrightness, setting::hscrReticleBrightness, [this] { OnChange(); }});
    actions.On(ButtonAction::ResetReticle, [this] { ResetReticleBrightness(); });
}

void BrightnessFrame::Show() {
    shown_ = needs_.handBox.hscrReticleBrightness.Value();
    needs_.handBox.lblBrightness.Text(std::to_string(shown_));
}

void BrightnessFrame::OnChange() {
    const std::int32_t before = shown_;
    Show();
    if (!needs_.handBox.IsFilling()) {
        Send(shown_ > before ? wire::ReticleBrighter : wire::ReticleDimmer, std::abs(shown_ - before));
    }
}

void BrightnessFrame::ResetReticleBrightness() {
    ScrollBar& bar = needs_.handBox.hscrReticleBrightness;
    {
        const FillsForm filling(needs_.handBox);
        bar.Value(StoredNumber(needs_.driver.persist, setting::hscrReticleBrightness));
    }
    Show();
    Send(wire::ReticleDimmer, bar.Maximum());
    Send(wire::ReticleBrighter, bar.Value());
}

void BrightnessFrame::Send(const BlindCommand& step, std::int32_t times) {
    Telescope* const telescope = needs_.telescope();
    if (telescope && needs_.linkConnected()) {
        ReticleSteps(*telescope).Send(step, times);
    }
}

}  // namespace kestrane
