#include "alpaca/client_object.h"

#include <algorithm>

namespace kestrane::alpaca {

void ClientObject::Connected(bool connect) {
    device_->Connected(connect);
    connects_ = connect ? connects_ + 1 : std::max(0, connects_ - 1);
}

void ClientObject::Disconnect() {
    for (; connects_ > 0; --connects_) {
        try {
            device_->Connected(false);
        } catch (...) {
            // Nobody is left to hear of the failure, and the object is released in any case: a process that kept it
            // would never end.
        }
    }
}

}  // namespace kestrane::alpaca
