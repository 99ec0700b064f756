#include "ui/quay_settings.h"

#include <utility>

namespace kestrane {

QuaySettings::QuaySettings(QuaySettingsNeeds needs) : needs_(std::move(needs)) {
    needs_.form.OnLoad([this] { Fill(); });
    Connect(needs_.form.chkEnableQUAYPointingCorrection, Correction::Pointing);
    Connect(needs_.form.chkEnableQUAYTrackingRateCorrection, Correction::TrackingRate);
}

void QuaySettings::ShowModal() {
    if (needs_.form.IsInUse()) {
        return;
    }
    needs_.modal.ShowModal(needs_.form);
    needs_.form.Unload();
}

void QuaySettings::Connect(CheckBox& box, Correction correction) {
    box.OnClick([this, &box, correction] {
        if (!needs_.form.IsFilling() && needs_.channel.IsProved()) {
            ResumeNext errors{needs_.ledger, needs_.form.Name()};
            errors.Step([&] { needs_.channel.SwitchCorrection(correction, box.Checked()); });
        }
    });
}

void QuaySettings::Fill() {
    ResumeNext errors{needs_.ledger, needs_.form.Name()};
    const FillsForm filling(needs_.form);
    const auto show = [&](CheckBox& box, Correction correction) {
        bool on = false;
        if (needs_.channel.IsProved()) {
            errors.Assign(on, [&] { return needs_.channel.Corrects(correction); });
        }
        box.Enabled(needs_.channel.IsProved());
        box.Checked(on);
    };
    show(needs_.form.chkEnableQUAYPointingCorrection, Correction::Pointing);
    show(needs_.form.chkEnableQUAYTrackingRateCorrection, Correction::TrackingRate);
}

}  // namespace kestrane
