#include "state/motion.h"

#include <array>
#include <cstddef>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <ostream>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "state/sequence.h"
#include "support/virtual_platform.h"

namespace kestrane {
namespace {

// --- nobody else writes

template <typename Member>
concept Incremented = requires(Member& member) {
    ++member;
};

/// Whether code outside `Motion` can change a member of the state in any of the ways that members are changed in.
template <auto Member>
constexpr bool Writable() {
    using Type = std::remove_reference_t<decltype(std::declval<DriverState&>().*Member)>;
    using Value = decltype(+std::declval<Type&>());
    return std::is_assignable_v<Type&, bool> || std::is_assignable_v<Type&, Value> ||
           std::is_assignable_v<Type&, Type&> || std::is_assignable_v<Type&, Type&&> || Incremented<Type> ||
           std::is_convertible_v<Type&, bool&>;
}

static_assert(!Writable<&DriverState::g_bSlewing>());
static_assert(!Writable<&DriverState::g_bMountSlewing>());
static_assert(!Writable<&DriverState::g_bAbortSlew>());
static_assert(!Writable<&DriverState::g_bSafeSlewPending>());
static_assert(!Writable<&DriverState::g_bSlewCompletePending>());
static_assert(!Writable<&DriverState::g_bParking>());
static_assert(!Writable<&DriverState::g_bParkAsked>());
static_assert(!Writable<&DriverState::g_bAbortPark>());
static_assert(!Writable<&DriverState::g_bParked>());
static_assert(!Writable<&DriverState::g_nAborts>());
static_assert(!Writable<&DriverState::g_nSlewsBegun>());
static_assert(!Writable<&DriverState::g_nSlewsTaken>());
static_assert(!Writable<&DriverState::g_bAxisMotionBegun>());
static_assert(!Writable<&DriverState::g_nTrackingChoices>());
static_assert(!Writable<&DriverState::g_nSameDistance>());
static_assert(!Writable<&DriverState::g_bSecondLegBarred>());
static_assert(!Writable<&DriverState::g_bGotoSent>());
static_assert(!Writable<&DriverState::g_bGotoRuns>());
static_assert(!Writable<&DriverState::g_bStandAwaited>());
static_assert(!Writable<&DriverState::g_bOwnSlew>());
static_assert(!Writable<&DriverState::g_bMoveSent>());
static_assert(!Writable<&DriverState::g_bGuidingNorth>());
static_assert(!Writable<&DriverState::g_bGuidingSouth>());
static_assert(!Writable<&DriverState::g_bGuidingEast>());
static_assert(!Writable<&DriverState::g_bGuidingWest>());
static_assert(Writable<&DriverState::g_bTracking>() && Writable<&DriverState::g_nTrackingRate>(),
              "the checks above see a member that anybody writes");
static_assert(!std::is_copy_assignable_v<DriverState> && !std::is_move_assignable_v<DriverState>,
              "nor is the whole record written at once");

// --- the table

constexpr std::size_t kColumns = 25;
constexpr std::array<std::string_view, kColumns> kNames{"S",  "M",  "A",  "P2", "C",   "K",  "Kq", "AK", "Pd",
                                                        "nA", "nB", "nT", "Ax", "nTr", "sd", "GN", "GS", "GE",
                                                        "GW", "B",  "Gs", "Ga", "W",   "O",  "Mv"};
enum Column : std::size_t {
    S,
    M,
    A,
    P2,
    C,
    K,
    Kq,
    AK,
    Pd,
    nA,
    nB,
    nT,
    Ax,
    nTr,
    sd,
    GN,
    GS,
    GE,
    GW,
    B,
    Gs,
    Ga,
    W,
    O,
    Mv
};

/// The flags and counts of one moment.
struct Picture {
    std::array<std::uint32_t, kColumns> values{};

    std::uint32_t& operator[](std::size_t column) { return values[column]; }
    std::uint32_t operator[](std::size_t column) const { return values[column]; }
    bool operator==(const Picture&) const = default;
};

Picture PictureOf(const DriverState& state) {
    return {{state.g_bSlewing,         state.g_bMountSlewing,        state.g_bAbortSlew,
             state.g_bSafeSlewPending, state.g_bSlewCompletePending, state.g_bParking,
             state.g_bParkAsked,       state.g_bAbortPark,           state.g_bParked,
             state.g_nAborts,          state.g_nSlewsBegun,          state.g_nSlewsTaken,
             state.g_bAxisMotionBegun, state.g_nTrackingChoices,     static_cast<std::uint32_t>(state.g_nSameDistance),
             state.g_bGuidingNorth,    state.g_bGuidingSouth,        state.g_bGuidingEast,
             state.g_bGuidingWest,     state.g_bSecondLegBarred,     state.g_bGotoSent,
             state.g_bGotoRuns,        state.g_bStandAwaited,        state.g_bOwnSlew,
             state.g_bMoveSent}};
}

/// As a failed comparison shows it.
void PrintTo(const Picture& picture, std::ostream* out) {
    for (std::size_t column = 0; column < kColumns; ++column) {
        *out << kNames[column] << "=" << picture[column] << " ";
    }
}

/// One event; `cells` read as in motion.h, with a column for each direction of guiding. `told` is what the event
/// reports, where it reports something.
struct Row {
    std::string_view name;
    std::string_view cells;
    void (*event)(Motion& motion, bool told);
};

/// As a call gets it that no stop has overtaken.
MotionPermit SomePermit() {
    VirtualPlatform machine;
    Waits waits(machine.clock, machine.pump);
    DriverState state;
    Log log(state, machine.clock);
    return StopDoor(waits, log, state).Permit("SlewToCoordinates").value();
}

template <auto Event>
void Do(Motion& motion, bool told) {
    if constexpr (std::is_invocable_v<decltype(Event), Motion&, bool>) {
        (motion.*Event)(told);
    } else if constexpr (std::is_invocable_v<decltype(Event), Motion&, const MotionPermit&>) {
        static const MotionPermit permit = SomePermit();
        (motion.*Event)(permit);
    } else {
        (motion.*Event)();
    }
}
template <auto Event, GuideDirection Direction>
void Pulse(Motion& motion, bool) {
    (motion.*Event)(Direction);
}

constexpr auto kNorth = GuideDirection::North;
constexpr auto kSouth = GuideDirection::South;
constexpr auto kEast = GuideDirection::East;
constexpr auto kWest = GuideDirection::West;

// clang-format off
constexpr Row kRows[] = {
    //                             S M A P C K K A P n n n A n s G G G G B G G W O M
    //                                   2     q K d A B T x T d N S E W   s a     v
    //                                                       r
    {"FirstObjectBegins",          "0 = 0 = 1 = = = 0 = = = = = = = = = = = = = = 0 =", Do<&Motion::FirstObjectBegins>},
    {"Disconnected",               "0 0 0 0 = = = = = = = = = = = = = = = = = = = 0 =", Do<&Motion::Disconnected>},
    {"SlewBegins",                 "1 1 0 = 0 a = 0 = = = = 0 = 0 = = = = = = = 0 1 =", Do<&Motion::SlewBegins>},
    {"NewSlewBegins",              "1 1 0 0 0 a = 0 = = + = 0 = 0 = = = = 0 = = 0 1 =", Do<&Motion::NewSlewBegins>},
    {"SlewIsToBeSent",             "= = = = 0 = = = = = = = = = = = = = = = = = = = =", Do<&Motion::SlewIsToBeSent>},
    {"SlewTaken",                  "1 1 0 = 0 a = 0 = = = + 0 = 0 = = = = p 1 1 0 1 0", Do<&Motion::SlewTaken>},
    {"GotoSent",                   "= = = = = = = = = = = = = = = = = = = = 1 = 0 = =", Do<&Motion::GotoSent>},
    {"GotoTaken",                  "= = = = = = = = = = = = = = = = = = = = 1 1 = = 0", Do<&Motion::GotoTaken>},
    {"MoveSent",                   "= = = = = = = = = = = = = = = = = = = = = = 0 = 1", Do<&Motion::MoveSent>},
    {"MoveEnded",                  "= = = = = = = = = = = = = = = = = = = = = = = = 0", Do<&Motion::MoveEnded>},
    {"SlewRefused",                "0 0 = 0 = = = = = = = = = = = = = = = = = = = 0 =", Do<&Motion::SlewRefused>},
    {"SecondLegPlanned",           "= = = 1 = = = = = = = = = = = = = = = = = = = = =", Do<&Motion::SecondLegPlanned>},
    {"SecondLegDropped",           "= = = 0 = = = = = = = = = = = = = = = = = = = = =", Do<&Motion::SecondLegDropped>},
    {"SecondLegTaken",             "= = = 0 = = = = = = = = = = = = = = = = = = = = =", Do<&Motion::SecondLegTaken>},
    {"SecondLegBarred",            "= = = 0 = = = = = = = = = = = = = = = 1 = = = = =", Do<&Motion::SecondLegBarred>},
    {"SecondLegWatchedByDistance", "1 = = = = = = = = = = = = = = = = = = = = = = 1 =", Do<&Motion::SecondLegWatchedByDistance>},
    {"SecondLegWatchedByStatus",   "= 1 = = = = = = = = = = = = = = = = = = = = = 1 =", Do<&Motion::SecondLegWatchedByStatus>},
    {"SupervisionBegins",          "1 u = = = = = = = = = = = = = = = = = = = = = = =", Do<&Motion::SupervisionBegins>},
    {"SupervisionFollowsStatus",   "m = = = = = = = = = = = = = = = = = = = = = = = =", Do<&Motion::SupervisionFollowsStatus>},
    {"MountReportsSlewing",        "= r = = = = = = = = = = = = = = = = = = r r h = =", Do<&Motion::MountReportsSlewing>},
    {"DistanceChanged",            "= = = = = = = = = = = = = = 0 = = = = = = = = = =", Do<&Motion::DistanceChanged>},
    {"DistanceStayed",             "= = = = = = = = = = = = = = n = = = = = = = = = =", Do<&Motion::DistanceStayed>},
    {"SeenToStandAtTarget",        "= = = = = = = = = = = = = = = = = = = = 0 0 = = =", Do<&Motion::SeenToStandAtTarget>},
    {"SeenToStandShort",           "= = = = = = = = = = = = = = = = = = = = = 0 = = =", Do<&Motion::SeenToStandShort>},
    {"SlewEnds",                   "0 0 0 0 = = = = = = = = = = 0 = = = = = = = = = =", Do<&Motion::SlewEnds>},
    {"SlewCompleteDue",            "= = = = 1 = = = = = = = = = = = = = = = = = = = =", Do<&Motion::SlewCompleteDue>},
    {"SlewCompleteTaken",          "= = = = 0 = = = = = = = = = = = = = = = = = = 0 =", Do<&Motion::SlewCompleteTaken>},
    {"StopAskedFor",               "= = = = = = = = = + = = = = = = = = = = = = = = =", Do<&Motion::StopAskedFor>},
    {"StopSent",                   "= = = = = = = = = = = = = = = = = = = e = 0 g = 0", Do<&Motion::StopSent>},
    {"Stopped",                    "= = s 0 = = = k = + = = = = = = = = = = = = g = =", Do<&Motion::Stopped>},
    {"AxisTakesOver",              "0 0 0 0 = = = k = + = = = = = = = = = = = = = 0 =", Do<&Motion::AxisTakesOver>},
    {"AxisMotionBegins",           "= = = = = = = = = = = = 1 = = = = = = = = = = = =", Do<&Motion::AxisMotionBegins>},
    {"AxisMotionsEnd",             "= = = = = = = = = = = = 0 = = = = = = = = = = = =", Do<&Motion::AxisMotionsEnd>},
    {"TrackingChosen",             "= = = 0 = = = = = c = = 0 + = = = = = = = = = = =", Do<&Motion::TrackingChosen>},
    {"ParkAskedFor",               "= = = = = = 1 0 = = = = = = = = = = = = = = = = =", Do<&Motion::ParkAskedFor>},
    {"ParkMoveBegins",             "1 u 0 0 0 1 = = 0 = + = = = 0 = = = = = = = = = =", Do<&Motion::ParkMoveBegins>},
    {"ParkMoveEnds",               "0 0 0 = = = = = = = = = = = = = = = = = = = = = =", Do<&Motion::ParkMoveEnds>},
    {"ParkTakesOver",              "0 0 0 0 0 0 = = = = + = = = 0 = = = = = = = = 0 =", Do<&Motion::ParkTakesOver>},
    {"ParkAborted",                "= = = = = = = k = = = = = = = = = = = = = = = = =", Do<&Motion::ParkAborted>},
    {"ParkStopAskedFor",           "= = = = = = = k = q = = = = = = = = = = = = = = =", Do<&Motion::ParkStopAskedFor>},
    {"ParkLeft",                   "= = = = 0 0 0 k = = = = = = = = = = = = = = = = =", Do<&Motion::ParkLeft>},
    {"ParkBegins",                 "= = = = = 1 0 = = = = = = = = = = = = = = = = = =", Do<&Motion::ParkBegins>},
    {"ParkEnds",                   "= = = = = 0 0 = = = = = = = = = = = = = = = = = =", Do<&Motion::ParkEnds>},
    {"MountReportsParked",         "= = = = = = = = r = = = = = = = = = = = = = = = =", Do<&Motion::MountReportsParked>},
    {"GuidePulseBegins(North)",    "= = = = = = = = = = = = = = = 1 = = = = = = = = =", Pulse<&Motion::GuidePulseBegins, kNorth>},
    {"GuidePulseBegins(South)",    "= = = = = = = = = = = = = = = = 1 = = = = = = = =", Pulse<&Motion::GuidePulseBegins, kSouth>},
    {"GuidePulseBegins(East)",     "= = = = = = = = = = = = = = = = = 1 = = = = = = =", Pulse<&Motion::GuidePulseBegins, kEast>},
    {"GuidePulseBegins(West)",     "= = = = = = = = = = = = = = = = = = 1 = = = = = =", Pulse<&Motion::GuidePulseBegins, kWest>},
    {"GuidePulseEnds(North)",      "= = = = = = = = = = = = = = = 0 = = = = = = = = =", Pulse<&Motion::GuidePulseEnds, kNorth>},
    {"GuidePulseEnds(South)",      "= = = = = = = = = = = = = = = = 0 = = = = = = = =", Pulse<&Motion::GuidePulseEnds, kSouth>},
    {"GuidePulseEnds(East)",       "= = = = = = = = = = = = = = = = = 0 = = = = = = =", Pulse<&Motion::GuidePulseEnds, kEast>},
    {"GuidePulseEnds(West)",       "= = = = = = = = = = = = = = = = = = 0 = = = = = =", Pulse<&Motion::GuidePulseEnds, kWest>},
};
// clang-format on

/// What a cell makes of a flag or count.
std::uint32_t After(char cell, const Picture& before, std::size_t column, bool gosActive, bool told) {
    const std::uint32_t kept = before[column];
    switch (cell) {
        case '=':
            return kept;
        case '0':
            return 0;
        case '1':
            return 1;
        case '+':
            return kept + 1;
        case 'a':
            return before[AK] ? 0 : kept;
        case 's':
            return before[S] ? 1 : kept;
        case 'k':
            return before[K] || before[Kq] ? 1 : kept;
        case 'q':
            return before[K] || before[Kq] ? kept + 1 : kept;
        case 'u':
            return gosActive ? 1 : kept;
        case 'm':
            return before[M];
        case 'r':
            return told ? 1 : 0;
        case 'c':
            return before[S] || before[P2] ? kept + 1 : kept;
        case 'e':
            return before[Ga] || before[P2] ? 1 : kept;
        case 'p':
            return before[P2] ? 0 : kept;
        case 'h':
            return told ? kept : 0;
        case 'g':
            return before[S] || before[K] || before[Gs] ? 1 : kept;
        case 'n':
            return told || !before[P2] ? kept + 1 : kept;
        default:
            ADD_FAILURE() << "no such cell: " << cell;
            return kept;
    }
}

std::string WithoutSpaces(std::string_view cells) {
    std::string text(cells);
    std::erase(text, ' ');
    return text;
}

/// Without the columns of guiding, which the header gives one and this file four.
constexpr std::size_t kGuidingColumns = 4;

std::string WithoutGuiding(std::vector<std::string> cells, std::size_t columns) {
    const auto first = cells.begin() + GN;
    cells.erase(first, first + static_cast<std::ptrdiff_t>(columns));
    std::string text;
    for (const std::string& cell : cells) {
        text += cell;
    }
    return text;
}

std::vector<std::string> Words(const std::string& line) {
    std::istringstream stream(line);
    return {std::istream_iterator<std::string>(stream), {}};
}

std::map<std::string, std::string> RowsOfHeader() {
    std::map<std::string, std::string> rows;
    std::ifstream header(KESTRANE_MOTION_TABLE);
    bool inTable = false;
    for (std::string line; std::getline(header, line);) {
        std::vector<std::string> words = Words(line);
        const bool isRow =
            words.size() == kColumns - kGuidingColumns + 3;  // the slashes, the name, one cell of guiding
        if (inTable && isRow && line.starts_with("//   ") && words[1] != "the") {
            rows[words[1]] = WithoutGuiding({words.begin() + 2, words.end()}, 1);
        }
        inTable = inTable || (words.size() > 2 && words[1] == "S" && words[2] == "M");
    }
    return rows;
}

std::map<std::string, std::string> RowsOfTest() {
    std::map<std::string, std::string> rows;
    for (const Row& row : kRows) {
        rows[std::string(row.name.substr(0, row.name.find('(')))] =
            WithoutGuiding(Words(std::string(row.cells)), kGuidingColumns);
    }
    return rows;
}

TEST(MotionTable, OfTheHeader_IsTheOneTested) {
    EXPECT_EQ(RowsOfHeader(), RowsOfTest());
}

/// The flags that a bit pattern stands for; the guiding flags all alike, and some flags alike that no event looks at
/// together. A goto that was accepted was sent.
Picture Wish(unsigned bits) {
    Picture wish{};
    for (const Column column : {S, M, A, P2, C, K, AK, Pd, Ax, GN, Gs, Ga, W}) {
        wish[column] = bits & 1U;
        bits >>= 1U;
    }
    wish[Gs] |= wish[Ga];
    wish[B] = wish[Ax];
    wish[Kq] = wish[C];
    wish[O] = wish[Mv] = wish[GN];
    wish[GS] = wish[GE] = wish[GW] = wish[GN];
    return wish;
}
constexpr unsigned kWishes = 1U << 13U;

class MotionTableTest : public testing::TestWithParam<Row> {
protected:
    /// Brings the flags to where they are wished, by events; the counts go where these take them.
    void Arrange(const Picture& wish) {
        static const MotionPermit permit = SomePermit();
        motion.ParkEnds();
        motion.StopSent();
        motion.NewSlewBegins(permit);
        motion.SlewEnds();
        motion.DistanceStayed(true);
        motion.DistanceStayed(true);
        if (wish[AK]) {
            motion.ParkBegins();
            motion.Stopped();
            motion.ParkEnds();
        }
        if (wish[A]) {
            motion.SecondLegWatchedByDistance();
            motion.Stopped();
        }
        if (wish[B]) {
            motion.SecondLegBarred();
        }
        motion.MountReportsSlewing(false);  // whatever stood still was seen to
        motion.SupervisionFollowsStatus();
        if (wish[Gs]) {
            motion.GotoSent();
        }
        if (wish[Ga]) {
            motion.GotoTaken();
        }
        if (wish[Mv]) {
            motion.MoveSent();
        }
        if (wish[W]) {
            motion.GotoSent();
            motion.Stopped();
        }
        if (!wish[Gs]) {
            motion.SeenToStandAtTarget();
        }
        if (wish[S]) {
            motion.SecondLegWatchedByDistance();
        }
        if (wish[M]) {
            motion.SecondLegWatchedByStatus();
        }
        if (!wish[O]) {
            motion.SlewCompleteTaken();
        }
        wish[P2] ? motion.SecondLegPlanned() : motion.SecondLegDropped();
        if (wish[C]) {
            motion.SlewCompleteDue();
        }
        wish[K] ? motion.ParkBegins() : motion.ParkEnds();
        if (wish[Kq]) {
            motion.ParkAskedFor();
        }
        if (wish[Kq] && wish[AK]) {
            motion.ParkAborted();
        }
        motion.MountReportsParked(wish[Pd]);
        wish[Ax] ? motion.AxisMotionBegins() : motion.AxisMotionsEnd();
        for (const GuideDirection direction : {kNorth, kSouth, kEast, kWest}) {
            wish[GN] ? motion.GuidePulseBegins(direction) : motion.GuidePulseEnds(direction);
        }
        Picture arranged = PictureOf(state);
        for (const Column count : {nA, nB, nT, nTr, sd}) {
            arranged[count] = 0;
        }
        ASSERT_EQ(arranged, wish);
    }

    DriverState state;
    Motion motion{state};
};

TEST_P(MotionTableTest, Event_DoesToEachFlagWhatItsRowSays_FromEveryStateOfTheFlags) {
    const Row& row = GetParam();
    const std::string cells = WithoutSpaces(row.cells);
    ASSERT_EQ(cells.size(), kColumns);
    for (unsigned bits = 0; bits < kWishes; ++bits) {
        for (const bool gosActive : {false, true}) {
            for (const bool told : {false, true}) {
                ASSERT_NO_FATAL_FAILURE(Arrange(Wish(bits)));
                state.g_bGosActive = gosActive;
                const Picture before = PictureOf(state);
                Picture expected{};
                for (std::size_t column = 0; column < kColumns; ++column) {
                    expected[column] = After(cells[column], before, column, gosActive, told);
                }
                row.event(motion, told);
                ASSERT_EQ(PictureOf(state), expected)
                    << "from " << testing::PrintToString(before) << (gosActive ? "status text usable, " : "")
                    << (told ? "told" : "");
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Events, MotionTableTest, testing::ValuesIn(kRows), [](const auto& row) {
    std::string name(row.param.name);
    std::erase_if(name, [](char character) { return character == '(' || character == ')'; });
    return name;
});

// --- what events answer

class MotionTest : public testing::Test {
protected:
    DriverState state;
    Motion motion{state};
};

TEST_F(MotionTest, NewState_HasAllFlagsDownAndAllCountsAtZero) {
    EXPECT_EQ(PictureOf(state), Picture{});
}

TEST_F(MotionTest, NewSlew_IsNumbered) {
    EXPECT_EQ(motion.NewSlewBegins(SomePermit()), 1U);
    EXPECT_EQ(motion.NewSlewBegins(SomePermit()), 2U);
    EXPECT_EQ(state.g_nSlewsBegun, 2U);
    motion.SlewBegins();
    motion.SlewTaken();
    EXPECT_EQ(state.g_nSlewsBegun, 2U) << "a leg is no new slew";
}

TEST_F(MotionTest, TrackingChoice_TellsWhetherASlewEndedByIt) {
    EXPECT_FALSE(motion.TrackingChosen());
    motion.SecondLegPlanned();
    EXPECT_TRUE(motion.TrackingChosen());
    EXPECT_FALSE(motion.TrackingChosen());
    motion.SlewBegins();
    EXPECT_TRUE(motion.TrackingChosen());
    EXPECT_TRUE(motion.TrackingChosen()) << "the slew is watched until the mount stands";
}

TEST_F(MotionTest, StillDistance_TellsWhetherItCounts) {
    EXPECT_TRUE(motion.DistanceStayed(false));
    EXPECT_TRUE(motion.DistanceStayed(true));
    motion.SecondLegPlanned();
    EXPECT_FALSE(motion.DistanceStayed(false));
    EXPECT_TRUE(motion.DistanceStayed(true));
    EXPECT_EQ(state.g_nSameDistance, 3);
}

}  // namespace
}  // namespace kestrane
