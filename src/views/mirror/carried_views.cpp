#include "views/mirror/carried_views.h"

#include <algorithm>
#include <utility>

namespace kestrane::mirror {

/// A view of the carrier as the mirror sees it.
class CarriedViews::Carried final : public Transport {
public:
    Carried(const Carrier& carrier, Carrier::Id id) : carrier_(carrier), id_(id) {}

    void Send(std::string message) override {
        if (open_) {
            carrier_.send(id_, std::move(message));
        }
    }
    std::size_t Unsent() const override { return carrier_.unsent(id_); }
    bool IsOpen() const override { return open_; }
    void Close() override {
        open_ = false;
        carrier_.close(id_);
    }
    void HasGone() { open_ = false; }

private:
    const Carrier& carrier_;
    Carrier::Id id_;
    bool open_ = true;
};

CarriedViews::CarriedViews(MessagePump& pump, Mirror& mirror, Carrier carrier)
    : pump_(pump), mirror_(mirror), carrier_(std::move(carrier)) {}

void CarriedViews::Opened(Carrier::Id id, May may, Keeps keeps) {
    const auto transport = std::make_shared<Carried>(carrier_, id);
    open_[id] = {transport, mirror_.Open(transport, may, keeps)};
}

void CarriedViews::Received(Carrier::Id id, std::string_view text) {
    if (const auto found = open_.find(id); found != open_.end()) {
        mirror_.Received(found->second.view, text);
    }
}

/// The end of a view is a stop: it may hold a button.
void CarriedViews::Closed(Carrier::Id id) {
    const auto found = open_.find(id);
    if (found == open_.end()) {
        return;
    }
    found->second.transport->HasGone();
    pump_.Post(CallKind::Stop, [&mirror = mirror_, view = found->second.view] { mirror.Closed(view); });
    open_.erase(found);
}

bool CarriedViews::AllIsSent() const {
    return std::ranges::all_of(open_, [](const auto& each) { return each.second.transport->Unsent() == 0; });
}

}  // namespace kestrane::mirror
