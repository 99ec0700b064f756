#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "catalogue/ks_mount.h"

namespace kestrane {

/// One rate that the mount offers. Reading any of its values before `Init` raises error 1.
class MountRateInstance {
public:
    void Init(double theRateValue, std::string_view theRateString, std::string_view theMountCommand);

    double RateValue() const;                 ///< multiple of the sidereal rate
    const std::string& RateString() const;    ///< as shown to people: "0.50x"
    const std::string& MountCommand() const;  ///< the raw command that selects it

private:
    void CheckInitialized() const;

    double rateValue_ = 0.0;
    std::string rateString_;
    std::string mountCommand_;
    bool initialized_ = false;
};

/// Rates in the order of adding. Rows are handed out as copies, so that they outlive a rebuild of the tables. Every
/// array runs from 0 to the count; slot 0 holds an empty element, and callers walk from 1.
class MountRateCollection {
public:
    void AddRate(double RateValue, std::string_view RateString, std::string_view MountCommand);

    std::size_t Count() const { return rows_.size(); }

    /// Slot 0 is a row that was never initialized.
    std::vector<MountRateInstance> GetRateCollection() const;
    std::vector<std::string> GetRateStrings() const;
    std::vector<std::string> GetRateCommands() const;
    std::vector<double> GetRateValues() const;

    /// The first row that fits, or nothing. Texts must be equal, upper and lower case included; a value may be off by
    /// less than 0.001.
    std::optional<MountRateInstance> GetRateByString(std::string_view rateString) const;
    std::optional<MountRateInstance> GetRateByValue(double value) const;
    std::optional<MountRateInstance> GetRateByCommand(std::string_view mountCommand) const;
    /// Counted from 1; nothing for an index outside.
    std::optional<MountRateInstance> GetRateByIndex(std::int32_t index) const;
    /// 0 for an empty collection.
    double GetMaxRate() const;

private:
    template <typename Fits>
    std::optional<MountRateInstance> First(Fits fits) const;

    std::vector<MountRateInstance> rows_;
};

/// Builds the collections of a rate type from the tables. `mount` outlives it.
class MountRatesFactory {
public:
    explicit MountRatesFactory(const KsMount& mount) : mount_(mount) {}

    /// Replaces all three collections. "0" to "3" select a table of their own; "" selects the legacy table, which has
    /// two sets of rows, one for `FIR` and one for all other models. Any other type gives the legacy rows and false.
    bool CreateRateCollections(std::string_view mountRateType, MountRateCollection& guideRateCollection,
                               MountRateCollection& centeringRateCollection,
                               MountRateCollection& slewRateCollection) const;

private:
    const KsMount& mount_;
};

}  // namespace kestrane
