#pragma once

#include <string_view>

#include "http/answer.h"

/// The files of the page over HTTP. Pure functions.
namespace kestrane::web {

/// By the end of the name; "application/octet-stream" for an end that no file of the page should have.
std::string_view ContentTypeOf(std::string_view path);

/// The file of the page that a path of the server names, with what a browser must know to keep it from loading or
/// running anything else; status 304 when `ifNoneMatch` names its `ETag`, 404 when there is no such file. "/" and the
/// addresses at which Alpaca clients look for the setup of a device are all "index.html": the page looks at its address
/// itself.
http::Answer PageAnswerTo(std::string_view path, std::string_view ifNoneMatch);

}  // namespace kestrane::web
