#include "simulator/protocol_text.h"

#include <gtest/gtest.h>
#include <string>

#include "mount_fixture.h"

namespace kestrane {
namespace {

struct AngleRow {
    double degrees;
    const char* text;
};

TEST(ProtocolText, ShortSignedDegrees_AreRoundedToTheMinute_WithASignAlways) {
    for (const AngleRow& row :
         {AngleRow{0.0, "+00*00"}, AngleRow{47.0, "+47*00"}, AngleRow{-33.5, "-33*30"},
          AngleRow{5.0 + 29.4 / 60, "+05*29"}, AngleRow{5.0 + 29.6 / 60, "+05*30"}, AngleRow{59.6 / 60, "+01*00"},
          AngleRow{-59.6 / 60, "-01*00"}, AngleRow{-0.4 / 60, "+00*00"}, AngleRow{-0.6 / 60, "-00*01"},
          AngleRow{90.0, "+90*00"}, AngleRow{-90.0, "-90*00"}}) {
        EXPECT_EQ(simulator::ShortSignedDegreesText(row.degrees), row.text) << row.degrees;
    }
}

TEST(ProtocolText, ShortAnglesAroundACircle_AreRoundedToTheMinute_Below360) {
    for (const AngleRow& row : {AngleRow{0.0, "000*00"}, AngleRow{350.0, "350*00"}, AngleRow{9.0 + 30.4 / 60, "009*30"},
                                AngleRow{9.0 + 59.6 / 60, "010*00"}, AngleRow{359.0 + 59.4 / 60, "359*59"},
                                AngleRow{359.0 + 59.6 / 60, "000*00"}, AngleRow{360.0, "000*00"},
                                AngleRow{-10.0, "350*00"}, AngleRow{-0.4 / 60, "000*00"}, AngleRow{725.25, "005*15"}}) {
        EXPECT_EQ(simulator::ShortCircleText(row.degrees), row.text) << row.degrees;
    }
}

class ShortAnglesTest : public MountTest {
protected:
    /// Of a site with seconds, in the format that the mount has then.
    std::string SiteTold() { return Ask("Gt") + Ask("Gg"); }
};

TEST_F(ShortAnglesTest, MountThatHasThem_TellsItsSiteWithoutSeconds_InShortFormat) {
    options.shortAngles = true;
    Mount();
    Ask("St-33*30:40");
    Ask("Sg010*29:20");
    EXPECT_EQ(SiteTold(), "-33*30:40.0#010*29:20.0#");
    Ask("U");
    EXPECT_EQ(SiteTold(), "-33*31#010*29#");
    Ask("U");
    EXPECT_EQ(SiteTold(), "-33*30:40.0#010*29:20.0#");
}

TEST_F(ShortAnglesTest, MountThatHasNone_TellsItsSiteWithSecondsInBothFormats) {
    Ask("St-33*30:40");
    Ask("Sg010*29:20");
    EXPECT_EQ(SiteTold(), "-33*30:40.0#010*29:20.0#");
    Ask("U");
    EXPECT_EQ(SiteTold(), "-33*30:40.0#010*29:20.0#");
}

}  // namespace
}  // namespace kestrane
