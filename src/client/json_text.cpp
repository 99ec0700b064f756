#include "client/json_text.h"

#include <boost/json.hpp>

#include "client/angles.h"

namespace kestrane::client {

namespace json = boost::json;

std::string JsonText(const json::value& value) {
    std::string text;
    if (const auto* number = value.if_double()) {
        return FormatNumber(*number);
    }
    if (const auto* object = value.if_object()) {
        for (const auto& member : *object) {
            text += (text.empty() ? "" : ",") + json::serialize(json::string(member.key())) + ":" +
                    JsonText(member.value());
        }
        return "{" + text + "}";
    }
    if (const auto* array = value.if_array()) {
        for (const auto& element : *array) {
            text += (text.empty() ? "" : ",") + JsonText(element);
        }
        return "[" + text + "]";
    }
    return json::serialize(value);
}

std::string PlainText(const json::value& value) {
    if (value.is_null()) {
        return "-";
    }
    if (const auto* flag = value.if_bool()) {
        return *flag ? "True" : "False";
    }
    if (const auto* text = value.if_string()) {
        return std::string(*text);
    }
    return JsonText(value);
}

}  // namespace kestrane::client
