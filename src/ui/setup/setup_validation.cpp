#include "ui/setup/setup_validation.h"

#include <optional>
#include <string>

#include "kernel/base/application_info.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "ui/colours.h"
#include "ui/setup/setup_options.h"

namespace kestrane {
namespace {

enum class Kind { Decimal, Integer, CustomRate };
enum class Scope { Position, Site, All };

/// A field with the range of its numbers, both ends included. A custom rate counts only while it is in use, and its
/// upper end is that of the model.
struct Field {
    std::string_view name;  ///< in the message
    TextBox frmInitialSetup::*box;
    Kind kind;
    double least;
    double most;
    Scope scope = Scope::All;  ///< the narrowest one that it belongs to
};

// clang-format off
constexpr Field kFields[] = {
    {"ScopeAperture",    &frmInitialSetup::txtScopeAperture,    Kind::Decimal,    0.0,    10000.0},
    {"ScopeFocusLength", &frmInitialSetup::txtScopeFocalLength, Kind::Decimal,    0.0,    100000.0},
    {"SiteElevation",    &frmInitialSetup::txtElevation,        Kind::Integer,    -300.0, 10000.0, Scope::Site},
    {"LatDegrees",       &frmInitialSetup::txtLatDeg,           Kind::Integer,    0.0,    90.0,    Scope::Position},
    {"LatMinutes",       &frmInitialSetup::txtLatMin,           Kind::Integer,    0.0,    59.0,    Scope::Position},
    {"LatSeconds",       &frmInitialSetup::txtLatSec,           Kind::Decimal,    0.0,    59.9,    Scope::Position},
    {"LngDegrees",       &frmInitialSetup::txtLongDeg,          Kind::Integer,    0.0,    360.0,   Scope::Position},
    {"LngMinutes",       &frmInitialSetup::txtLongMin,          Kind::Integer,    0.0,    59.0,    Scope::Position},
    {"LngSeconds",       &frmInitialSetup::txtLongSec,          Kind::Decimal,    0.0,    59.9,    Scope::Position},
    {"Timeout",          &frmInitialSetup::txtConnectTimeout,   Kind::Integer,    0.0,    600.0},
    {"SlewRate",         &frmInitialSetup::txtCustomSlewRate,   Kind::CustomRate, 1.0,    0.0},
};
// clang-format on

/// An integer is digits, with a minus before them or without.
std::optional<double> NumberIn(const std::string& text, Kind kind, Log& log) {
    const std::string_view digits = std::string_view(text).substr(text.starts_with('-') ? 1 : 0);
    if (kind != Kind::Decimal && (digits.empty() || !IsAllDigits(digits))) {
        return std::nullopt;
    }
    return PlainDecimal(text, log);
}

bool IsGood(const SetupNeeds& needs, const Field& field) {
    const bool isRate = field.kind == Kind::CustomRate;
    if (isRate && !CustomRateIsChosen(needs.form)) {
        return true;
    }
    const std::string text = Trim((needs.form.*field.box).Text());
    const std::optional<double> number = NumberIn(text, field.kind, needs.driver.log);
    const double most = isRate ? needs.mount.MaxCustomSlewRate() : field.most;
    return number && *number >= field.least && *number <= most;
}

/// The names of the fields that are not good, each of which is coloured.
std::string BadNames(const SetupNeeds& needs, Scope scope) {
    std::string names;
    for (const Field& field : kFields) {
        if (field.scope > scope) {
            continue;
        }
        const bool good = IsGood(needs, field);
        Paint(needs.form.*field.box, good ? kNormalColours : kFaultColours);
        if (!good) {
            names.append(names.empty() ? "" : ",").append(field.name);
        }
    }
    return names;
}

void ClearColours(frmInitialSetup& form, Scope scope) {
    for (const Field& field : kFields) {
        if (field.scope <= scope) {
            Paint(form.*field.box, kNormalColours);
        }
    }
}

/// Whether degrees that are the most possible have anything after them.
bool ExceedsDegrees(double most, const TextBox& degrees, const TextBox& minutes, const TextBox& seconds, Log& log) {
    const auto number = [&log](const TextBox& box) { return Val_Global(Trim(box.Text()), log); };
    return number(degrees) == most && (number(minutes) > 0.0 || number(seconds) > 0.0);
}

}  // namespace

bool SetupValidation::AllGood() {
    if (const std::string names = BadNames(needs_, Scope::All); !names.empty()) {
        Say("One or more values are out of range: " + names +
            ". Please correct highlighted text and click 'OK' again.");
        return false;
    }
    if (LatitudeIsTooLarge()) {
        Say("Latitude value is greater than 90 degrees!");
        return false;
    }
    if (LongitudeIsTooLarge()) {
        Say("Longitude value is out of range!");
        return false;
    }
    return true;
}

bool SetupValidation::SiteIsGood() {
    return BadNames(needs_, Scope::Site).empty() && !LatitudeIsTooLarge() && !LongitudeIsTooLarge();
}

bool SetupValidation::PositionIsGood() {
    return BadNames(needs_, Scope::Position).empty() && !LatitudeIsTooLarge() && !LongitudeIsTooLarge();
}

bool SetupValidation::LatitudeIsTooLarge() const {
    const frmInitialSetup& form = needs_.form;
    return ExceedsDegrees(90.0, form.txtLatDeg, form.txtLatMin, form.txtLatSec, needs_.driver.log);
}

bool SetupValidation::LongitudeIsTooLarge() const {
    const frmInitialSetup& form = needs_.form;
    return ExceedsDegrees(360.0, form.txtLongDeg, form.txtLongMin, form.txtLongSec, needs_.driver.log);
}

void SetupValidation::Clear() {
    ClearColours(needs_.form, Scope::All);
}

void SetupValidation::ClearSite() {
    ClearColours(needs_.form, Scope::Site);
}

void SetupValidation::Say(std::string_view text) {
    needs_.messageBoxes.Show(text, application::kTitle, MessageIcon::Information);
}

}  // namespace kestrane
