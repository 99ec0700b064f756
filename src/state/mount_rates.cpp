#include "state/mount_rates.h"

#include <algorithm>
#include <string>
#include <vector>

#include "catalogue/vocabulary.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"

namespace kestrane {
namespace {

/// With this many centering rows or more, the guide rates are among them.
constexpr std::size_t kCenteringWithGuideRates = 5;

/// The texts of a collection, without the empty slot at their front.
std::vector<std::string> TextsOf(const MountRateCollection& rates) {
    std::vector<std::string> texts = rates.GetRateStrings();
    texts.erase(texts.begin());
    return texts;
}

}  // namespace

void MountRates::UpdateMountRates(std::string_view type, RebuildRates rebuild) {
    const bool isNew = type != driver_.state.g_sMountRateType;
    const bool forced = rebuild == RebuildRates::Always;
    if (factory_ && !isNew && !forced) {
        told_ = true;
        return;
    }
    if (!factory_) {
        factory_.emplace(needs_.mount);
    }
    const std::string newType{type};
    if (!factory_->CreateRateCollections(newType, guide_, centering_, slew_)) {
        if (unknownTypes_.insert(newType).second) {  // once: the status text repeats it every few seconds
            driver_.log.LogMessage("UpdateMountRates", LogLevel::Error,
                                   "Failed to create mount rate lists for mount type '" + newType + "'");
        }
        return;
    }
    driver_.state.g_sMountRateType = newType;
    driver_.log.LogMessage("UpdateMountRates", LogLevel::Info, "Created mount rate lists - MountRateType=" + newType);
    LogRates("Guider Rate", guide_);
    LogRates("Centering Rate", centering_);
    LogRates("Slew Rate", slew_);
    FillLists();
    // The controller only says what it knows itself, which may be nothing; what the mount has told stays stored.
    const bool stays = forced && (newType.empty() || told_);
    told_ = told_ || !forced;
    if (!stays && newType != driver_.persist.ReadQuietly(setting::MountRateType)) {
        driver_.persist.Write(setting::MountRateType, newType);
    }
}

bool MountRates::IsRateTypeOpen() const {
    return driver_.state.g_sMountRateType.empty() || driver_.state.g_sMountRateType == "unknown";
}

void MountRates::LogRates(std::string_view origin, const MountRateCollection& rates) {
    const std::vector<MountRateInstance> rows = rates.GetRateCollection();
    for (std::size_t i = 1; i < rows.size(); ++i) {
        driver_.log.LogMessage(origin, LogLevel::Info,
                               "Rate= " + PlainNumber(rows[i].RateValue()) + ", String=" + rows[i].RateString() +
                                   ", Command=" + rows[i].MountCommand());
    }
}

void MountRates::FillLists() {
    const FillsForm filling(needs_.handBox);
    const std::vector<std::string> guide = TextsOf(guide_);
    for (ComboBox* list : {&needs_.handBox.cbxInitGuideRate, &needs_.initMount.cbxInitGuideRate,
                           &needs_.initialSetup.cbxInitGuideRate}) {
        Fill(*list, guide, setting::cbxInitGuideRate);
    }

    std::vector<std::string> move = TextsOf(centering_);
    if (move.size() < kCenteringWithGuideRates) {
        move.insert(move.begin(), guide.begin(), guide.end());
    }
    Fill(needs_.handBox.cbxMoveRate, move, setting::cbxMoveRate);

    std::vector<std::string> slew = TextsOf(slew_);
    if (driver_.state.g_bHasCustomRates) {
        slew.emplace_back(kCustomRate);
    }
    for (ComboBox* list :
         {&needs_.handBox.cbxInitSlewRate, &needs_.initMount.cbxInitSlewRate, &needs_.initialSetup.cbxInitSlewRate}) {
        Fill(*list, slew, setting::cbxInitSlewRate);
    }
}

void MountRates::Fill(ComboBox& list, const std::vector<std::string>& texts, const SettingKey& selection) {
    const double last = static_cast<double>(texts.size()) - 1;
    const double stored = driver_.persist.ReadNumber(selection);
    list.ListItems(texts);
    list.ListIndex(RoundHalfEven(std::clamp(stored, -1.0, last)));
}

}  // namespace kestrane
