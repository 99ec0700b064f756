#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kestrane {

struct WebPageRequest {
    std::string host;                                          ///< name or IPv4 address; may carry ":port", else 443
    std::string target;                                        ///< path and query, encoded
    std::vector<std::pair<std::string, std::string>> headers;  ///< beside those that each request has
    std::int32_t withinMs = 5000;                              ///< in all, from the lookup of the name to the last byte
    std::size_t mostBodyBytes = 65536;
};

/// Pages of the world, fetched over HTTPS beside the logic thread, which never waits for one. For what may fail without
/// harm; nothing that moves the mount goes this way. Logic thread only. Raises nothing.
class WebPages {
public:
    virtual ~WebPages() = default;

    /// `done` runs once, later, as a brief call on the logic thread: with the body of a page that came whole and in
    /// time from a host whose certificate is good, else with nothing. Not after the end of this object.
    virtual void Fetch(WebPageRequest request, std::function<void(std::optional<std::string> body)> done) = 0;
};

}  // namespace kestrane
