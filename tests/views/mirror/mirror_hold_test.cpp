#include <cmath>
#include <memory>
#include <string>

#include "settings/setting_keys.h"
#include "views/mirror/mirror_fixture.h"

namespace kestrane::mirror {
namespace {

class MirrorHoldTest : public MirrorTest {
protected:
    void SetUp() override {
        MirrorTest::SetUp();
        telescope = ConnectedTelescope();
        id = Open();
        machine.AdvanceTime(500);
    }
    void TearDown() override {
        telescope = {};
        MirrorTest::TearDown();
    }
    void HoldNorth(int hold) { Report(OnHandBox("hold", "btnMove(1)") + R"(,"hold":)" + std::to_string(hold)); }
    /// The view answers each beat, as one does that is alive.
    void Live(int milliseconds, int hold) {
        for (int ms = 0; ms < milliseconds; ms += 250) {
            machine.AdvanceTime(250);
            Beat(hold, view->newestBeat);
        }
    }
    void Beat(int hold, std::uint64_t quoted) {
        mirror->Received(
            id, R"({"do":"beat","hold":)" + std::to_string(hold) + R"(,"beat":)" + std::to_string(quoted) + "}");
    }
    int Starts() { return TimesSent("Mn"); }
    static Texts ReleasedAmong(Texts got) {
        std::erase_if(got, [](const std::string& text) { return !Has(text, "released"); });
        return got;
    }
    static std::string Released(int hold) { return R"({"type":"released","hold":)" + std::to_string(hold) + "}"; }
    bool Moves() { return std::abs(mount->Picture().polarSpeed) > 1e-6; }

    TelescopeObject telescope;
};

TEST_F(MirrorHoldTest, HeldButton_MovesTheMount_UntilItIsReleased) {
    HoldNorth(1);
    Live(5'000, 1);
    EXPECT_TRUE(Moves());
    mirror->Received(id, R"({"do":"release","hold":1})");
    machine.AdvanceTime(1'500);
    EXPECT_FALSE(Moves());
    EXPECT_EQ(Starts(), 1);
}

TEST_F(MirrorHoldTest, ASecondOfSilence_EndsAHold_AndLaterBeatsOfItDoNothing) {
    HoldNorth(1);
    Live(1'000, 1);
    EXPECT_TRUE(Moves());
    machine.AdvanceTime(2'500);
    EXPECT_FALSE(Moves());
    Live(2'000, 1);
    EXPECT_FALSE(Moves());
    view->Take();
    HoldNorth(1);
    EXPECT_EQ(view->Take().back(), Refused("The button is not held any more."));
    HoldNorth(2);
    Live(1'000, 2);
    EXPECT_TRUE(Moves());
}

TEST_F(MirrorHoldTest, WhatEndsAHold_ButTheViewItself_IsTold) {
    HoldNorth(1);
    Live(1'000, 1);
    HoldNorth(2);
    Live(1'000, 2);
    EXPECT_EQ(ReleasedAmong(view->Take()), Texts{}) << "it holds something else";
    machine.AdvanceTime(2'500);
    EXPECT_EQ(ReleasedAmong(view->Take()), Texts{Released(2)}) << "silence";
    HoldNorth(3);
    Live(1'000, 3);
    driver->heldButtons.ReleaseAll();
    EXPECT_EQ(ReleasedAmong(view->Take()), Texts{Released(3)});
    HoldNorth(4);
    Live(1'000, 4);
    mirror->Received(id, R"({"do":"release","hold":4})");
    machine.AdvanceTime(1'500);
    EXPECT_EQ(ReleasedAmong(view->Take()), Texts{}) << "it has let go itself";
    EXPECT_FALSE(Moves());
}

/// They come late over a line that gets slower and slower, and so would the release.
TEST_F(MirrorHoldTest, BeatsThatQuoteAnOldOne_KeepNothing) {
    HoldNorth(1);
    const std::uint64_t old = view->newestBeat;
    for (int ms = 0; ms < 4'000; ms += 250) {
        machine.AdvanceTime(250);
        Beat(1, old);
    }
    EXPECT_FALSE(Moves());
    EXPECT_EQ(Starts(), 1);
}

TEST_F(MirrorHoldTest, BeatsOfAnotherHold_KeepNothing) {
    HoldNorth(3);
    Live(3'000, 2);
    EXPECT_FALSE(Moves());
    EXPECT_EQ(Starts(), 1);
}

TEST_F(MirrorHoldTest, ViewThatGoes_ReleasesWhatItHolds) {
    HoldNorth(1);
    Live(1'000, 1);
    EXPECT_TRUE(Moves());
    machine.pump.Run(CallKind::Stop, [&] { mirror->Closed(id); });
    machine.AdvanceTime(1'000);
    EXPECT_FALSE(Moves());
    EXPECT_EQ(mirror->ViewCount(), 0U);
}

TEST_F(MirrorHoldTest, ReleaseBeforeItsTurn_WithdrawsThePress) {
    const std::string press =
        "{" + OnHandBox("hold", "btnMove(1)") + R"(,"hold":1,"beat":)" + std::to_string(view->newestBeat) + "}";
    mirror->Received(id, press);
    mirror->Received(id, R"({"do":"release","hold":1})");
    machine.AdvanceTime(2'000);
    EXPECT_EQ(Starts(), 0);
    const Texts answers = view->Take();
    EXPECT_NE(std::ranges::find(answers, Refused("The button is not held any more.")), answers.end());
}

TEST_F(MirrorHoldTest, Stop_StopsWhatIsHeld_AndIsHeard) {
    HoldNorth(1);
    Live(1'000, 1);
    view->Take();
    mirror->Received(id, R"({"do":"stop","id":7})");
    machine.AdvanceTime(1'000);
    EXPECT_FALSE(Moves());
    const Texts answers = view->Take();
    EXPECT_NE(std::ranges::find(answers, kHeard), answers.end());
    Live(2'000, 1);
    EXPECT_FALSE(Moves());
}

TEST_F(MirrorHoldTest, AnotherView_TakesTheHoldOver) {
    HoldNorth(1);
    Live(1'000, 1);
    const std::shared_ptr<FakeTransport> first = std::exchange(view, std::make_shared<FakeTransport>());
    id = Open();
    machine.AdvanceTime(100);
    Report(OnHandBox("hold", "btnMove(7)") + R"(,"hold":1)");
    Live(1'000, 1);
    EXPECT_EQ(TimesSent("Ms"), 1);
    EXPECT_EQ(ReleasedAmong(first->Take()), Texts{Released(1)});
    mirror->Received(id, R"({"do":"release","hold":1})");
    machine.AdvanceTime(1'500);
    EXPECT_FALSE(Moves());
}

}  // namespace
}  // namespace kestrane::mirror
