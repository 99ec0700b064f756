#include "state/stop_watch.h"

#include <gtest/gtest.h>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "state/motion.h"
#include "support/virtual_platform.h"

namespace kestrane {
namespace {

constexpr std::int32_t kStepMs = 150;
constexpr std::int32_t kBeginsMs = 600;
constexpr std::int32_t kPulseEndsMs = 8'000;
constexpr std::int32_t kLongPulseEndsMs = 18'000;
constexpr std::int32_t kLineFailsMs = 3'000;
constexpr std::int32_t kUntilMs = 20'000;
constexpr Tick kLongAgo = VirtualClock::kZero + 2'100'000'000;  // 25 days and more: the ticks have wrapped

/// What the stop was to end.
enum class Ends { Goto, Move, Nothing };
/// For whom it went out.
enum class For { Client, Pulse };
/// What the line does.
/// The second loss is not looked at before the next reply has come.
enum class Line { Answers, AsksNothing, Fails, LosesAReply, LosesAReplyUnseen };
/// What begins after it.
enum class Then { Nothing, Motion, Axis, Slew, Park, AbortedPark, Pulse, LongPulse };
/// What the mount does and says.
enum class Mount { Stands, StandsYet, SaysItSlews, SaysSoOnce, GoesFast, StandsWithoutText, GoesFastWithoutText };

struct StopRow {
    std::string_view name;
    Ends ends;
    StopForm form;
    For who;
    Line line;
    Then then;
    Mount mount;
    std::string_view sent;   ///< S a single stop, P a pair, ! ahead of one that cuts a pulse
    std::string_view lines;  ///< s "still moves", h "may not have heard", g the one that gives up

    friend void PrintTo(const StopRow& row, std::ostream* out) { *out << row.name; }
};

std::string LetterOf(int level, std::string_view line) {
    if (level == 1 && line == "The mount still moves: the stop is sent again") {
        return "s";
    }
    if (level == 1 && line == "The mount may not have heard a stop: it is sent again") {
        return "h";
    }
    return level == 2 && line == "The mount still moves although it was stopped again and again" ? "g" : "?";
}

/// A stop and the twenty seconds after it, with a poll that asks for the status text and the coordinates each second.
class StopWatchTest : public testing::TestWithParam<StopRow> {
protected:
    StopWatchTest() {
        state.g_bDebugLog = true;
        state.g_bGosSupported = true;
        state.g_dRa = 5.0;
        log.SetListener([this](std::string_view, int level, std::string_view line) { lines += LetterOf(level, line); });
    }

    const StopRow& Case() const { return GetParam(); }
    bool HasText() const {
        return Case().mount != Mount::StandsWithoutText && Case().mount != Mount::GoesFastWithoutText;
    }
    bool GoesFast() const { return Case().mount == Mount::GoesFast || Case().mount == Mount::GoesFastWithoutText; }

    void Move() {
        state.g_tickLastGoto = kLongAgo;
        state.g_bGosActive = HasText();
        if (Case().ends == Ends::Goto) {
            motion.NewSlewBegins(StopDoor(waits, log, state).Permit("Slew").value());
            motion.SlewTaken();
        } else if (Case().ends == Ends::Move) {
            motion.MoveSent();
        }
    }
    void StopGoesOut(bool endsMove) {
        motion.StopSent();
        watch.StopGoesOut({.endsGoto = Case().who == For::Client, .endsMove = endsMove, .questions = questions});
    }
    void Stop() {
        StopGoesOut(Case().ends == Ends::Move);
        if (Case().form == StopForm::Pair) {
            machine.clock.Sleep(30);
            StopGoesOut(false);
            watch.PairWentOut();
        }
    }
    void BeginSomething() {
        switch (Case().then) {
            case Then::Motion:
                watch.MotionBegins();
                break;
            case Then::Axis:
                motion.AxisMotionBegins();
                break;
            case Then::Slew:
                motion.SlewTaken();
                break;
            case Then::AbortedPark:
            case Then::Park:
                motion.ParkBegins();
                if (Case().then == Then::AbortedPark) {
                    motion.ParkAborted();
                }
                break;
            case Then::Pulse:
            case Then::LongPulse:
                motion.GuidePulseBegins(GuideDirection::North);
                break;
            case Then::Nothing:
                break;
        }
    }
    /// Once a second. Returns whether the line has answered.
    bool Ask(std::int32_t since) {
        const bool early = since < kLineFailsMs;
        if (Case().line == Line::AsksNothing && early) {
            return false;
        }
        if ((Case().line == Line::Fails && early) || (Case().line == Line::LosesAReply && questions.unanswered == 0)) {
            ++questions.unanswered;
            return false;
        }
        if (Case().line == Line::LosesAReplyUnseen && questions.unanswered == 0) {
            ++questions.unanswered;
        }
        ++questions.answered;
        ++reads.ra;
        ++reads.dec;
        state.g_dDec += GoesFast() ? 2.0 : 0.0;
        return true;
    }
    /// The flag does not follow a text that is asked for too early after a goto.
    void TextSays(bool slewing) {
        state.g_sStatus = slewing ? "020S0000000" : "02000000000";
        if (slewing || Case().mount != Mount::StandsYet) {
            motion.MountReportsSlewing(slewing);
        }
    }
    void Run() {
        Move();
        Stop();
        const Tick start = machine.clock.GetTickCount();
        Tick askedAt = start;
        for (Tick now = start; now - start < kUntilMs;
             machine.clock.Sleep(kStepMs), now = machine.clock.GetTickCount()) {
            std::optional<Tick> textAskedAt;
            if (now - askedAt >= 1'000) {
                askedAt = now;
                if (Ask(now - start) && HasText()) {
                    textAskedAt = now;
                    TextSays(Case().mount == Mount::SaysItSlews || (Case().mount == Mount::SaysSoOnce && sent.empty()));
                }
            }
            if (now - start >= kBeginsMs && now - start < kBeginsMs + kStepMs) {
                BeginSomething();
            }
            if (now - start >= (Case().then == Then::LongPulse ? kLongPulseEndsMs : kPulseEndsMs)) {
                motion.GuidePulseEnds(GuideDirection::North);
            }
            if (const std::optional<StopForm> form = watch.DueAgain(textAskedAt, questions, reads)) {
                sent += state.g_bGuidingNorth ? "!" : "";
                sent += *form == StopForm::Pair ? "P" : "S";
                const StopWatch::Repeat repeat(watch);
                StopGoesOut(false);
            }
        }
    }

    VirtualPlatform machine;
    DriverState state;
    Motion motion{state};
    Log log{state, machine.clock};
    Waits waits{machine.clock, machine.pump};
    StopWatch watch{state, log, machine.clock};
    QuestionCounts questions;
    CoordinateReads reads;
    std::string sent;
    std::string lines;
};

TEST_P(StopWatchTest, RepeatsWhatTheMountMayNotHaveHeard) {
    Run();
    EXPECT_EQ(sent, Case().sent);
    EXPECT_EQ(lines, Case().lines);
}

constexpr StopForm kOne = StopForm::Single;
constexpr StopForm kPair = StopForm::Pair;

// clang-format off
INSTANTIATE_TEST_SUITE_P(Stops, StopWatchTest, testing::Values(
    StopRow{"AGotoThatGoesOn",             Ends::Goto,    kPair, For::Client, Line::Answers,     Then::Nothing,     Mount::SaysItSlews,         "PPPPP", "sssssg"},
    StopRow{"ASingleStop",                 Ends::Goto,    kOne,  For::Client, Line::Answers,     Then::Nothing,     Mount::SaysItSlews,         "SSSSS", "sssssg"},
    StopRow{"TheFirstRepeatIsHeard",       Ends::Goto,    kOne,  For::Client, Line::Answers,     Then::Nothing,     Mount::SaysSoOnce,          "S",     "s"},
    StopRow{"AMountThatStands",            Ends::Goto,    kPair, For::Client, Line::Answers,     Then::Nothing,     Mount::Stands,              "",      ""},
    StopRow{"WithoutText",                 Ends::Goto,    kOne,  For::Client, Line::Answers,     Then::Nothing,     Mount::GoesFastWithoutText, "SSSSS", "sssssg"},
    StopRow{"WithoutTextItStands",         Ends::Goto,    kOne,  For::Client, Line::Answers,     Then::Nothing,     Mount::StandsWithoutText,   "",      ""},
    StopRow{"TheTextIsBelieved",           Ends::Goto,    kOne,  For::Client, Line::Answers,     Then::Nothing,     Mount::GoesFast,            "",      ""},
    StopRow{"TheLineComesBack",            Ends::Goto,    kPair, For::Client, Line::Fails,       Then::Nothing,     Mount::SaysSoOnce,          "P",     "s"},
    StopRow{"AMountThatStandsYet",         Ends::Goto,    kPair, For::Client, Line::Answers,     Then::Nothing,     Mount::StandsYet,           "",      ""},
    StopRow{"OfAPulse_NotForTheGoto",      Ends::Goto,    kOne,  For::Pulse,  Line::Answers,     Then::Nothing,     Mount::SaysItSlews,         "",      ""},
    StopRow{"OfNothing",                   Ends::Nothing, kOne,  For::Client, Line::Answers,     Then::Nothing,     Mount::SaysItSlews,         "",      ""},
    StopRow{"OfNothing_WithoutText",       Ends::Nothing, kOne,  For::Client, Line::Answers,     Then::Nothing,     Mount::GoesFastWithoutText, "",      ""},
    StopRow{"OfNothing_LineFails",         Ends::Nothing, kOne,  For::Client, Line::Fails,       Then::Nothing,     Mount::Stands,              "",      ""},
    StopRow{"ThenAMotion",                 Ends::Goto,    kPair, For::Client, Line::Answers,     Then::Motion,      Mount::SaysItSlews,         "",      ""},
    StopRow{"ThenAnAxis",                  Ends::Goto,    kPair, For::Client, Line::Answers,     Then::Axis,        Mount::SaysItSlews,         "",      ""},
    StopRow{"ThenASlew",                   Ends::Goto,    kPair, For::Client, Line::Answers,     Then::Slew,        Mount::SaysItSlews,         "",      ""},
    StopRow{"ThenAPark",                   Ends::Goto,    kPair, For::Client, Line::Answers,     Then::Park,        Mount::SaysItSlews,         "",      ""},
    StopRow{"ThenAnAbortedPark",           Ends::Goto,    kPair, For::Client, Line::Answers,     Then::AbortedPark, Mount::SaysItSlews,         "PPPPP", "sssssg"},
    StopRow{"APulseDoesNotHoldTheGoto",    Ends::Goto,    kOne,  For::Client, Line::Answers,     Then::Pulse,       Mount::SaysSoOnce,          "!S",    "s"},
    StopRow{"AMoveThatStands",             Ends::Move,    kPair, For::Client, Line::Answers,     Then::Nothing,     Mount::Stands,              "",      ""},
    StopRow{"AMove_NobodyAsks",            Ends::Move,    kPair, For::Client, Line::AsksNothing, Then::Nothing,     Mount::Stands,              "",      ""},
    StopRow{"AMove_NobodyAsks_NoText",     Ends::Move,    kPair, For::Client, Line::AsksNothing, Then::Nothing,     Mount::StandsWithoutText,   "",      ""},
    StopRow{"AMove_LineFails",             Ends::Move,    kPair, For::Client, Line::Fails,       Then::Nothing,     Mount::Stands,              "P",     "h"},
    StopRow{"AMove_LineFails_Single",      Ends::Move,    kOne,  For::Client, Line::Fails,       Then::Nothing,     Mount::Stands,              "S",     "h"},
    StopRow{"AMove_AReplyIsLost",          Ends::Move,    kOne,  For::Client, Line::LosesAReply, Then::Nothing,     Mount::Stands,              "S",     "h"},
    StopRow{"AMove_AReplyIsLost_AndOneComes", Ends::Move, kOne,  For::Client, Line::LosesAReplyUnseen, Then::Nothing, Mount::Stands,           "S",     "h"},
    StopRow{"AMove_LineFails_ThenAMotion", Ends::Move,    kPair, For::Client, Line::Fails,       Then::Motion,      Mount::Stands,              "",      ""},
    StopRow{"AMove_LineFails_ThenAnAxis",  Ends::Move,    kPair, For::Client, Line::Fails,       Then::Axis,        Mount::Stands,              "",      ""},
    StopRow{"AMove_AfterThePulse",         Ends::Move,    kPair, For::Client, Line::Fails,       Then::Pulse,       Mount::Stands,              "P",     "h"},
    StopRow{"AMove_NotAfterALongPulse",    Ends::Move,    kPair, For::Client, Line::Fails,       Then::LongPulse,   Mount::Stands,              "!P",    "h"},
    StopRow{"AFastMoveThatGoesOn",         Ends::Move,    kPair, For::Client, Line::Answers,     Then::Nothing,     Mount::GoesFast,            "PPPPP", "sssssg"},
    StopRow{"AFastMove_WithoutText",       Ends::Move,    kOne,  For::Client, Line::Answers,     Then::Nothing,     Mount::GoesFastWithoutText, "SSSSS", "sssssg"}),
    [](const auto& row) { return std::string(row.param.name); });
// clang-format on

/// Places of a mount, in degrees of declination, each at a reading of both coordinates, and what each one shows: n
/// nothing new, s stands, m may move, M moves.
struct ReadingsRow {
    std::vector<double> places;
    std::string_view seen;
};

TEST(MotionByReadingsTest, MovesWhenTwoReadingsInARowAreFar) {
    const std::vector<ReadingsRow> rows{
        {{0.0, 0.0, 0.0}, "mss"},        // one near reading is not enough
        {{0.4, 0.8, 1.2}, "mss"},        // slower than any goto
        {{1.0, 2.0, 3.0}, "mMM"},        //
        {{-1.0, -2.0}, "mM"},            //
        {{9.0, 0.0, 0.0, 0.0}, "mmms"},  // one wrong reading
        {{9.0, 9.0, 9.0}, "mms"},        // a new position, as after a sync
        {{1.0, 1.1, 2.0, 3.0}, "mmmM"},  // a pause
        {{1.0, 0.0, 1.0, 0.0}, "mmmm"},  // to and fro
        {{0.0, 0.0, 2.0, 4.0}, "msmM"},  // it begins late
    };
    for (const ReadingsRow& row : rows) {
        DriverState state;
        state.g_dRa = 5.0;
        CoordinateReads reads;
        MotionByReadings readings(state, reads);
        std::string seen;
        for (const double place : row.places) {
            state.g_dDec = place;
            ++reads.ra;
            EXPECT_EQ(readings.Look(state, reads), MotionByReadings::Seen::NothingNew) << "half a reading";
            ++reads.dec;
            seen += "nsmM"[static_cast<int>(readings.Look(state, reads))];
        }
        EXPECT_EQ(seen, row.seen) << testing::PrintToString(row.places);
    }
}

}  // namespace
}  // namespace kestrane
