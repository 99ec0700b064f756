#include "http/request_parameters.h"

#include <algorithm>
#include <charconv>

#include "kernel/base/text.h"

namespace kestrane::http {
namespace {

/// The character with the code in two hexadecimal digits; nothing for anything else.
std::optional<char> FromHex(std::string_view digits) {
    unsigned code = 0;
    const char* const end = digits.data() + digits.size();
    if (digits.size() != 2 || std::from_chars(digits.data(), end, code, 16).ptr != end) {
        return std::nullopt;
    }
    return static_cast<char>(code);
}

}  // namespace

RequestTarget SplitTarget(std::string_view target) {
    const std::size_t mark = target.find('?');
    if (mark == std::string_view::npos) {
        return {target, {}};
    }
    std::string_view query = target.substr(mark + 1);
    query.remove_prefix(std::min(query.find_first_not_of('?'), query.size()));
    return {target.substr(0, mark), query};
}

std::string DecodeForm(std::string_view encoded) {
    std::string decoded;
    decoded.reserve(encoded.size());
    for (std::size_t i = 0; i < encoded.size(); ++i) {
        const std::optional<char> escaped = encoded[i] == '%' ? FromHex(encoded.substr(i + 1, 2)) : std::nullopt;
        if (escaped) {
            decoded += *escaped;
            i += 2;
        } else {
            decoded += encoded[i] == '+' ? ' ' : encoded[i];
        }
    }
    return decoded;
}

std::optional<RequestParameters> RequestParameters::Parse(std::string_view encoded) {
    RequestParameters result;
    while (!encoded.empty()) {
        const std::size_t end = std::min(encoded.find('&'), encoded.size());
        const std::string_view pair = encoded.substr(0, end);
        encoded.remove_prefix(std::min(end + 1, encoded.size()));
        if (pair.empty()) {
            continue;
        }
        if (result.parameters_.size() == kMostParameters) {
            return std::nullopt;
        }
        const std::size_t equals = std::min(pair.find('='), pair.size());
        result.parameters_.emplace_back(DecodeForm(pair.substr(0, equals)),
                                        DecodeForm(pair.substr(std::min(equals + 1, pair.size()))));
    }
    return result;
}

const std::string* RequestParameters::Find(std::string_view name, NameMatch match) const {
    const auto form = [match](std::string_view text) {
        return match == NameMatch::Exact ? std::string(text) : ToLower(text);
    };
    const std::string wanted = form(name);
    for (const auto& [key, value] : parameters_) {
        if (form(key) == wanted) {
            return &value;
        }
    }
    return nullptr;
}

}  // namespace kestrane::http
