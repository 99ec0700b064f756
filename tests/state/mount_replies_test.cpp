#include "state/mount_replies.h"

#include <gtest/gtest.h>
#include <string>

#include "support/virtual_clock.h"

namespace kestrane {
namespace {

struct ReplyRow {
    std::string reply;
    bool ra, dec, az;
};

class ReplyPredicateTest : public testing::TestWithParam<ReplyRow> {
protected:
    VirtualClock clock;
    LogState logState;
    Log log{logState, clock};
};

TEST_P(ReplyPredicateTest, Shape_TellsWhichQueryAReplyBelongsTo) {
    EXPECT_EQ(ReadRaReply(GetParam().reply, log).has_value(), GetParam().ra);
    EXPECT_EQ(ReadDecReply(GetParam().reply, log).has_value(), GetParam().dec);
    EXPECT_EQ(ReadAzReply(GetParam().reply, log).has_value(), GetParam().az);
}

INSTANTIATE_TEST_SUITE_P(Replies, ReplyPredicateTest,
                         testing::Values(ReplyRow{"3e3*6:6", false, false, false},     // an exponent is no digit
                                         ReplyRow{"12:34:56.7", true, false, false},   //
                                         ReplyRow{"23:59:59.9", true, false, false},   //
                                         ReplyRow{"24:00:00.0", false, false, false},  //
                                         ReplyRow{"12:34.5", false, false, false},     // short form
                                         ReplyRow{"-01:00:00", false, false, false},   //
                                         ReplyRow{"+45*30:15", false, true, true},     //
                                         ReplyRow{"-45*30:15", false, true, false},    //
                                         ReplyRow{"+90*00:00", false, true, true},     //
                                         ReplyRow{"+91*00:00", false, false, true},    //
                                         ReplyRow{"359*59:59", false, false, true},    //
                                         ReplyRow{"360*00:00", false, false, false},   //
                                         ReplyRow{"+45*60:15", false, false, false},   //
                                         ReplyRow{"+45*30:60", false, false, false},   //
                                         ReplyRow{"+45*30:59.9", false, true, true},   //
                                         ReplyRow{"+45*30", false, false, false},      // no seconds
                                         ReplyRow{"45:30*15", false, false, false},    // marks in the wrong order
                                         ReplyRow{"+4x*30:15", false, false, false},   //
                                         ReplyRow{" -0*2:6", false, true, false},      // a blank does not hide the sign
                                         ReplyRow{"", false, false, false}));

struct TimeReplyRow {
    std::string reply;
    bool meridian, time, zone;
};

class TimePredicateTest : public testing::TestWithParam<TimeReplyRow> {
protected:
    VirtualClock clock;
    LogState logState;
    Log log{logState, clock};
};

TEST_P(TimePredicateTest, Shape_TellsWhichQueryAReplyBelongsTo) {
    EXPECT_EQ(ReadMeridianReply(GetParam().reply, log).has_value(), GetParam().meridian);
    EXPECT_EQ(ReadTimeReply(GetParam().reply, log).has_value(), GetParam().time);
    EXPECT_EQ(ReadTimeZoneReply(GetParam().reply, log).has_value(), GetParam().zone);
}

INSTANTIATE_TEST_SUITE_P(Replies, TimePredicateTest,
                         testing::Values(TimeReplyRow{"20:00:00", true, true, false},          // a zone has a fraction
                                         TimeReplyRow{"23:59:59", true, true, false},          //
                                         TimeReplyRow{"24:00:00", false, false, false},        //
                                         TimeReplyRow{"-01:30:00", true, true, false},         //
                                         TimeReplyRow{"-23:59:59", true, true, false},         //
                                         TimeReplyRow{"-24:00:00", false, false, false},       //
                                         TimeReplyRow{"+00:30:00", true, true, false},         //
                                         TimeReplyRow{"20:00:00rubbish", false, true, false},  // eight characters count
                                         TimeReplyRow{"20:00:0", true, true, false},           //
                                         TimeReplyRow{"20:00", false, false, false},           // short form
                                         TimeReplyRow{"20:60:00", false, false, false},        //
                                         TimeReplyRow{"05:00:00.0", true, true, true},         //
                                         TimeReplyRow{"-05:00:00.0", true, true, true},        //
                                         TimeReplyRow{"+05:00:00.0", true, true, false},   // a plus is not taken off
                                         TimeReplyRow{"--5:00:00.0", true, true, false},   //
                                         TimeReplyRow{"23:59:59.9", true, true, true},     //
                                         TimeReplyRow{"24:00:00.0", false, false, false},  //
                                         TimeReplyRow{"05:60:00.0", false, false, false},  //
                                         TimeReplyRow{"05:00:60.0", false, false, false},  //
                                         TimeReplyRow{"05:00:00.x", false, true, false},   //
                                         TimeReplyRow{"05:00:00.", true, true, false},     // too short
                                         TimeReplyRow{"05:00:00.05", true, true, true},    //
                                         TimeReplyRow{"05:00:00.0x", false, true, false},  //
                                         TimeReplyRow{"5:00:00.00", true, true, false},    // marks one place off
                                         TimeReplyRow{"0a:00:00.0", false, false, false},  //
                                         TimeReplyRow{"05.00:00.0", false, false, false},  //
                                         TimeReplyRow{"+45*30:15", false, false, false},   //
                                         TimeReplyRow{"East", false, false, false},        //
                                         TimeReplyRow{"", false, false, false}),
                         [](const auto& row) { return "ReplyRow" + std::to_string(row.index); });

}  // namespace
}  // namespace kestrane
