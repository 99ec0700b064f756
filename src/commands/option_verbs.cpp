#include <algorithm>
#include <filesystem>
#include <optional>
#include <system_error>

#include "commands/verb_replies.h"
#include "commands/verbs.h"
#include "kernel/base/text.h"

namespace kestrane::verbs {
namespace {

constexpr std::int32_t kMostRetries = 5;
constexpr std::string_view kZeroOrOneWords = "Value must be numeric 0-1";

std::string SetOption(Verb verb, std::string_view arguments, CheckBox frmHandBox::*box, const SettingKey& key) {
    const std::optional<bool> on = ZeroOrOneOf(arguments, verb.needs.driver.log);
    if (!on) {
        return Failure(kZeroOrOneWords);
    }
    verb.needs.fillHandBox();
    SetBox(verb.needs.handBox.*box, *on, verb.needs.driver.persist, key);
    return Done();
}

std::string GetOption(Verb verb, CheckBox frmHandBox::*box) {
    verb.needs.fillHandBox();
    return Value(ZeroOrOne((verb.needs.handBox.*box).Checked()));
}

}  // namespace

/// Only a person's answer lets the option become 0, also where the box is unticked and another program has stored 1. A
/// second wish while the question is open changes nothing.
std::string SetUseRcalForSync(Verb verb, std::string_view arguments) {
    if (ZeroOrOneOf(arguments, verb.needs.driver.log) == false) {
        verb.needs.fillHandBox();
        CheckBox& box = verb.needs.handBox.chkUseRCAL;
        if (!box.Checked() && verb.needs.driver.persist.ReadFlag(setting::chkUseRCAL)) {
            box.FireClick();
            return Done();
        }
    }
    return SetOption(verb, arguments, &frmHandBox::chkUseRCAL, setting::chkUseRCAL);
}

std::string GetUseRcalForSync(Verb verb, std::string_view) {
    return GetOption(verb, &frmHandBox::chkUseRCAL);
}

std::string SetEnableTrackingOnUnpark(Verb verb, std::string_view arguments) {
    return SetOption(verb, arguments, &frmHandBox::chkEnableMountTracking, setting::chkEnableMountTracking);
}

std::string GetEnableTrackingOnUnpark(Verb verb, std::string_view) {
    return GetOption(verb, &frmHandBox::chkEnableMountTracking);
}

std::string SetEnableDebugLog(Verb verb, std::string_view arguments) {
    const std::optional<bool> enable = ZeroOrOneOf(arguments, verb.needs.driver.log);
    if (!enable) {
        return Failure(kZeroOrOneWords);
    }
    verb.needs.enableDebugLog(*enable);
    return Done();
}

std::string GetEnableDebugLog(Verb verb, std::string_view) {
    return Value(ZeroOrOne(verb.needs.driver.state.g_bDebugLog));
}

/// Two-leg slews come back only where the firmware does not plan safe ways by itself.
std::string DisableSafetySlews(Verb verb, std::string_view arguments) {
    DriverState& state = verb.needs.driver.state;
    if (arguments == "1") {
        state.g_bRawRaDecSlews = true;
    } else if (!state.g_bFirmwareSafeSlew) {
        state.g_bRawRaDecSlews = false;
    }
    return Done();
}

std::string GetDisableSafetySlews(Verb verb, std::string_view) {
    return Value(TrueFalse(verb.needs.driver.state.g_bRawRaDecSlews));
}

std::string GetComTimeout(Verb verb, std::string_view) {
    return Value(verb.needs.driver.persist.Read(setting::Timeout));
}

std::string SetComTimeout(Verb verb, std::string_view arguments) {
    const std::optional<std::int32_t> milliseconds = WholeNumber(arguments, verb.needs.driver.log);
    if (!milliseconds) {
        return Failure("Value must be numeric, greater than 0");
    }
    if (*milliseconds < 1) {
        return Failure("Value must be greater than 0");
    }
    verb.needs.driver.persist.Write(setting::Timeout, std::to_string(*milliseconds));
    return Done();
}

std::string GetComRetries(Verb verb, std::string_view) {
    return Value(verb.needs.driver.persist.Read(setting::Retry));
}

std::string SetComRetries(Verb verb, std::string_view arguments) {
    const std::optional<std::int32_t> retries = WholeNumber(arguments, verb.needs.driver.log);
    if (!retries) {
        return Failure("Value must be numeric, >= 0");
    }
    if (*retries < 0) {
        return Failure("Value must be >= 0");
    }
    verb.needs.driver.persist.Write(setting::Retry, std::to_string(*retries));
    const auto bounded = static_cast<std::int16_t>(std::min(*retries, kMostRetries));
    verb.object.MaxSerialRetries(bounded);
    if (Telescope* internal = verb.needs.internalInstance()) {
        internal->MaxSerialRetries(bounded);  // for the exchanges of the poll too
    }
    return Done();
}

std::string GetIniValue(Verb verb, std::string_view keyword) {
    if (keyword.empty()) {
        return Failure("No INI Keyword specified");
    }
    const std::string value = verb.needs.driver.persist.ReadIniValue(keyword, "");
    return value.empty() ? Failure("INI Keyword not found: " + std::string(keyword)) : Value(value);
}

std::string SetIniValue(Verb verb, std::string_view assignment) {
    if (assignment.empty()) {
        return Failure("No Keyword specified");
    }
    const std::size_t equals = assignment.find('=');
    if (equals == std::string_view::npos || equals == 0) {
        return Failure("Keyword=Value not specified");
    }
    const std::string keyword = Trim(assignment.substr(0, equals));
    if (keyword.empty()) {
        return Failure("Keyword=Value not specified");
    }
    verb.needs.driver.persist.WriteIniValue(keyword, Trim(assignment.substr(equals + 1)));
    if (verb.needs.internalInstance()) {
        LoadControllerOption(verb.needs.driver);  // clients read what follows from it without a setting
    }
    return Done();
}

std::string GetAllIniValues(Verb verb, std::string_view) {
    return Done() + verb.needs.driver.persist.GetAllValues();
}

std::string GetIniFilename(Verb verb, std::string_view) {
    return Value(verb.needs.driver.persist.LegacyFile().string());
}

std::string DeleteIniFile(Verb verb, std::string_view) {
    const std::filesystem::path& file = verb.needs.driver.persist.LegacyFile();
    if (file.empty()) {
        return Failure("KS.INI is not initialized");
    }
    std::error_code fault;
    if (!std::filesystem::exists(file, fault)) {
        return Failure("File does not exist: " + file.string());
    }
    if (!std::filesystem::remove(file, fault)) {
        verb.needs.driver.log.LogMessage("DeleteIniFile", LogLevel::Error,
                                         "Cannot delete " + file.string() + ": " + fault.message());
    }
    return Done();
}

}  // namespace kestrane::verbs
