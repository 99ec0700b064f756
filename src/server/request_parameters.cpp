#include "server/request_parameters.h"

#include <algorithm>

namespace kestrane::server {
namespace {

char LowerCharacter(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

int HexDigit(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    const char lower = LowerCharacter(c);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
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
        if (encoded[i] == '%' && i + 2 < encoded.size() && HexDigit(encoded[i + 1]) >= 0 &&
            HexDigit(encoded[i + 2]) >= 0) {
            decoded += static_cast<char>(HexDigit(encoded[i + 1]) * 16 + HexDigit(encoded[i + 2]));
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
    for (const auto& [key, value] : parameters_) {
        if (match == NameMatch::Exact ? key == name : EqualInAnyCase(key, name)) {
            return &value;
        }
    }
    return nullptr;
}

bool EqualInAnyCase(std::string_view left, std::string_view right) {
    return std::ranges::equal(left, right, [](char a, char b) { return LowerCharacter(a) == LowerCharacter(b); });
}

std::string Lowered(std::string_view text) {
    std::string result(text);
    std::ranges::transform(result, result.begin(), LowerCharacter);
    return result;
}

}  // namespace kestrane::server
