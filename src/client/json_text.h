#pragma once

#include <boost/json/value.hpp>
#include <string>

namespace kestrane::client {

/// JSON in one line, numbers in their shortest plain form ("12.5", not "1.25E1").
std::string JsonText(const boost::json::value& value);

/// For people: texts without quotes, True and False, null as "-", the rest as JSON.
std::string PlainText(const boost::json::value& value);

}  // namespace kestrane::client
