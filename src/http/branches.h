#pragma once

#include <string>
#include <vector>

#include "http/own_hosts.h"
#include "http/request.h"

/// Who answers which paths of the server.
namespace kestrane::http {

/// Which requests must be meant for this machine by their `Host` and `Origin`; others are refused with status 403.
enum class Guard {
    Everything,  ///< for pages that a browser shows
    Changes,     ///< PUT only: programs may read under any name by which they reach the machine
};

/// A path and all paths below it, with the function that answers them.
struct Branch {
    std::string path;  ///< "/page" takes "/page" and "/page/...", not "/pages"; "" takes every path
    Guard guard = Guard::Everything;
    RequestFunction handle;
};

/// A complete request as it came over a connection.
struct ReceivedRequest {
    std::string method;
    std::string target;
    std::string host;    ///< `Host` header, empty when there is none
    std::string origin;  ///< `Origin` header, empty when there is none
    std::string body;
    std::string remoteAddress;
    ConnectionId connection = 0;
};

/// Gives a request to the branch with the longest path that takes it. Refuses by itself a request that is neither GET
/// nor PUT, one that the guard of the branch keeps out, and one that no branch takes. I/O thread only.
void Dispatch(const std::vector<Branch>& branches, const OwnHosts& own, ReceivedRequest received,
              const AnswerFunction& answer);

}  // namespace kestrane::http
