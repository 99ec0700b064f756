#include "state/reply_predicates.h"

#include <gtest/gtest.h>
#include <string>

#include "support/virtual_clock.h"

namespace kestrane {
namespace {

struct Row {
    std::string reply;
    bool ra, dec, az;
};

class ReplyPredicateTest : public testing::TestWithParam<Row> {
protected:
    VirtualClock clock;
    LogState logState;
    Log log{logState, clock};
};

TEST_P(ReplyPredicateTest, Shape_TellsWhichQueryAReplyBelongsTo) {
    EXPECT_EQ(IsRaReply(GetParam().reply, log), GetParam().ra);
    EXPECT_EQ(IsDecReply(GetParam().reply, log), GetParam().dec);
    EXPECT_EQ(IsAzReply(GetParam().reply, log), GetParam().az);
}

INSTANTIATE_TEST_SUITE_P(Replies, ReplyPredicateTest,
                         testing::Values(Row{"3e3*6:6", false, false, false},     // an exponent is no digit
                                         Row{"12:34:56.7", true, false, false},   //
                                         Row{"23:59:59.9", true, false, false},   //
                                         Row{"24:00:00.0", false, false, false},  //
                                         Row{"12:34.5", false, false, false},     // short form
                                         Row{"-01:00:00", false, false, false},   //
                                         Row{"+45*30:15", false, true, true},     //
                                         Row{"-45*30:15", false, true, false},    //
                                         Row{"+90*00:00", false, true, true},     //
                                         Row{"+91*00:00", false, false, true},    //
                                         Row{"359*59:59", false, false, true},    //
                                         Row{"360*00:00", false, false, false},   //
                                         Row{"+45*60:15", false, false, false},   //
                                         Row{"+45*30:60", false, false, false},   //
                                         Row{"+45*30:59.9", false, true, true},   //
                                         Row{"+45*30", false, false, false},      // no seconds
                                         Row{"45:30*15", false, false, false},    // marks in the wrong order
                                         Row{"+4x*30:15", false, false, false},   //
                                         Row{" -0*2:6", false, true, false},      // a blank does not hide the sign
                                         Row{"", false, false, false}));

struct TimeRow {
    std::string reply;
    bool meridian, time, zone;
};

class TimePredicateTest : public testing::TestWithParam<TimeRow> {
protected:
    VirtualClock clock;
    LogState logState;
    Log log{logState, clock};
};

TEST_P(TimePredicateTest, Shape_TellsWhichQueryAReplyBelongsTo) {
    EXPECT_EQ(IsMeridianReply(GetParam().reply, log), GetParam().meridian);
    EXPECT_EQ(IsTimeReply(GetParam().reply, log), GetParam().time);
    EXPECT_EQ(IsTimeZoneReply(GetParam().reply, log), GetParam().zone);
}

INSTANTIATE_TEST_SUITE_P(Replies, TimePredicateTest,
                         testing::Values(TimeRow{"20:00:00", true, true, false},          // a zone has a fraction
                                         TimeRow{"23:59:59", true, true, false},          //
                                         TimeRow{"24:00:00", false, false, false},        //
                                         TimeRow{"-01:30:00", true, true, false},         //
                                         TimeRow{"-23:59:59", true, true, false},         //
                                         TimeRow{"-24:00:00", false, false, false},       //
                                         TimeRow{"+00:30:00", true, true, false},         //
                                         TimeRow{"20:00:00rubbish", false, true, false},  // eight characters count
                                         TimeRow{"20:00:0", true, true, false},           //
                                         TimeRow{"20:00", false, false, false},           // short form
                                         TimeRow{"20:60:00", false, false, false},        //
                                         TimeRow{"05:00:00.0", true, true, true},         //
                                         TimeRow{"-05:00:00.0", true, true, true},        //
                                         TimeRow{"+05:00:00.0", true, true, false},       // a plus is not taken off
                                         TimeRow{"--5:00:00.0", true, true, false},       //
                                         TimeRow{"23:59:59.9", true, true, true},         //
                                         TimeRow{"24:00:00.0", false, false, false},      //
                                         TimeRow{"05:60:00.0", false, false, false},      //
                                         TimeRow{"05:00:60.0", false, false, false},      //
                                         TimeRow{"05:00:00.x", false, true, false},       //
                                         TimeRow{"05:00:00.", true, true, false},         // too short
                                         TimeRow{"05:00:00.05", true, true, true},        //
                                         TimeRow{"05:00:00.0x", false, true, false},      //
                                         TimeRow{"5:00:00.00", true, true, false},        // marks one place off
                                         TimeRow{"0a:00:00.0", false, false, false},      //
                                         TimeRow{"05.00:00.0", false, false, false},      //
                                         TimeRow{"+45*30:15", false, false, false},       //
                                         TimeRow{"East", false, false, false},            //
                                         TimeRow{"", false, false, false}),
                         [](const auto& row) { return "Row" + std::to_string(row.index); });

}  // namespace
}  // namespace kestrane
