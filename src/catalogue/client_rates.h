#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "kernel/base/errors.h"

/// The lists of rates that clients get. A client holds a list as `shared_ptr` to const, so only the driver adds and
/// removes. Indices count from 1; one outside the list raises run-time error 9. Logic thread only.
namespace kestrane {

class IRate {
public:
    virtual ~IRate() = default;
    virtual double IRate_Minimum() const = 0;
    virtual void IRate_Minimum(double degreesPerSecond) = 0;
    virtual double IRate_Maximum() const = 0;
    virtual void IRate_Maximum(double degreesPerSecond) = 0;
};

/// A range of speeds of an axis, in degrees per second. Anyone who holds it may change it.
class rate final : public IRate {
public:
    rate(double minimum, double maximum) : minimum_(minimum), maximum_(maximum) {}

    double Minimum() const { return minimum_; }
    void Minimum(double degreesPerSecond) { minimum_ = degreesPerSecond; }
    double Maximum() const { return maximum_; }
    void Maximum(double degreesPerSecond) { maximum_ = degreesPerSecond; }

    double IRate_Minimum() const override { return Minimum(); }
    void IRate_Minimum(double degreesPerSecond) override { Minimum(degreesPerSecond); }
    double IRate_Maximum() const override { return Maximum(); }
    void IRate_Maximum(double degreesPerSecond) override { Maximum(degreesPerSecond); }

private:
    double minimum_;
    double maximum_;
};

/// A list that counts from 1.
template <typename Element>
class OrderedCollection {
public:
    void Add(Element element) { elements_.push_back(std::move(element)); }
    void Remove(std::int32_t index) { elements_.erase(elements_.begin() + Offset(index)); }
    std::int32_t Count() const { return static_cast<std::int32_t>(elements_.size()); }
    const Element& Item(std::int32_t index) const { return elements_[static_cast<std::size_t>(Offset(index))]; }
    const std::vector<Element>& All() const { return elements_; }

private:
    std::ptrdiff_t Offset(std::int32_t index) const {
        if (index < 1 || index > Count()) {
            throw RunTimeError(RunTimeError::kSubscriptOutOfRange, "Subscript out of range");
        }
        return index - 1;
    }

    std::vector<Element> elements_;
};

class IAxisRates {
public:
    virtual ~IAxisRates() = default;
    virtual std::int32_t IAxisRates_Count() const = 0;
    virtual std::shared_ptr<rate> IAxisRates_Item(std::int32_t Index) const = 0;
    virtual const std::vector<std::shared_ptr<rate>>& IAxisRates_NewEnum() const = 0;
};

/// The speeds that an axis can be moved at.
class AxisRates final : public IAxisRates {
public:
    std::int32_t Count() const { return rates_.Count(); }
    std::shared_ptr<rate> Item(std::int32_t Index) const { return rates_.Item(Index); }
    /// For a walk through the list, as long as the list lives and nothing is added or removed.
    const std::vector<std::shared_ptr<rate>>& NewEnum() const { return rates_.All(); }

    std::int32_t IAxisRates_Count() const override { return Count(); }
    std::shared_ptr<rate> IAxisRates_Item(std::int32_t Index) const override { return Item(Index); }
    const std::vector<std::shared_ptr<rate>>& IAxisRates_NewEnum() const override { return NewEnum(); }

    void Add(double minimum, double maximum) { rates_.Add(std::make_shared<rate>(minimum, maximum)); }
    void Remove(std::int32_t index) { rates_.Remove(index); }

private:
    OrderedCollection<std::shared_ptr<rate>> rates_;
};

class ITrackingRates {
public:
    virtual ~ITrackingRates() = default;
    virtual std::int32_t ITrackingRates_Count() const = 0;
    virtual std::int32_t ITrackingRates_Item(std::int32_t Index) const = 0;
    virtual const std::vector<std::int32_t>& ITrackingRates_NewEnum() const = 0;
};

/// The tracking rates that the mount can drive: 0 sidereal, 1 lunar, 2 solar, 3 King.
class TrackingRates final : public ITrackingRates {
public:
    std::int32_t Count() const { return rates_.Count(); }
    std::int32_t Item(std::int32_t Index) const { return rates_.Item(Index); }
    /// For a walk through the list, as long as the list lives and nothing is added or removed.
    const std::vector<std::int32_t>& NewEnum() const { return rates_.All(); }

    std::int32_t ITrackingRates_Count() const override { return Count(); }
    std::int32_t ITrackingRates_Item(std::int32_t Index) const override { return Item(Index); }
    const std::vector<std::int32_t>& ITrackingRates_NewEnum() const override { return NewEnum(); }

    void Add(std::int32_t trackingRate) { rates_.Add(trackingRate); }
    void Remove(std::int32_t index) { rates_.Remove(index); }

private:
    OrderedCollection<std::int32_t> rates_;
};

/// The lists of the process, empty until the first telescope object makes them. They are shared by all objects.
struct ClientRateLists {
    std::shared_ptr<AxisRates> primary, secondary, tertiary;
    /// Replaced at each read by a client; a client that holds an older one keeps its contents.
    std::shared_ptr<TrackingRates> tracking;
};

}  // namespace kestrane
