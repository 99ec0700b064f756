#include "state/reply_predicates.h"

#include <gtest/gtest.h>
#include <string>

namespace kestrane {
namespace {

class NoTime final : public Clock {
public:
    Tick GetTickCount() override { return {}; }
    DateTime GetLocalTime() override { return {}; }
    void Sleep(std::int32_t) override {}
    double TimeZoneOffset() override { return 0.0; }
    DateTime DateLocalToUTC(const DateTime& local) override { return local; }
    DateTime DateUTCToLocal(const DateTime& utc) override { return utc; }
};

struct Row {
    std::string reply;
    bool ra, dec, az;
};

class ReplyPredicateTest : public testing::TestWithParam<Row> {
protected:
    NoTime clock;
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

}  // namespace
}  // namespace kestrane
