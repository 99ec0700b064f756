#include "views/mirror/mirror.h"

#include <algorithm>
#include <utility>

#include "views/mirror/mirror_view.h"

namespace kestrane::mirror {
namespace {

constexpr std::int32_t kEarlyMs = 10;

}  // namespace

Mirror::Mirror(MirrorNeeds needs) : needs_(std::move(needs)) {}

Mirror::~Mirror() {
    for (const auto* views : {&views_, &closing_}) {
        for (const std::shared_ptr<MirrorView>& view : *views) {
            view->End();
        }
    }
}

bool Mirror::AnyKeepsDriver() const {
    return std::ranges::any_of(views_, &MirrorView::KeepsDriver);
}

Mirror::ViewId Mirror::Open(std::shared_ptr<Transport> transport, May may, Keeps keeps) {
    const ViewId id = ++lastId_;
    if (transport->IsOpen()) {  // its end may be known before its beginning
        views_.push_back(std::make_shared<MirrorView>(needs_, id, std::move(transport), may, keeps));
        views_.back()->Begin();
        // A view shows the hand box before there is a client, too.
        needs_.pump.Post(CallKind::Brief, [&handBox = needs_.windows.handBox] { handBox.EnsureLoaded(); });
    }
    return id;
}

void Mirror::Received(ViewId id, std::string_view message) {
    const auto found = std::ranges::find(views_, id, &MirrorView::Id);
    if (found != views_.end()) {
        const std::shared_ptr<MirrorView> view = *found;  // it may be the one that closes
        view->Received(message);
    }
}

void Mirror::Closed(ViewId id) {
    const auto found = std::ranges::find(views_, id, &MirrorView::Id);
    if (found != views_.end()) {
        const std::shared_ptr<MirrorView> view = *found;
        views_.erase(found);
        view->End();
    }
}

void Mirror::Tick() {
    const kestrane::Tick now = needs_.clock.GetTickCount();
    if (lastTick_ && now - *lastTick_ < kBatchMs - kEarlyMs) {
        return;
    }
    lastTick_ = now;
    const std::vector<std::shared_ptr<MirrorView>> views = views_;
    for (const std::shared_ptr<MirrorView>& view : views) {
        view->Tick();
        if (!view->IsOpen()) {
            closing_.push_back(view);
            std::erase(views_, view);
            needs_.pump.Post(CallKind::Stop, [this, weak = std::weak_ptr(view)] {
                if (const std::shared_ptr<MirrorView> closed = weak.lock()) {  // or the mirror has gone
                    closed->End();
                    std::erase(closing_, closed);
                }
            });
        }
    }
}

void Mirror::Stop(std::function<void()> done) {
    needs_.stopAll();
    needs_.pump.Post(CallKind::Stop, std::move(done));
}

void Mirror::SayEnd(EndReason reason) {
    for (const std::shared_ptr<MirrorView>& view : views_) {
        view->SayEnd(reason);
    }
}

}  // namespace kestrane::mirror
