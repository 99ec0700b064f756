#pragma once

#include <boost/json/value.hpp>
#include <string>
#include <string_view>

namespace kestrane::client {

/// JSON in one line, numbers in their shortest plain form ("12.5", not "1.25E1"), control characters and bytes that are
/// no UTF-8 as escapes.
std::string JsonText(const boost::json::value& value);

/// A text as a terminal may get it: control characters as "\x1b", so that whoever wrote the text moves no cursor. Takes
/// UTF-8; a byte that is none becomes such an escape too.
std::string Shown(std::string_view text);

/// For people: texts without quotes, True and False, null as "-", the rest as JSON.
std::string PlainText(const boost::json::value& value);

}  // namespace kestrane::client
