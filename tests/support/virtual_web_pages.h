#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/web_pages.h"
#include "support/virtual_clock.h"
#include "support/virtual_pump.h"

namespace kestrane {

/// Pages as a test wants them, on virtual time.
class VirtualWebPages final : public WebPages {
public:
    VirtualWebPages(VirtualClock& clock, VirtualPump& pump) : clock_(clock), pump_(pump) {}

    std::vector<WebPageRequest> requests;
    std::optional<std::string> body;  ///< of each page; nothing: no page comes in time
    std::int32_t afterMs = 50;

    void Fetch(WebPageRequest request, std::function<void(std::optional<std::string> body)> done) override {
        requests.push_back(request);
        const bool comes = body && afterMs < request.withinMs;
        pump_.PostAt(clock_.Elapsed() + (comes ? afterMs : request.withinMs), CallKind::Brief,
                     [done = std::move(done), page = comes ? body : std::nullopt] { done(page); });
    }

private:
    VirtualClock& clock_;
    VirtualPump& pump_;
};

}  // namespace kestrane
