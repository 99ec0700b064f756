#pragma once

#include "simulator/mount_simulator.h"

namespace kestrane {

/// Says that it stands on the west side of the pier wherever it stands: with the hour angle of a healthy mount, a slew
/// over the meridian then takes two legs.
class StandsWest final : public Misbehaviour {
public:
    void Change(SimulatedReply& reply) override {
        if (reply.name == "pS") {
            reply.parts = {{0, "West#"}};
        }
    }
};

}  // namespace kestrane
