#include <algorithm>
#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "driver/guiding/guiding_fixture.h"
#include "kernel/base/conversions.h"
#include "simulator/misbehaviours.h"
#include "support/run_length.h"

/// The end of a pulse: at its time, whatever else the driver does, or by a stop.
namespace kestrane {
namespace {

class PulseEndTest : public GuidingTest {};

std::vector<std::string> Split(const std::string& text, char at) {
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, at);) {
        parts.push_back(part);
    }
    return parts;
}

// --- at its time ----------------------------------------------------------------------------------------------------

TEST_F(PulseEndTest, ALongPulseInsideAShortSynchronousOne_DoesNotStretchIt) {
    ConnectTo(kUntimed, {{"chkSynchronousPulseGuide", "1"}});
    Begin();
    GuideAt(0, 0, 200);
    GuideAt(50, 2, 5'000);
    machine.AdvanceTime(6'000);
    EXPECT_EQ(Wire(), "0:RG2 20:Mn 120:RG2 140:Me 220:Qn 5140:Qe");
    EXPECT_EQ(returnedMs, 5'140);
}

TEST_F(PulseEndTest, APulseOfTheSameAxisInsideASynchronousOne_TakesItsPlace) {
    ConnectTo(kUntimed, {{"chkSynchronousPulseGuide", "1"}});
    Begin();
    GuideAt(0, 0, 3'000);
    GuideAt(50, 0, 500);
    machine.AdvanceTime(6'000);
    EXPECT_EQ(Wire(), "0:RG2 20:Mn 120:Q 120:RG2 140:Mn 640:Qn");
    EXPECT_EQ(Flags(), "");
    EXPECT_EQ(returnedMs, 640);  // of both
}

TEST_F(PulseEndTest, UnderALongCall_TheEndGoesOutAtItsTime) {
    ConnectTo(kUntimed);
    const double ra = NormalizeHours(telescope->SiderealTime() - 3.0);
    Begin();
    machine.pump.PostAt(startMs, CallKind::WaitsLong, [&] { telescope->SlewToCoordinates(ra, 20.0); });
    GuideAt(3'000, 2, 733);
    machine.AdvanceTime(3'000 + 900);
    const std::string wire = Wire();
    const std::size_t move = wire.find(":Me");
    ASSERT_NE(move, std::string::npos) << wire;
    const int begun = std::stoi(wire.substr(wire.rfind(' ', move) + 1));
    EXPECT_NE(wire.find(std::to_string(begun + 733) + ":Qe"), std::string::npos) << wire;
    EXPECT_TRUE(WaitForEnd());
}

TEST_F(PulseEndTest, UnderReadsThatFollowEachOther_TheEndGoesOutAtItsTime) {
    ConnectTo(kUntimed);
    TelescopeObject other = driver->CreateTelescope();
    Begin();
    GuideAt(0, 2, 1'003);
    for (std::int64_t ms = 0; ms < 3'000; ms += 25) {
        machine.pump.PostAt(startMs + ms, CallKind::Brief, [&] { other->IsPulseGuiding(); });
    }
    machine.AdvanceTime(4'000);
    EXPECT_EQ(Wire(), "0:RG2 20:Me 1023:Qe");
}

TEST_F(PulseEndTest, ThePollBeginsNoQuestionThatTheEndWouldWaitFor) {
    ExpectSwallow("*");
    struct Row {
        std::string_view firmware;
        SettingTexts settings;
    };
    const std::vector<Row> rows{
        {kUntimed, {}},
        {kUntimed, {{"chkKeepMountTimeSyncedToPcTime", "1"}}},  // a clock that is off is set again and again
        {kBrieflyTimed, {{"chkKeepMountTimeSyncedToPcTime", "1"}}},
        {kUntimed, {{"chkQUAY", "1"}}},  // the companion is looked for again
    };
    for (const Row& row : rows) {
        EndTheDriver();
        ConnectTo(row.firmware, row.settings);
        mount->Add(std::make_unique<AnswersWith>("GL", "01:00:00#", kEveryTime));
        mount->Add(std::make_unique<AnswersLate>("", 120));
        machine.AdvanceTime(10'000);
        for (std::int32_t duration = 1'400; duration < 3'400; duration += 37) {
            driver->state.g_tickLastQuayCheck = machine.clock.GetTickCount() - 59'000;  // due soon
            const std::string wire = WireOf(2, duration, duration + 1'000);
            const std::size_t move = wire.find(":Me");
            ASSERT_NE(move, std::string::npos) << wire;
            const std::size_t before = wire.rfind(' ', move);
            const int begun = std::stoi(wire.substr(before == std::string::npos ? 0 : before + 1));
            const std::size_t end = wire.find(std::to_string(begun + duration) + ":Qe");
            EXPECT_NE(end, std::string::npos) << duration << ": " << wire;
        }
    }
}

/// A pulse of 500 ms to the north, and one to the east that begins or ends about when that one ends.
struct OtherAxisRow {
    std::int64_t firstMs, lastMs;  ///< when the second one is asked for, at each millisecond
    std::int64_t endMs;            ///< when it is to end; 0 where it takes 300 ms
};

class OtherAxisTest : public GuidingTest, public testing::WithParamInterface<OtherAxisRow> {};

TEST_P(OtherAxisTest, StartsAndEndsThere_LeaveEachEndAtItsTime) {
    const OtherAxisRow row = GetParam();
    ConnectTo(kUntimed);
    for (std::int64_t ms = row.firstMs; ms <= row.lastMs; ++ms) {
        const std::int64_t duration = row.endMs == 0 ? 300 : row.endMs - ms - 20;
        Begin();
        GuideAt(0, 0, 500);
        GuideAt(ms, 2, static_cast<std::int32_t>(duration));
        machine.AdvanceTime(2'000);
        const std::string wire = " " + Wire() + " ";
        const std::size_t rate = wire.rfind(":RG2");
        const std::int64_t begun = std::stoll(wire.substr(wire.rfind(' ', rate) + 1));  // after a question, if need be
        EXPECT_NE(wire.find(" 520:Qn "), std::string::npos) << ms << wire;
        EXPECT_NE(wire.find(" " + std::to_string(begun + 20) + ":Me "), std::string::npos) << ms << wire;
        EXPECT_NE(wire.find(" " + std::to_string(begun + 20 + duration) + ":Qe "), std::string::npos) << ms << wire;
        EXPECT_EQ(Flags(), "");
    }
}

INSTANTIATE_TEST_SUITE_P(Rows, OtherAxisTest,
                         testing::Values(OtherAxisRow{495, 519, 0}, OtherAxisRow{100, 100, 510},
                                         OtherAxisRow{100, 100, 519}, OtherAxisRow{100, 100, 520},
                                         OtherAxisRow{100, 100, 521}, OtherAxisRow{100, 100, 529},
                                         OtherAxisRow{340, 365, 520}),
                         [](const auto& row) { return "Row" + std::to_string(row.index); });

/// An end drops what the line still holds: it must not come between a slew command and the mount's answer to that.
class EndBesideASlewTest : public GuidingTest, public testing::WithParamInterface<bool> {
protected:
    /// The time on the wire of a slew command that is sent beside a pulse of so long.
    std::int64_t SlewBesideAPulseOf(std::int32_t duration) {
        EndTheDriver();
        MountSimulatorOptions options;
        options.firmware = kUntimed;
        options.parkedAtPowerOn = false;
        options.minimumElevation = GetParam() ? 0.0 : 89.0;
        Connect(options, {{"DisableSafeSlew", "1"}});
        mount->Add(std::make_unique<AnswersLate>("Sd", 60));  // the slew begins long before the end, which it waits for
        log.clear();
        const double ra = NormalizeHours(telescope->SiderealTime() - 1.0);
        Begin();
        GuideAt(0, 0, duration);
        machine.pump.PostAt(startMs + 100, CallKind::WaitsLong,
                            [&] { Try([&] { telescope->SlewToCoordinatesAsync(ra, 20.0); }); });
        machine.AdvanceTime(2'500);
        const std::string wire = " " + Wire();
        const std::size_t slew = wire.find(":MS");
        return slew == std::string::npos ? -1 : std::stoll(wire.substr(wire.rfind(' ', slew) + 1));
    }
};

TEST_P(EndBesideASlewTest, AnEndRightAfterTheSlewCommand_LeavesItsAnswer) {
    const std::int64_t sentMs = SlewBesideAPulseOf(60'000);
    ASSERT_GT(sentMs, 0);
    for (std::int64_t after = 1; after <= 12; ++after) {
        SCOPED_TRACE(after);
        ASSERT_EQ(SlewBesideAPulseOf(static_cast<std::int32_t>(sentMs + after - 20)), sentMs) << Tape().Timed();
        EXPECT_EQ(mount->Picture().slewing, GetParam());
        EXPECT_EQ(driver->state.g_bSlewing, GetParam());
        EXPECT_EQ(error, GetParam() ? 0U : 0x80040413U) << words;
        EXPECT_EQ(TimesLogged(GetParam() ? "Sent 'MS', Response: 0" : "Sent 'MS', Response: 2"), 1);
        EXPECT_FALSE(Logged("Dropped a late reply before the next command"));
        EXPECT_NE(Wire().find(":Qn"), std::string::npos) << Wire();
        EXPECT_EQ(Flags(), "");
    }
}

INSTANTIATE_TEST_SUITE_P(TakenAndRefused, EndBesideASlewTest, testing::Bool());

TEST_F(PulseEndTest, BetweenTheTriesOfAQuestion_TheEndGoesOut) {
    ExpectSwallow("CommandString");
    ConnectTo(kUntimed);
    Begin();
    GuideAt(0, 0, 300);
    machine.AdvanceTime(100);
    mount->Add(std::make_unique<DropsReply>("GA", 3));
    machine.pump.Post(CallKind::Brief, [&] { telescope->Altitude(); });  // three tries of 500 ms each
    machine.AdvanceTime(3'000);
    EXPECT_EQ(Wire(), "0:RG2 20:Mn 600:Qn 650:# 1711:# 2732:#") << Tape().Timed();
}

// --- by a stop ------------------------------------------------------------------------------------------------------

struct StopRow {
    std::string name;
    std::function<void(Driver&, Telescope&)> stop;
    friend void PrintTo(const StopRow& row, std::ostream* out) { *out << row.name; }
};

struct PulseKind {
    std::string_view firmware;
    bool synchronous;
};

class PulseStopTest : public GuidingTest, public testing::WithParamInterface<StopRow> {};

TEST_P(PulseStopTest, EndsThePulse_ItsTimerAndItsFlag_AndASynchronousOneReturns) {
    for (const PulseKind kind : {PulseKind{kUntimed, false}, PulseKind{kLongTimed, false}, PulseKind{kUntimed, true},
                                 PulseKind{kLongTimed, true}}) {
        for (const bool tracks : {true, false}) {
            SCOPED_TRACE(std::string(kind.firmware) + (kind.synchronous ? " sync" : " async") + (tracks ? "" : " off"));
            EndTheDriver();
            ConnectTo(kind.firmware, {{"chkSynchronousPulseGuide", kind.synchronous ? "1" : "0"}});
            telescope->Tracking(tracks);
            machine.AdvanceTime(1'000);
            Begin();
            returnedMs = -1;
            std::int64_t stoppedMs = 0;
            GuideAt(0, 0, 30'000);
            StopAt(1'030, [&] {
                EXPECT_EQ(Flags(), "N");
                EXPECT_NE(mount->Picture().polarSpeed, 0.0);
                GetParam().stop(*driver, *telescope);
                stoppedMs = machine.clock.Elapsed() - startMs;
            });
            machine.AdvanceTime(4'000);
            EXPECT_EQ(Flags(), "");
            EXPECT_FALSE(AnyTimerRuns());
            EXPECT_NEAR(mount->Picture().polarSpeed, 0.0, 1e-9);
            EXPECT_GE(returnedMs, 0);
            EXPECT_LE(returnedMs, stoppedMs + 50);
            const std::string wire = Wire();
            machine.AdvanceTime(40'000);
            EXPECT_EQ(Wire(), wire);  // nothing comes later
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Stops, PulseStopTest,
    testing::Values(StopRow{"a client's abort", [](Driver&, Telescope& client) { client.AbortSlew(); }},
                    StopRow{"the window", [](Driver& driver, Telescope&) { driver.panel.AbortSlew(); }},
                    StopRow{"a write of the tracking", [](Driver&, Telescope& client) { client.Tracking(false); }},
                    StopRow{"a write of the rate", [](Driver&, Telescope& client) { client.TrackingRate(0); }},
                    StopRow{"a client's text", [](Driver&, Telescope& client) { client.CommandBlind("Q", false); }},
                    StopRow{"the end of an axis", [](Driver&, Telescope& client) { client.MoveAxis(1, 0.0); }}));

TEST_F(PulseEndTest, AStopBeforeTheMove_LeavesNothingBehind) {
    ConnectTo(kUntimed);
    for (const bool tracks : {true, false}) {
        for (const std::int64_t ms : {5, 15}) {
            telescope->Tracking(tracks);
            machine.AdvanceTime(1'000);
            Begin();
            GuideAt(0, 0, 30'000);
            StopAt(ms, [&] { telescope->AbortSlew(); });
            machine.AdvanceTime(2'000);
            EXPECT_EQ(Wire().find("Mn"), std::string::npos) << Wire();
            EXPECT_EQ(Flags(), "");
            EXPECT_FALSE(AnyTimerRuns());
        }
        Begin();
        GuideAt(0, 0, 30'000);
        StopAt(15, [&] { telescope->Tracking(false); });
        machine.AdvanceTime(2'000);
        EXPECT_EQ(Wire().find("Mn"), std::string::npos) << Wire();
        EXPECT_EQ(Flags(), "");
    }
}

TEST_F(PulseEndTest, APulseThatAStopHasOvertaken_DoesNotBegin) {
    ConnectTo(kUntimed);
    Begin();
    machine.pump.Post(CallKind::WaitsLong, [&] { telescope->PulseGuide(0, 500); });
    machine.pump.Post(CallKind::Stop, [&] { telescope->AbortSlew(); });
    machine.AdvanceTime(1'000);
    EXPECT_EQ(Wire().find("Mn"), std::string::npos) << Wire();
    EXPECT_EQ(Wire().find("RG"), std::string::npos) << Wire();
}

TEST_F(PulseEndTest, AStopAtTheFirstDoorOfAPulse_EndsThePulseThatIsToMakeRoomToo) {
    for (const bool synchronous : {false, true}) {
        SCOPED_TRACE(synchronous);
        EndTheDriver();
        ConnectTo(kUntimed, {{"chkSynchronousPulseGuide", synchronous ? "1" : "0"}});
        Begin();
        int returned = 0;
        const auto guideAt = [&](std::int64_t ms, std::int32_t direction, std::int32_t duration) {
            machine.pump.PostAt(startMs + ms, CallKind::WaitsLong, [this, &returned, direction, duration] {
                telescope->PulseGuide(direction, duration);
                ++returned;
            });
        };
        guideAt(0, 0, 5'000);
        guideAt(1'000, 1, 400);
        driver->log.SetListener([this](std::string_view, int, std::string_view message) {
            if (message.starts_with("PulseGuide(1, 400)")) {
                machine.pump.Post(CallKind::Stop, [this] { telescope->AbortSlew(); });
            }
        });
        machine.AdvanceTime(2'000);
        EXPECT_LT(machine.clock.Elapsed(), startMs + 3'000);
        EXPECT_EQ(returned, 2);
        EXPECT_EQ(Flags(), "");
        EXPECT_FALSE(AnyTimerRuns());
        EXPECT_EQ(Wire().find("Ms"), std::string::npos) << Wire();
        ExpectOnlyTracking();
    }
}

TEST_F(PulseEndTest, TheEndOfAnAxis_LeavesThePulseOfTheOtherAxis) {
    ConnectTo(kBrieflyTimed);
    Begin();
    GuideAt(0, 2, 2'000);
    StopAt(500, [&] { telescope->MoveAxis(1, 0.0); });
    machine.AdvanceTime(1'000);
    EXPECT_EQ(Flags(), "E");
    machine.AdvanceTime(2'000);
    EXPECT_EQ(Flags(), "");
}

TEST_F(PulseEndTest, APulseThatIsDueWhileItIsEnded_IsEndedOnce) {
    ConnectTo(kUntimed, {{"chkSynchronousPulseGuide", "1"}});
    Begin();
    GuideAt(0, 0, 500);
    StopAt(515, [&] { telescope->MoveAxis(1, 0.0); });
    machine.AdvanceTime(1'000);
    EXPECT_TRUE(Wire().starts_with("0:RG2 20:Mn 515:Qn 525:RD0.00000")) << Wire();
    EXPECT_EQ(Flags(), "");
}

struct ProcessEndRow {
    bool bySignal;
    bool synchronous;
};

TEST_F(PulseEndTest, TheEndOfTheProcess_EndsOpenPulses_AndLeavesASlew) {
    for (const ProcessEndRow& row :
         {ProcessEndRow{true, false}, ProcessEndRow{false, false}, ProcessEndRow{true, true}}) {
        SCOPED_TRACE(std::string(row.bySignal ? "signal" : "client") + (row.synchronous ? " sync" : " async"));
        EndTheDriver();
        ConnectTo(kUntimed, {{"chkSynchronousPulseGuide", row.synchronous ? "1" : "0"}});
        Begin();
        returnedMs = -1;
        GuideAt(0, 0, 30'000);
        GuideAt(100, 3, 30'000);
        if (row.bySignal) {
            StopAt(600, [&] { driver->EndOnRequest(); });
            machine.AdvanceTime(700);
            EXPECT_EQ(returnedMs, row.synchronous ? 621 : 120);
        } else {
            machine.AdvanceTime(500);
            telescope.reset();
        }
        EXPECT_EQ(Tape().Motion(), "RG2 Mn RG2 Mw Qn Qw");
        EXPECT_NEAR(mount->Picture().polarSpeed, 0.0, 1e-9);
    }
}

TEST_F(PulseEndTest, AnEndThatTheSilentLineSwallowed_GoesOutWhenTheMountAnswersAgain) {
    ExpectSwallow("CommandString");
    ExpectSwallow("CommandBlind");
    ConnectTo(kUntimed);
    Begin();
    GuideAt(0, 0, 20'000);
    machine.AdvanceTime(1'000);
    mount->SetLineDead(true);
    machine.AdvanceTime(30'000);
    EXPECT_EQ(Flags(), "");
    EXPECT_NE(mount->Picture().polarSpeed, 0.0);
    EXPECT_TRUE(Logged("The mount may not have heard the end of a pulse."));
    mount->SetLineDead(false);
    machine.AdvanceTime(15'000);
    EXPECT_NEAR(mount->Picture().polarSpeed, 0.0, 1e-9);
    EXPECT_TRUE(Logged("The end of a pulse went out again"));
    Begin();
    machine.AdvanceTime(20'000);
    EXPECT_EQ(Wire(), "");
}

// --- the cable is pulled; nothing is asked meanwhile, so only the port says so ---------------------------------------

class PulledCableTest : public PulseEndTest {
protected:
    void ConnectTo(std::string_view firmware) {
        ExpectSwallow("*");
        PulseEndTest::ConnectTo(firmware);
        driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
        Begin();
    }
    void PullAt(std::int64_t ms) {
        machine.pump.PostAt(startMs + ms, CallKind::Brief, [this] { machine.serialPorts.Disconnect(1); });
    }
    /// The mount is left moving by whatever should have ended it, and stops once the cable is back.
    void ExpectTheEndComesWithTheCable() {
        PlugAt(4'000);
        GoTo(3'900);
        EXPECT_EQ(Flags(), "");
        EXPECT_TRUE(Moves());
        GoTo(5'200);
        EXPECT_FALSE(Moves());
    }
    void PlugAt(std::int64_t ms) {
        machine.pump.PostAt(startMs + ms, CallKind::Brief, [this] { machine.ConnectMount(1, *mount); });
    }
    bool Moves() const { return std::abs(mount->Picture().polarSpeed) > 1e-9; }
    void GoTo(std::int64_t ms) { machine.AdvanceTime(startMs + ms - machine.clock.Elapsed()); }
};

TEST_F(PulledCableTest, AnEndThatCouldNotBeWritten_GoesOutWhenTheCableIsBack) {
    ConnectTo(kUntimed);
    GuideAt(0, 0, 2'000);
    PullAt(1'000);
    ExpectTheEndComesWithTheCable();
}

TEST_F(PulledCableTest, AnOwedEnd_OutlivesAPulseOfItsAxisThatTheMountCannotHear) {
    for (const std::int32_t direction : {0, 1}) {
        EndTheDriver();
        ConnectTo(kBrieflyTimed);
        GuideAt(0, 0, 2'000);
        PullAt(1'000);
        GuideAt(2'500, direction, 300);
        PlugAt(4'000);
        GoTo(3'900);
        EXPECT_TRUE(Moves());
        GoTo(5'200);
        EXPECT_FALSE(Moves()) << direction;
    }
}

TEST_F(PulledCableTest, AStopThatCouldNotBeWritten_LeavesTheEndOwed) {
    ConnectTo(kUntimed);
    GuideAt(0, 0, 60'000);
    PullAt(1'000);
    StopAt(1'500, [&] { telescope->AbortSlew(); });
    ExpectTheEndComesWithTheCable();
}

TEST_F(PulledCableTest, ANewPulseAfterTheReturn_KeepsItsLength) {
    ConnectTo(kUntimed);
    GuideAt(0, 0, 1'000);
    PullAt(500);
    PlugAt(1'200);
    GuideAt(1'300, 0, 3'000);
    GoTo(4'310);
    EXPECT_EQ(Flags(), "N");
    EXPECT_TRUE(Moves());
    GoTo(4'330);
    EXPECT_EQ(Flags(), "");
    EXPECT_FALSE(Moves());
}

TEST_F(PulseEndTest, AfterAnOpenPulse_NothingCountsAsAMoveWithoutAnEnd) {
    ConnectTo(kUntimed);
    WireOf(0, 500, 1'000);
    EXPECT_FALSE(driver->state.g_bMoveSent);
    telescope->CommandBlind("Mn", false);
    EXPECT_TRUE(driver->state.g_bMoveSent);
    WireOf(2, 500, 1'000);
    EXPECT_TRUE(driver->state.g_bMoveSent);
}

// --- many -----------------------------------------------------------------------------------------------------------

TEST_F(PulseEndTest, TwoThousandPulses_TheJournalIsTheWire) {
    const int pulses = RunLength(2'000);
    for (const std::string_view firmware : {kUntimed, kLongTimed}) {
        SCOPED_TRACE(firmware);
        EndTheDriver();
        ConnectTo(firmware);
        TelescopeObject guider = driver->CreateTelescope();
        driver->journal.ResetEvents();
        const std::int64_t resetMs = machine.clock.Elapsed();
        Begin();
        std::string journal;
        std::string index = "0";
        const auto readOn = [&] {
            const std::string answer = driver->journal.PulseGuideEvents(index);
            const std::vector<std::string> fields = Split(answer, ',');
            for (std::size_t i = 4; i + 4 <= fields.size() - 1; i += 4) {
                journal += fields[i] + ":" + fields[i + 1] + ":" + fields[i + 2] + ":" + fields[i + 3] + " ";
            }
            index = fields.back() == "1000" ? "0" : fields.back();
        };
        std::uint32_t random = 12'345;
        int guided = 0;
        const auto next = [&](std::uint32_t below) {
            random = random * 1'664'525U + 1'013'904'223U;
            return static_cast<std::int32_t>((random >> 8U) % below);
        };
        const auto guide = [&](std::int32_t direction) {
            guider->PulseGuide(direction, 20 + next(480));
            ++guided;
        };
        const auto mountIsGuided = [&] {
            const MountPicture picture = mount->Picture();
            return std::abs(picture.polarSpeed) > 1e-9 || std::abs(picture.hourSpeed - 15.04107 / 3600.0) > 1e-4;
        };
        for (int i = 0; i < pulses; ++i) {
            if (i % 7 == 0) {
                driver->state.g_dGuideRate = kGuideRates.at(static_cast<std::size_t>(next(3))).multiple;
            }
            const std::int64_t begun = machine.clock.Elapsed();
            std::optional<std::int64_t> disagreesSince;  // not for long: a byte takes its time on the line
            bool saidGuided = false;                     // when it disagreed last
            int reads = 0;
            for (std::int64_t ms = 25; ms <= 1'000; ms += 25) {
                machine.pump.PostAt(begun + ms, CallKind::Brief, [&] {
                    ++reads;
                    const bool saysGuided = guider->IsPulseGuiding();
                    if (saysGuided == mountIsGuided()) {
                        disagreesSince.reset();
                        return;
                    }
                    const std::int64_t now = machine.clock.Elapsed();
                    if (std::exchange(saidGuided, saysGuided) != saysGuided) {
                        disagreesSince.reset();  // the other way round, with no read in between
                    }
                    disagreesSince = disagreesSince.value_or(now);
                    EXPECT_LT(now - *disagreesSince, 25) << i;
                });
            }
            const std::int32_t direction = next(4);
            guide(direction);
            if (i % 2 == 1) {
                guide((direction + 2) % 4);  // on the other axis, as long as the first one runs
            }
            machine.AdvanceTime(begun + 1'010 - machine.clock.Elapsed());
            EXPECT_EQ(reads, 40);
            EXPECT_EQ(Flags(), "");
            if (i % 100 == 99) {
                readOn();
            }
        }
        // What the wire says: of each move its time, less the pause before it, the rate, the duration and the
        // direction.
        struct Seen {
            std::string rate;
            std::string duration;
            std::string code;
        };
        std::map<long, Seen> seen;
        std::map<char, long> last;  ///< by the letter of the direction
        std::string rate;
        for (const std::string& command : Split(Tape().TimedMotion(resetMs), ' ')) {
            const std::vector<std::string> parts = Split(command, ':');
            const std::string& text = parts[1];
            const long ms = std::stol(parts[0]);
            const auto codeOf = [](char letter) {
                return std::to_string(letter == 'e' ? 1 : letter == 'w' ? 2 : letter == 'n' ? 3 : 4);
            };
            if (text.starts_with("RG")) {
                rate = text.substr(2);
            } else if (text[0] == 'M') {
                seen[ms] = {rate, text.substr(2), codeOf(text[1])};
                last[text[1]] = ms;
            } else if (text[0] == 'Q') {
                ASSERT_EQ(text.size(), 2U);
                const long begun = last.at(text[1]);
                seen.at(begun).duration = std::to_string(ms - begun);
            }
        }
        std::string wire;
        for (const auto& [ms, pulse] : seen) {
            wire += std::to_string(ms - 10) + ":" + pulse.rate + ":" + pulse.duration + ":" + pulse.code + " ";
        }
        EXPECT_EQ(seen.size(), static_cast<std::size_t>(guided));
        EXPECT_EQ(journal, wire);
    }
}

}  // namespace
}  // namespace kestrane
