#pragma once

#include <memory>
#include <string>

#include "platform/message_pump.h"
#include "platform/web_pages.h"

namespace kestrane {

/// Each page is fetched on a thread of its own, which may outlive the object.
class HttpsPages final : public WebPages {
public:
    /// `trusted`: a file with the certificates to trust; empty: those of the machine.
    explicit HttpsPages(MessagePump& pump, std::string trusted = {});
    ~HttpsPages() override;
    HttpsPages(const HttpsPages&) = delete;
    HttpsPages& operator=(const HttpsPages&) = delete;

    void Fetch(WebPageRequest request, std::function<void(std::optional<std::string> body)> done) override;

private:
    class Door;

    const std::shared_ptr<Door> door_;
    const std::string trusted_;
};

}  // namespace kestrane
