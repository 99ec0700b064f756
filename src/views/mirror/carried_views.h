#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "views/mirror/mirror.h"

namespace kestrane::mirror {

/// What carries messages to views and back: a server of sockets, say. It numbers its views by itself, from 1 up. Its
/// functions do nothing for a view that is not there. Logic thread only.
struct Carrier {
    using Id = std::uint64_t;
    std::function<void(Id, std::string)> send;
    std::function<std::size_t(Id)> unsent;  ///< bytes that the view has not taken yet
    std::function<void(Id)> close;
};

/// The views of one carrier as views of the mirror. `Opened` and `Received` are made for calls of the kind Read, as the
/// members of the mirror; `Closed` posts the stop that the end of a view is. The mirror outlives it. Logic thread only.
class CarriedViews final {
public:
    CarriedViews(MessagePump& pump, Mirror& mirror, Carrier carrier);
    CarriedViews(const CarriedViews&) = delete;
    CarriedViews& operator=(const CarriedViews&) = delete;

    /// `keeps`: see `Mirror::AnyKeepsDriver`.
    void Opened(Carrier::Id id, May may, Keeps keeps = Keeps::Driver);
    void Received(Carrier::Id id, std::string_view text);
    void Closed(Carrier::Id id);

    /// Whether the carrier has nothing left to send.
    bool AllIsSent() const;

private:
    class Carried;
    struct OpenView {
        std::shared_ptr<Carried> transport;
        Mirror::ViewId view = 0;
    };

    MessagePump& pump_;
    Mirror& mirror_;
    Carrier carrier_;
    std::map<Carrier::Id, OpenView> open_;
};

}  // namespace kestrane::mirror
