#include "telescope/motion/custom_rates.h"

#include "catalogue/wire_commands.h"
#include "kernel/base/conversions.h"
#include "telescope/telescope.h"

namespace kestrane {
namespace {

constexpr std::string_view kRatePattern = "0.00000";

}  // namespace

void CustomRates::ShowCustomRate(TextBox& box, double rate) {
    const FillsForm filling(needs_.handBox);
    box.Text(FormatUs(rate, kRatePattern));
}

bool CustomRates::SendCustomRate(const CharacterCommand& command, double multiple) {
    return core_.Talk(procedure::CustomRate).CommandBoolInternal(command, FormatUs(multiple, kRatePattern));
}

void CustomRates::Reinstate(Telescope& telescope) {
    if (!state_.g_bTracking) {
        return;
    }
    ResumeNext errors{core_.driver_.ledger, "AbortSlew"};
    if (state_.g_dRaRate != 0.0) {
        errors.Step([&] { telescope.RightAscensionRate(state_.g_dRaRate); });
    }
    if (state_.g_dDecRate != 0.0) {
        errors.Step([&] { telescope.DeclinationRate(state_.g_dDecRate); });
    }
}

void CustomRates::ClearCustomDecRate(Sequence& mount) {
    if (state_.g_bHasCustomRates && !state_.g_bGosActive) {
        mount.CommandBoolInternal(wire::CustomDecRate, "0.0000");
    }
}

}  // namespace kestrane
