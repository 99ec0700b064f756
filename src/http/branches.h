#pragma once

#include <string>
#include <vector>

#include "http/own_hosts.h"
#include "http/request.h"

/// Who answers which paths of the server.
namespace kestrane::http {

/// A path and all paths below it, with the function that answers them.
struct Branch {
    std::string path;  ///< "/page" takes "/page" and "/page/...", not "/pages"; "" takes every path
    RequestFunction handle;
    bool takesHead = false;  ///< HEAD too, which it gets as a GET; the answer goes out without its content
    bool isUrgent = false;   ///< its PUT requests at `path` are answered however many connections there are
};

/// A complete request as it came over a connection.
struct ReceivedRequest {
    std::string method;
    std::string target;
    std::string host;       ///< `Host` header, empty when there is none
    std::string origin;     ///< `Origin` header, empty when there is none
    std::string fetchSite;  ///< `Sec-Fetch-Site` header, empty when there is none
    std::string body;
    std::string remoteAddress;
    ConnectionId connection = 0;
    std::string ifNoneMatch{};  ///< `If-None-Match` header, empty when there is none
    bool wantsWebSocket = false;
};

/// Gives a request to the branch with the longest path that takes it. Refuses by itself a request that is neither GET
/// nor PUT (nor HEAD, where the branch takes it), one that no branch takes, and, with status 403, one that is not meant
/// for this machine by its `Host`, `Origin` and `Sec-Fetch-Site`: an image of a foreign page is a GET too, and a GET
/// makes an object, or reads where the telescope stands. I/O thread only.
void Dispatch(const std::vector<Branch>& branches, const OwnHosts& own, ReceivedRequest received,
              const AnswerFunction& answer);

}  // namespace kestrane::http
