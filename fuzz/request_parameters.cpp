// What a client may send as the target and the form of a request.

#include "http/request_parameters.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "alpaca/parameter_values.h"

namespace {

void Require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace kestrane::alpaca;
    using namespace kestrane::http;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const RequestTarget target = SplitTarget(text);
    Require(target.path.size() + target.query.size() <= text.size());
    Require(DecodeForm(text).size() <= text.size());
    if (const auto parameters = RequestParameters::Parse(target.query)) {
        Require(parameters->Count() <= RequestParameters::kMostParameters);
        for (const std::string_view name : {"ClientID", "RightAscension", "Connected", ""}) {
            for (const NameMatch match : {NameMatch::AnyCase, NameMatch::Exact}) {
                if (const std::string* value = parameters->Find(name, match)) {
                    ParseId(value);
                    ParseBoolean(*value);
                    ParseInteger(*value);
                    ParseUtcDate(*value);
                }
            }
        }
    }
    if (const auto number = ParseNumber(text)) {
        Require(std::isfinite(*number));
    }
    if (const auto date = ParseUtcDate(text)) {
        Require(date->month >= 1 && date->month <= 12 && date->day >= 1 && date->day <= 31);
    }
    return 0;
}
