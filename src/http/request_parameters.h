#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// The target and the form of a request taken apart. Pure functions on values, without a locale; safe on any bytes.
namespace kestrane::http {

/// The target of a request line: path and query, both still encoded.
struct RequestTarget {
    std::string_view path;
    std::string_view query;
};

/// Splits at the first "?"; a doubled one ("??") is accepted.
RequestTarget SplitTarget(std::string_view target);

/// "%41" and "+" become "A" and a blank; a "%" without two hexadecimal digits stays as it is.
std::string DecodeForm(std::string_view encoded);

enum class NameMatch { AnyCase, Exact };

/// Names and values of a query or a form body, decoded, in their order.
class RequestParameters {
public:
    static constexpr std::size_t kMostParameters = 64;

    /// Nothing when there are more than `kMostParameters`.
    static std::optional<RequestParameters> Parse(std::string_view encoded);

    /// The value of the first parameter of that name; null when there is none. Stays valid as long as this object.
    const std::string* Find(std::string_view name, NameMatch match) const;
    std::size_t Count() const { return parameters_.size(); }

private:
    std::vector<std::pair<std::string, std::string>> parameters_;
};

}  // namespace kestrane::http
