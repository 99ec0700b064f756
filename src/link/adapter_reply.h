#pragma once

#include <string>
#include <string_view>

#include "kernel/base/log.h"

/// The texts of a mount's adapter and of the companion's REST interface, as they stand on HTTP.
namespace kestrane {

/// Letters and digits stand for themselves, every other byte of the line is "%" and two hexadecimal digits:
/// ":GR#" is "%3AGR%23".
std::string EncodeUrl(std::string_view text);

/// Without up to three carriage returns or line feeds at its end.
std::string TrimLineEnds(std::string_view text);

/// The body of the REST request for a command: `{  "Command": "..."}`. Backslashes are doubled, quotes and control
/// characters escaped.
std::string RestBody(std::string_view command);

/// What the companion's REST interface has answered.
struct RestReply {
    std::string response;  ///< the mount's reply
    std::string message;   ///< of the companion, for the log
    bool success = false;
};

/// Takes the fields out of the companion's body and logs them. Not a JSON reader: a field begins after its name in
/// quotes and a ":", and ends at the end of its quotes, or at a "," or "}" outside quotes; a "\" takes the next
/// character as it is. Blanks around the ":" are taken, null is an empty text. A field that is missing is empty.
RestReply StripResponse(std::string_view body, Log& log);

}  // namespace kestrane
