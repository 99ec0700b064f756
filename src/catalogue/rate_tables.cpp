#include "catalogue/rate_tables.h"

#include <algorithm>
#include <array>
#include <span>

#include "catalogue/vocabulary.h"
#include "catalogue/wire_commands.h"
#include "kernel/base/errors.h"

namespace kestrane {
namespace {

constexpr double kSameRate = 0.001;
constexpr std::uint32_t kNotInitialized = 1;

struct RateRow {
    std::string_view text;
    double value;
    std::string_view argument;  ///< of the command of its table
};

// clang-format off
constexpr std::array kLegacyCentering{
    RateRow{"12x",     12.0,  "0"},
    RateRow{"64x",     64.0,  "1"},
    RateRow{"600x",   600.0,  "2"},
    RateRow{"1200x", 1200.0,  "3"},
};
constexpr std::array kLegacyCenteringFir{
    RateRow{"12x",     12.0,  "0"},
    RateRow{"64x",     64.0,  "1"},
    RateRow{"300x",   300.0,  "2"},
    RateRow{"600x",   600.0,  "3"},
};
constexpr std::array kLegacySlew{
    RateRow{"600x",   600.0,  "0"},
    RateRow{"900x",   900.0,  "1"},
    RateRow{"1200x", 1200.0,  "2"},
};
constexpr std::array kLegacySlewFir{
    RateRow{"300x",   300.0,  "0"},
    RateRow{"450x",   450.0,  "1"},
    RateRow{"600x",   600.0,  "2"},
};

/// The first centering rows of all numbered types; two faster ones follow, which depend on the type.
constexpr std::array kNumberedCentering{
    RateRow{"0.25x",    0.25, "5"},
    RateRow{"0.50x",    0.5,  "6"},
    RateRow{"1.00x",    1.0,  "7"},
    RateRow{"12x",     12.0,  "0"},
    RateRow{"64x",     64.0,  "1"},
    RateRow{"200x",   200.0,  "2"},
};

struct NumberedTable {
    std::string_view type;
    std::array<RateRow, 2> fastCentering;
    std::array<RateRow, 3> slew;
};

constexpr std::array kNumbered{
    NumberedTable{"0",
        {{{"600x",   600.0, "3"}, {"1200x", 1200.0, "4"}}},
        {{{"600x",   600.0, "0"}, {"900x",   900.0, "1"}, {"1200x", 1200.0, "2"}}}},
    NumberedTable{"1",
        {{{"500x",   500.0, "3"}, {"900x",   900.0, "4"}}},
        {{{"400x",   400.0, "0"}, {"650x",   650.0, "1"}, {"900x",   900.0, "2"}}}},
    NumberedTable{"2",
        {{{"400x",   400.0, "3"}, {"600x",   600.0, "4"}}},
        {{{"300x",   300.0, "0"}, {"450x",   450.0, "1"}, {"600x",   600.0, "2"}}}},
    NumberedTable{"3",
        {{{"600x",   600.0, "3"}, {"1200x", 1200.0, "4"}}},
        {{{"600x",   600.0, "0"}, {"1000x", 1000.0, "1"}, {"1800x", 1800.0, "2"}}}},
};
// clang-format on

void Append(MountRateCollection& collection, const BlindCommand& command, std::span<const RateRow> rows) {
    for (const RateRow& row : rows) {
        collection.AddRate(row.value, row.text, command.With(row.argument).OnTheWire());
    }
}

/// One value of each row, after the empty slot 0.
template <typename Value, typename Get>
std::vector<Value> ValuesFromOne(const std::vector<MountRateInstance>& rows, Get get) {
    std::vector<Value> values(1);
    for (const MountRateInstance& row : rows) {
        values.push_back(get(row));
    }
    return values;
}

}  // namespace

void MountRateInstance::Init(double theRateValue, std::string_view theRateString, std::string_view theMountCommand) {
    rateValue_ = theRateValue;
    rateString_ = theRateString;
    mountCommand_ = theMountCommand;
    initialized_ = true;
}

double MountRateInstance::RateValue() const {
    CheckInitialized();
    return rateValue_;
}

const std::string& MountRateInstance::RateString() const {
    CheckInitialized();
    return rateString_;
}

const std::string& MountRateInstance::MountCommand() const {
    CheckInitialized();
    return mountCommand_;
}

void MountRateInstance::CheckInitialized() const {
    if (!initialized_) {
        throw RunTimeError(kNotInitialized, "MountRaiseInstance Has not been Initialized");
    }
}

void MountRateCollection::AddRate(double RateValue, std::string_view RateString, std::string_view MountCommand) {
    rows_.emplace_back().Init(RateValue, RateString, MountCommand);
}

std::vector<MountRateInstance> MountRateCollection::GetRateCollection() const {
    return ValuesFromOne<MountRateInstance>(rows_, [](const MountRateInstance& row) { return row; });
}

std::vector<std::string> MountRateCollection::GetRateStrings() const {
    return ValuesFromOne<std::string>(rows_, [](const MountRateInstance& row) { return row.RateString(); });
}

std::vector<std::string> MountRateCollection::GetRateCommands() const {
    return ValuesFromOne<std::string>(rows_, [](const MountRateInstance& row) { return row.MountCommand(); });
}

std::vector<double> MountRateCollection::GetRateValues() const {
    return ValuesFromOne<double>(rows_, [](const MountRateInstance& row) { return row.RateValue(); });
}

template <typename Fits>
std::optional<MountRateInstance> MountRateCollection::First(Fits fits) const {
    const auto found = std::ranges::find_if(rows_, fits);
    return found == rows_.end() ? std::nullopt : std::optional(*found);
}

std::optional<MountRateInstance> MountRateCollection::GetRateByString(std::string_view rateString) const {
    return First([&](const MountRateInstance& row) { return row.RateString() == rateString; });
}

std::optional<MountRateInstance> MountRateCollection::GetRateByValue(double value) const {
    // Compared with the two bounds and not by the difference: 1200.001 - 1200 is a very little below 0.001.
    return First([&](const MountRateInstance& row) {
        return value > row.RateValue() - kSameRate && value < row.RateValue() + kSameRate;
    });
}

std::optional<MountRateInstance> MountRateCollection::GetRateByCommand(std::string_view mountCommand) const {
    return First([&](const MountRateInstance& row) { return row.MountCommand() == mountCommand; });
}

std::optional<MountRateInstance> MountRateCollection::GetRateByIndex(std::int32_t index) const {
    if (index < 1 || static_cast<std::size_t>(index) > rows_.size()) {
        return std::nullopt;
    }
    return rows_[static_cast<std::size_t>(index) - 1];
}

double MountRateCollection::GetMaxRate() const {
    return std::ranges::max(GetRateValues());
}

bool MountRatesFactory::CreateRateCollections(std::string_view mountRateType, MountRateCollection& guideRateCollection,
                                              MountRateCollection& centeringRateCollection,
                                              MountRateCollection& slewRateCollection) const {
    guideRateCollection = MountRateCollection{};
    centeringRateCollection = MountRateCollection{};
    slewRateCollection = MountRateCollection{};
    for (const GuideRateRow& rate : kGuideRates) {
        guideRateCollection.AddRate(rate.multiple, rate.text, wire::GuideRate.With(rate.argument).OnTheWire());
    }
    const auto numbered = std::ranges::find(kNumbered, mountRateType, &NumberedTable::type);
    if (numbered != kNumbered.end()) {
        Append(centeringRateCollection, wire::CenteringRate, kNumberedCentering);
        Append(centeringRateCollection, wire::CenteringRate, numbered->fastCentering);
        Append(slewRateCollection, wire::SlewRate, numbered->slew);
        return true;
    }
    const bool halfSpeed = mount_.mountType == Mount_Type::FIR;
    Append(centeringRateCollection, wire::CenteringRate, halfSpeed ? kLegacyCenteringFir : kLegacyCentering);
    Append(slewRateCollection, wire::SlewRate, halfSpeed ? kLegacySlewFir : kLegacySlew);
    return mountRateType.empty();
}

}  // namespace kestrane
