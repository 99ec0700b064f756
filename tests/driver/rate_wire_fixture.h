#pragma once

#include <functional>
#include <memory>
#include <string>

#include "support/driver_fixture.h"
#include "support/simulator_line.h"

namespace kestrane {

/// A mount that tracks, a client, and the bytes that a call of the client puts on the line. A status that is not asked
/// for leaves the driver by itself with what it knows.
class RateWireFixture : public DriverFixture {
public:
    ~RateWireFixture() override;

protected:
    struct Mount {
        std::string firmware = "VKC4-P02-08";
        bool asksStatus = true;
        bool king = false;
        double latitude = 47.0;
        bool westSide = false;  ///< as the mount has told it
    };

    void Connect() { Connect(Mount{}); }
    void Connect(const Mount& is);

    /// The bytes that `call` puts on the line.
    std::string WireOf(const std::function<void()>& call);
    static std::string MessageOf(const std::function<void()>& call);
    frmHandBox& HandBox() { return driver->handBox; }

    TelescopeObject telescope;
    std::unique_ptr<SimulatorLine> line;  ///< the one to the simulated mount

private:
    std::string written_;
};

}  // namespace kestrane
