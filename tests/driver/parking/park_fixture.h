#pragma once

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "driver/slews/slew_wire_fixture.h"
#include "kernel/base/conversions.h"

namespace kestrane {

/// A person who looks at a window.
class ParkWatcher final : public FormView {
public:
    void Changed(Form&, std::string_view, Property) override {}
};

/// What the label of the park has shown since this was made, each text once in a row.
class ParkLabel final : public FormView {
public:
    explicit ParkLabel(frmHandBox& handBox) : handBox_(handBox) { handBox_.Attach(*this); }
    ~ParkLabel() override { handBox_.Detach(*this); }
    ParkLabel(const ParkLabel&) = delete;
    ParkLabel& operator=(const ParkLabel&) = delete;

    void Changed(Form&, std::string_view control, Property property) override {
        if (control == handBox_.lblParkStatus.Name() && property == Property::Text) {
            texts_.push_back(handBox_.lblParkStatus.Text());
        }
    }
    const std::vector<std::string>& Texts() const { return texts_; }
    int Times(std::string_view text) const { return static_cast<int>(std::count(texts_.begin(), texts_.end(), text)); }

private:
    frmHandBox& handBox_;
    std::vector<std::string> texts_;
};

/// A mount that is to park.
class ParkTest : public SlewWireTest {
protected:
    double slewAcceleration = MountSimulatorOptions{}.slewAcceleration;  ///< degrees per second squared

    /// As other tests connect, at a latitude.
    void ConnectAt(double latitude, const std::string& firmware, const SettingTexts& settings,
                   std::optional<MountPointing> start = std::nullopt) {
        MountSimulatorOptions options;
        options.firmware = firmware;
        options.latitude = latitude;
        options.parkedAtPowerOn = false;
        options.start = start;
        options.slewAcceleration = slewAcceleration;
        Connect(options, settings);
        if (!telescope->Tracking()) {
            telescope->Tracking(true);
        }
        machine.AdvanceTime(6'000);
    }

    /// Waits until no park is under way, three minutes at most.
    bool WaitForParkEnd() {
        for (int i = 0; i < 720 && driver->state.g_bParking; ++i) {
            machine.AdvanceTime(250);
        }
        return !driver->state.g_bParking;
    }
    /// The mount has parked, and driver and settings say so.
    void ExpectParked(const std::string& parkStatus = "Parked") {
        EXPECT_TRUE(WaitForParkEnd());
        machine.AdvanceTime(10'000);
        EXPECT_TRUE(telescope->AtPark());
        EXPECT_FALSE(telescope->Slewing());
        EXPECT_FALSE(telescope->Tracking());
        EXPECT_TRUE(mount->Picture().parked);
        EXPECT_FALSE(mount->Picture().slewing);
        EXPECT_EQ(driver->handBox.lblParkStatus.Text(), "Parked");
        EXPECT_EQ(driver->persist.Read(setting::ParkStatus), parkStatus);
        EXPECT_EQ(TimesSent("KA"), 1);
    }
    /// No park has come of it, and nothing but tracking moves.
    void ExpectCancelled(bool tracks = true) {
        EXPECT_TRUE(WaitForParkEnd());
        machine.AdvanceTime(5'000);
        EXPECT_FALSE(driver->state.g_bParking);
        EXPECT_FALSE(mount->Picture().slewing);
        EXPECT_NEAR(mount->Picture().polarSpeed, 0.0, 1e-9);
        EXPECT_NEAR(mount->Picture().hourSpeed, tracks ? 0.00418 : 0.0, 1e-4);
        machine.AdvanceTime(10'000);
        EXPECT_FALSE(telescope->AtPark());
        EXPECT_FALSE(telescope->Slewing());
        EXPECT_EQ(telescope->Tracking(), tracks);
        EXPECT_FALSE(mount->Picture().parked);
        EXPECT_EQ(driver->persist.Read(setting::ParkStatus), "UnParked");
        EXPECT_EQ(TimesSent("KA"), 0);
    }
    /// A mount that stands and takes the time.
    StandingMount& StandForPark() {
        StandingMount& standing = Stand();
        standing.replies["SL"] = "1";
        standing.replies["SC"] = "1Updating#data#";
        standing.replies["Gt"] = "+47*00:00.0#";
        standing.replies["Rc"] = "12#";
        return standing;
    }
    /// What went out but questions, also those for a rate.
    std::string Sent() {
        std::string text = Tape().Motion();
        for (std::size_t at = text.find(" Rc"); at != std::string::npos; at = text.find(" Rc")) {
            text.erase(at, 3);
        }
        return text;
    }
    void ExpectPointsAt(double altitude, double azimuth, double tolerance) {
        const MountPicture picture = mount->Picture();
        EXPECT_LT(AngularDistance(picture.azimuth / 15.0, picture.altitude, azimuth / 15.0, altitude), tolerance)
            << "alt " << picture.altitude << ", az " << picture.azimuth;
    }
    bool RunUntil(const std::function<bool()>& condition, int seconds = 120) {
        for (int i = 0; i < seconds * 10 && !condition(); ++i) {
            machine.AdvanceTime(100);
        }
        return condition();
    }
};

}  // namespace kestrane
