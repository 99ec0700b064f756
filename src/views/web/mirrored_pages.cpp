#include "views/web/mirrored_pages.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace kestrane::web {

/// A page as the mirror sees it.
class MirroredPages::Page final : public mirror::Transport {
public:
    Page(WebView& web, ViewId id) : web_(web), id_(id) {}

    void Send(std::string message) override {
        if (open_) {
            web_.Send(id_, std::move(message));
        }
    }
    std::size_t Unsent() const override { return web_.Unsent(id_); }
    bool IsOpen() const override { return open_; }
    void Close() override {
        open_ = false;
        web_.Close(id_);
    }
    void HasGone() { open_ = false; }

private:
    WebView& web_;
    ViewId id_;
    bool open_ = true;
};

MirroredPages::MirroredPages(mirror::MirrorNeeds needs, Doors doors, HoldsTelescope holdsTelescope)
    : pump_(needs.pump),
      mirror_(std::move(needs)),
      web_({
          .pump = pump_,
          .doors = doors,
          .opened = [this](ViewId id, May may) { OnOpened(id, may); },
          .received = [this](ViewId id, const std::string& text) { OnReceived(id, text); },
          .closed = [this](ViewId id) { OnClosed(id); },
          .tick = [this] { mirror_.Tick(); },
          .stop = [this](std::function<void()> done) { mirror_.Stop(std::move(done)); },
          .holdsTelescope = std::move(holdsTelescope),
      }) {
    static_assert(WebView::kTickMs == mirror::Mirror::kBatchMs);
}

void MirroredPages::OnOpened(ViewId id, May may) {
    const auto page = std::make_shared<Page>(web_, id);
    pages_[id] = {page, mirror_.Open(page, may == May::All ? mirror::May::All : mirror::May::OnlyStop)};
}

void MirroredPages::OnReceived(ViewId id, const std::string& text) {
    if (const auto found = pages_.find(id); found != pages_.end()) {
        mirror_.Received(found->second.view, text);
    }
}

/// The end of a view is a stop: it may hold a button.
void MirroredPages::OnClosed(ViewId id) {
    const auto found = pages_.find(id);
    if (found == pages_.end()) {
        return;
    }
    found->second.page->HasGone();
    pump_.Post(CallKind::Stop, [this, view = found->second.view] { mirror_.Closed(view); });
    pages_.erase(found);
}

void MirroredPages::SayEnd(mirror::EndReason reason) {
    if (!std::exchange(endSaid_, true)) {
        mirror_.SayEnd(reason);
    }
}

bool MirroredPages::AllIsSent() const {
    return std::ranges::all_of(pages_, [](const auto& page) { return page.second.page->Unsent() == 0; });
}

}  // namespace kestrane::web
