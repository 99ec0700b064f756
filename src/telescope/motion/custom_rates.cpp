#include "telescope/motion/custom_rates.h"

#include "catalogue/wire_commands.h"
#include "kernel/base/conversions.h"

namespace kestrane {
namespace {

constexpr std::string_view kRatePattern = "0.00000";

}  // namespace

void CustomRates::ShowCustomRate(TextBox& box, double rate) {
    const FillsHandBox filling(needs_.handBox);
    box.Text(FormatUs(rate, kRatePattern));
}

bool CustomRates::SendCustomRate(const CharacterCommand& command, double multiple) {
    if (multiple != 0.0) {
        needs_.axisMotions.CustomRateChosen();
    }
    return core_.Talk(procedure::CustomRate).CommandBoolInternal(command, FormatUs(multiple, kRatePattern));
}

void CustomRates::ClearCustomDecRate(Sequence& mount) {
    if (state_.g_bHasCustomRates && !state_.g_bGosActive) {
        mount.CommandBoolInternal(wire::CustomDecRate, "0.0000");
    }
}

}  // namespace kestrane
