#include "settings/park_settings.h"

#include <algorithm>
#include <limits>
#include <string>
#include <string_view>

#include "kernel/base/conversions.h"
#include "kernel/base/text.h"

namespace kestrane {
namespace {

constexpr std::int16_t kOldUserPlace = 5;
constexpr std::int16_t kUserPlace = 6;
constexpr std::string_view kUserPlaceName = "Alt";  ///< how each name of it begins

std::int16_t StoredIndex(Persist& persist, Log& log, const SettingKey& key, const SettingKey& text) {
    using Limits = std::numeric_limits<std::int16_t>;
    const double number = std::clamp<double>(Val_Global(persist.Read(key), log), Limits::min(), Limits::max());
    const auto index = static_cast<std::int16_t>(RoundHalfEven(number));
    const std::string name = persist.Read(text);
    return index == kOldUserPlace && (name.empty() || name.starts_with(kUserPlaceName)) ? kUserPlace : index;
}

}  // namespace

std::int16_t StoredParkIndex(Persist& persist, Log& log) {
    return StoredIndex(persist, log, setting::cbxParkTo, setting::cbxParkToText);
}

std::int16_t StoredUnparkIndex(Persist& persist, Log& log) {
    return StoredIndex(persist, log, setting::cbxUnparkFrom, setting::cbxUnparkFromText);
}

}  // namespace kestrane
