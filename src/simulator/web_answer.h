#pragma once

#include <string>

namespace kestrane {

/// What somebody who asked over HTTP gets.
struct WebAnswer {
    enum class Outcome {
        Reply,         ///< `status` and `body`
        NoConnection,  ///< nobody takes the connection
        NoReply,       ///< the time that the asker waits has passed
    };

    Outcome outcome = Outcome::Reply;
    unsigned status = 200;
    std::string body;
};

}  // namespace kestrane
