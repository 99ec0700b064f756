#pragma once

namespace kestrane {

/// A value that everybody may read and only one class may write. It reads like a plain `Value`; an assignment anywhere
/// outside `Owner` does not compile. It cannot be copied, so that nobody takes a copy for the value itself.
template <typename Owner, typename Value>
class OwnedBy {
public:
    constexpr explicit OwnedBy(Value value) : value_(value) {}
    OwnedBy(const OwnedBy&) = delete;
    OwnedBy& operator=(const OwnedBy&) = delete;

    constexpr operator Value() const { return value_; }

private:
    friend Owner;

    constexpr void operator=(Value value) { value_ = value; }
    constexpr Value operator++() { return ++value_; }

    Value value_;
};

}  // namespace kestrane
