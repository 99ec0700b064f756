#include "client/stars.h"

#include <gtest/gtest.h>
#include <string>

#include "client/angles.h"

namespace kestrane::client {
namespace {

TEST(Stars, TableHoldsPlacesOfTheSkyUnderDifferentNames) {
    for (const Star& star : BrightStars()) {
        EXPECT_TRUE(star.ra >= 0.0 && star.ra < 24.0) << star.name;
        EXPECT_TRUE(star.dec >= -90.0 && star.dec <= 90.0) << star.name;
        EXPECT_EQ(FindStar(star.name), &star);
    }
}

TEST(Stars, FindStar_TakesAnyCaseAndTheWholeNameOnly) {
    ASSERT_NE(FindStar("vEgA"), nullptr);
    EXPECT_EQ(FindStar("VEGA")->name, "Vega");
    EXPECT_EQ(FindStar("Veg"), nullptr);
    EXPECT_EQ(FindStar(""), nullptr);
}

TEST(Stars, EverywhereAndAlwaysOneCanBeChosen) {
    for (int latitude = -90; latitude <= 90; latitude += 10) {
        for (int hour = 0; hour < 24; ++hour) {
            const auto chosen = ChooseStar(StarsUp(hour, latitude, 26.0));
            ASSERT_TRUE(chosen) << latitude << " degrees, " << hour << " h";
            EXPECT_GT(chosen->altitude, 10.0) << latitude << " degrees, " << hour << " h";
        }
    }
}

TEST(Stars, ChooseStar_PrefersTheBrightestThatIsWellUp) {
    const Star low{"low", 0.0, 0.0, -1.0};
    const Star good{"good", 0.0, 0.0, 1.0};
    const Star dimmer{"dimmer", 0.0, 0.0, 2.0};
    const Star zenith{"zenith", 0.0, 0.0, 0.0};
    const std::vector<RisenStar> up{{&low, {}, 5.0}, {&zenith, {}, 89.0}, {&good, {}, 30.0}, {&dimmer, {}, 60.0}};
    EXPECT_EQ(ChooseStar(up)->star, &good);
}

TEST(Stars, ChooseStar_TakesTheHighestWhenNoneIsWellUp) {
    const Star lower{"lower", 0.0, 0.0, 0.0};
    const Star higher{"higher", 0.0, 0.0, 1.0};
    EXPECT_EQ(ChooseStar({{&lower, {}, 3.0}, {&higher, {}, 8.0}})->star, &higher);
    EXPECT_FALSE(ChooseStar({}));
}

TEST(Stars, Altitude_IsNinetyOverheadAndTheLatitudeAtThePole) {
    EXPECT_NEAR(Altitude({6.0, 47.0}, 6.0, 47.0), 90.0, 1e-4);
    EXPECT_NEAR(Altitude({6.0, 90.0}, 17.0, 47.0), 47.0, 1e-9);
    EXPECT_NEAR(Altitude({0.0, 0.0}, 6.0, 47.0), 0.0, 1e-9);
    EXPECT_LT(Altitude({0.0, 0.0}, 12.0, 47.0), -40.0);
}

TEST(Stars, Precessed_MovesRegulusAsTheAlmanacDoes) {
    // Regulus at the equinox of 2050.0: 10 h 11 m 02 s, +11 degrees 43 minutes (proper motion left out).
    const Star& regulus = *FindStar("Regulus");
    const Position moved = Precessed({regulus.ra, regulus.dec}, 50.0);
    EXPECT_NEAR(moved.ra, 10.0 + 11.0 / 60.0 + 2.0 / 3600.0, 0.003);
    EXPECT_NEAR(moved.dec, 11.0 + 43.0 / 60.0, 0.03);
    EXPECT_EQ(Precessed({1.0, 2.0}, 0.0).ra, 1.0);
}

TEST(Stars, SiderealTimeAt_AgreesWithGreenwich) {
    // 2000-01-01 12:00 UT: 18 h 41 m 50.5 s at Greenwich.
    EXPECT_NEAR(SiderealTimeAt(946728000.0, 0.0), 18.0 + 41.0 / 60.0 + 50.5 / 3600.0, 1e-4);
    EXPECT_NEAR(SiderealTimeAt(946728000.0, 90.0), 0.0 + 41.0 / 60.0 + 50.5 / 3600.0, 1e-4);
}

}  // namespace
}  // namespace kestrane::client
