#include "state/sequence.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "kernel/base/errors.h"
#include "kernel/base/waits.h"
#include "state/motion.h"
#include "support/virtual_platform.h"

namespace kestrane {
namespace {

/// A mount that takes down what reaches it; a test may have something happen during an exchange.
class TakenDown final : public MountCommands {
public:
    std::vector<std::string> sent;
    std::function<void(const std::string& text)> during = [](const std::string&) {};
    int tries = 1;  ///< of each exchange that has a reply
    std::function<void()> beforeNextTry = [] {};

private:
    void Take(const std::string& text) {
        sent.push_back(text);
        during(text);
    }
    void Ask(const std::string& text) {
        Take(text);
        for (int left = tries - 1; left > 0; --left) {
            beforeNextTry();
            Take(text);
        }
    }
    void CommandBlind(const OutgoingCommand<ReplyForm::None>& command) override { Take(command.text); }
    void CommandBlindInternal(const OutgoingCommand<ReplyForm::None>& command) override { Take(command.text); }
    void CommandBlindLight(const OutgoingCommand<ReplyForm::None>& command) override { Take(command.text); }
    void CommandClear() override { Take("<clear>"); }
    void CommandClearInternal() override { Take("<clear>"); }
    bool CommandBoolInternal(const OutgoingCommand<ReplyForm::Character>& command) override {
        Ask(command.text);
        return true;
    }
    CharacterReply CommandCharacterInternal(const OutgoingCommand<ReplyForm::Character>& command) override {
        Ask(command.text);
        return CharacterReply::Good;
    }
    std::string CommandString(const OutgoingCommand<ReplyForm::Text>& command) override {
        Ask(command.text);
        return "reply";
    }
    std::string CommandStringInternal(const OutgoingCommand<ReplyForm::Text>& command) override {
        return CommandString(command);
    }
    std::string CommandStringOnce(const OutgoingCommand<ReplyForm::Text>& command) override {
        return CommandString(command);
    }
    std::string DriverCommandInternal(std::string_view verb) override {
        Take("RAW," + std::string(verb));
        return "1";
    }
};

constexpr EndingProcedure kEnding{"ends", Doors::BeforeEach};
constexpr CompletingProcedure kOpen{"open", Doors::BeforeEach};
constexpr CompletingProcedure kClosed{"closed", Doors::Closed};
constexpr CompletingProcedure kOneExchange{"one exchange", Doors::BetweenTries};
constexpr EndingProcedure kEndingExchange{"one exchange that ends", Doors::BetweenTries};

class SequenceTest : public testing::Test {
protected:
    /// Somebody asks for a stop during the exchange of `text`; what it sends is "stop".
    void StopDuring(const std::string& text) {
        mount.during = [this, text](const std::string& sent) {
            if (sent == text) {
                machine.pump.Post(CallKind::Stop, [this] { RunStop(); });
            }
        };
    }
    void RunStop() {
        motion.StopAskedFor();
        mount.sent.emplace_back("stop");
        Sequence stop(mount, door, procedure::StopPair);
        stop.CommandBlind(wire::Stop);
    }

    VirtualPlatform machine;
    DriverState state;
    Motion motion{state};
    Log log{state, machine.clock};
    Waits waits{machine.clock, machine.pump};
    StopDoor door{waits, log, state};
    TakenDown mount;
    using Sent = std::vector<std::string>;
};

TEST_F(SequenceTest, Ends_NothingOfItGoesOutAfterAStop) {
    StopDuring("GD");
    const bool ended = !Sequence::UntilStopped(mount, door, kEnding, [](Sequence& sequence) {
        sequence.CommandString(wire::GetDec);
        sequence.CommandString(wire::GetRa);
    });
    EXPECT_TRUE(ended);
    EXPECT_EQ(mount.sent, (Sent{"GD", "stop", "Q"}));
}

TEST_F(SequenceTest, Ends_WithoutAStop_RunsToItsEnd) {
    EXPECT_TRUE(Sequence::UntilStopped(mount, door, kEnding, [](Sequence& sequence) {
        sequence.CommandString(wire::GetDec);
        sequence.CommandString(wire::GetRa);
    }));
    EXPECT_EQ(mount.sent, (Sent{"GD", "GR"}));
}

TEST_F(SequenceTest, Completes_AStopGetsInAndTheRestGoesOut) {
    StopDuring("GD");
    Sequence sequence(mount, door, kOpen);
    sequence.CommandString(wire::GetDec);
    sequence.CommandString(wire::GetRa);
    EXPECT_EQ(mount.sent, (Sent{"GD", "stop", "Q", "GR"}));
}

TEST_F(SequenceTest, ClosedDoors_LetTheStopWait) {
    StopDuring("GD");
    Sequence sequence(mount, door, kClosed);
    sequence.CommandString(wire::GetDec);
    sequence.CommandString(wire::GetRa);
    EXPECT_EQ(mount.sent, (Sent{"GD", "GR"}));
    machine.pump.PumpStops();
    EXPECT_EQ(mount.sent, (Sent{"GD", "GR", "stop", "Q"}));
}

class TriesTest : public SequenceTest {
protected:
    TriesTest() {
        mount.tries = 3;
        mount.beforeNextTry = [this] { door.LetStopInBetweenTries(); };
        StopDuring("GD");
    }
};

TEST_F(TriesTest, OfAProcedureThatEnds_NoneGoesOutAfterAStop) {
    for (const EndingProcedure& procedure : {kEnding, kEndingExchange}) {
        mount.sent.clear();
        const bool ended = !Sequence::UntilStopped(mount, door, procedure, [](Sequence& sequence) {
            sequence.CommandString(wire::GetDec);
            sequence.CommandString(wire::GetRa);
        });
        EXPECT_TRUE(ended) << procedure.name;
        EXPECT_EQ(mount.sent, (Sent{"GD", "stop", "Q"})) << procedure.name;
    }
}

TEST_F(TriesTest, OfAProcedureThatCompletes_GoOnAfterTheStop) {
    for (const CompletingProcedure& procedure : {kOpen, kOneExchange}) {
        mount.sent.clear();
        Sequence sequence(mount, door, procedure);
        sequence.CommandString(wire::GetDec);
        EXPECT_EQ(mount.sent, (Sent{"GD", "stop", "Q", "GD", "stop", "Q", "GD"})) << procedure.name;
        machine.pump.PumpStops();
    }
}

TEST_F(TriesTest, OfAProcedureWithClosedDoorsOrOfNone_LetTheStopWait) {
    {
        Sequence sequence(mount, door, kClosed);
        sequence.CommandString(wire::GetDec);
        EXPECT_EQ(mount.sent, (Sent{"GD", "GD", "GD"}));
    }
    mount.during("GD");
    door.LetStopInBetweenTries();
    EXPECT_EQ(mount.sent, (Sent{"GD", "GD", "GD"}));
}

TEST_F(TriesTest, OfAPartThatCompletes_GoOn_AndTheProcedureEndsAfterIt) {
    const bool ended = !Sequence::UntilStopped(mount, door, kEnding, [&](Sequence& sequence) {
        Sequence(mount, door, kOneExchange).CommandString(wire::GetDec);
        sequence.CommandString(wire::GetRa);
    });
    EXPECT_TRUE(ended);
    EXPECT_EQ(mount.sent, (Sent{"GD", "stop", "Q", "GD", "stop", "Q", "GD", "stop", "Q"}));
}

TEST_F(TriesTest, OfAStop_LetNoOtherStopIn) {
    bool isFirst = true;
    mount.during = [this, &isFirst](const std::string& text) {
        if (text == "GD" && std::exchange(isFirst, false)) {
            machine.pump.Post(CallKind::Stop, [this] {
                machine.pump.Post(CallKind::Stop, [this] { mount.sent.emplace_back("other stop"); });
                Sequence(mount, door, procedure::StopPair).CommandBoolInternal(wire::Quay);
            });
        }
    };
    Sequence(mount, door, kOpen).CommandString(wire::GetDec);
    EXPECT_EQ(mount.sent, (Sent{"GD", "QUAY", "QUAY", "QUAY", "GD", "other stop", "GD"}));
}

TEST_F(SequenceTest, AClear_BelongsToTheExchangeThatFollows) {
    StopDuring("<clear>");
    Sequence sequence(mount, door, kOpen);
    sequence.CommandClearInternal();
    sequence.CommandString(wire::GetDec);
    sequence.CommandString(wire::GetRa);
    EXPECT_EQ(mount.sent, (Sent{"<clear>", "GD", "stop", "Q", "GR"}));
}

TEST_F(SequenceTest, ClearIfOutOfStep_LooksAfterTheStop) {
    Sequence sequence(mount, door, kOpen);
    sequence.ClearIfOutOfStep();
    sequence.CommandString(wire::GetDec);
    EXPECT_EQ(mount.sent, (Sent{"GD"}));

    state.g_bResync = true;
    machine.pump.Post(CallKind::Stop, [this] { state.g_bResync = false; });
    sequence.ClearIfOutOfStep();
    sequence.CommandString(wire::GetRa);
    EXPECT_EQ(mount.sent, (Sent{"GD", "GR"}));

    state.g_bResync = true;
    sequence.ClearIfOutOfStep();
    sequence.CommandString(wire::GetRa);
    EXPECT_EQ(mount.sent, (Sent{"GD", "GR", "<clear>", "GR"}));
}

TEST_F(SequenceTest, APartOfAProcedureThatEnds_DoesNotBeginAfterAStop) {
    for (const CompletingProcedure& part : {kOpen, kClosed}) {
        mount.sent.clear();
        StopDuring("GD");
        const bool ended = !Sequence::UntilStopped(mount, door, kEnding, [&](Sequence& sequence) {
            sequence.CommandString(wire::GetDec);
            Sequence rest(mount, door, part);
            rest.CommandBlind(wire::MoveEast);
        });
        EXPECT_TRUE(ended) << part.name;
        EXPECT_EQ(mount.sent, (Sent{"GD", "stop", "Q"})) << part.name;
    }
}

TEST_F(SequenceTest, APartThatCompletes_IsSentWhole_AndEndsTheProcedureAfterIt) {
    StopDuring("Me");
    const bool ended = !Sequence::UntilStopped(mount, door, kEnding, [&](Sequence& sequence) {
        {
            Sequence part(mount, door, kClosed);
            part.CommandBlind(wire::MoveEast);
            part.CommandBlind(wire::Stop);
        }
        sequence.CommandString(wire::GetDec);
    });
    EXPECT_TRUE(ended);
    EXPECT_EQ(mount.sent, (Sent{"Me", "Q", "stop", "Q"}));
}

TEST_F(SequenceTest, APartThatEnds_CountsTheStopsSinceTheWholeBegan) {
    StopDuring("GD");
    bool partRan = false;
    const bool ended = !Sequence::UntilStopped(mount, door, kEnding, [&](Sequence&) {
        {
            Sequence open(mount, door, kOpen);
            open.CommandString(wire::GetDec);
            open.CommandString(wire::GetRa);  // the stop gets in before it
        }
        Sequence::UntilStopped(mount, door, kEnding, [&](Sequence&) { partRan = true; });
    });
    EXPECT_TRUE(ended);
    EXPECT_FALSE(partRan);
    EXPECT_EQ(mount.sent, (Sent{"GD", "stop", "Q", "GR"}));
}

TEST_F(SequenceTest, AStopAtTheLastPartOfAProcedure_EndsItToo) {
    StopDuring("GD");
    const bool ended = !Sequence::UntilStopped(mount, door, kEnding, [&](Sequence&) {
        Sequence last(mount, door, kOpen);
        last.CommandString(wire::GetDec);
        last.CommandString(wire::GetRa);  // the stop gets in before it
    });
    EXPECT_TRUE(ended);
}

TEST_F(SequenceTest, APartOfAPartThatCompletes_IsSentWhole) {
    StopDuring("GD");
    Sequence::UntilStopped(mount, door, kEnding, [&](Sequence& sequence) {
        {
            Sequence part(mount, door, kClosed);
            part.CommandString(wire::GetDec);
            Sequence inner(mount, door, kOpen);
            inner.CommandString(wire::GetRa);
            part.CommandString(wire::GetAltitude);
        }
        sequence.CommandString(wire::GetAzimuth);
    });
    EXPECT_EQ(mount.sent, (Sent{"GD", "stop", "Q", "GR", "GA"}));
}

TEST_F(SequenceTest, AStopAtTheDoorItself_IsNoPartOfWhatItEnds) {
    StopDuring("GD");
    const bool ended = !Sequence::UntilStopped(mount, door, kEnding, [&](Sequence& sequence) {
        sequence.CommandString(wire::GetDec);
        door.LetStopIn();
        sequence.CommandString(wire::GetRa);
    });
    EXPECT_TRUE(ended);
    EXPECT_EQ(mount.sent, (Sent{"GD", "stop", "Q"}));
}

TEST_F(SequenceTest, AnErrorThatLeavesAProcedure_LeavesTheNextOneAlone) {
    EXPECT_THROW(
        Sequence::UntilStopped(mount, door, kEnding, [](Sequence&) { throw DriverError(ErrorNumber::SlewFailed); }),
        DriverError);
    StopDuring("GD");
    Sequence next(mount, door, kOpen);
    next.CommandString(wire::GetDec);
    next.CommandString(wire::GetRa);
    EXPECT_EQ(mount.sent, (Sent{"GD", "stop", "Q", "GR"}));
}

TEST_F(SequenceTest, WhatFollowsAProcedureThatWasEnded_IsItsOwn) {
    StopDuring("GD");
    Sequence::UntilStopped(mount, door, kEnding, [](Sequence& sequence) {
        sequence.CommandString(wire::GetDec);
        sequence.CommandString(wire::GetRa);
    });
    mount.during = [](const std::string&) {};
    mount.sent.clear();
    Sequence next(mount, door, kOpen);
    next.CommandString(wire::GetRa);
    EXPECT_TRUE(
        Sequence::UntilStopped(mount, door, kEnding, [](Sequence& sequence) { sequence.CommandString(wire::GetDec); }));
    EXPECT_EQ(mount.sent, (Sent{"GR", "GD"}));
}

// --- ends of guide pulses -------------------------------------------------------------------------------------------

class PulseEndDoor : public SequenceTest {
protected:
    /// A pulse whose end is due in so many milliseconds.
    void PulseEndsIn(std::int32_t milliseconds) {
        end_ = machine.pump.CreatePromptTimer([this] {
            end_->SetEnabled(false);
            door.ExpectPulseEnd(std::nullopt);
            mount.sent.push_back("end");
        });
        end_->SetInterval(milliseconds);
        end_->SetEnabled(true);
        door.ExpectPulseEnd(machine.clock.GetTickCount() + milliseconds);
    }
    void QuestionsTake(std::int32_t milliseconds) {
        mount.during = [this, milliseconds](const std::string& text) {
            if (text == "GR") {
                machine.clock.Sleep(milliseconds);
            }
        };
        for (int i = 0; i < 30; ++i) {
            Sequence(mount, door, procedure::Picture).CommandStringInternal(wire::GetRa);
        }
        mount.sent.clear();
    }
    std::int32_t Asked(const CompletingProcedure& procedure) {
        const Tick before = machine.clock.GetTickCount();
        mount.during = [this, before](const std::string& text) {
            if (text == "GR") {
                askedAfterMs_ = machine.clock.GetTickCount() - before;
            }
        };
        Sequence(mount, door, procedure).CommandStringInternal(wire::GetRa);
        return askedAfterMs_;
    }

private:
    std::unique_ptr<PumpTimer> end_;
    std::int32_t askedAfterMs_ = -1;
};

TEST_F(PulseEndDoor, AQuestionOfThePoll_WaitsForAnEndThatWouldWaitForIt) {
    QuestionsTake(100);
    PulseEndsIn(90);
    EXPECT_EQ(Asked(procedure::Picture), 90);
    EXPECT_EQ(mount.sent, (Sent{"end", "GR"}));
}

TEST_F(PulseEndDoor, AQuestionThatIsDoneBefore_DoesNotWait) {
    QuestionsTake(100);
    PulseEndsIn(120);
    EXPECT_EQ(Asked(procedure::Picture), 0);
}

TEST_F(PulseEndDoor, ASlowLine_KeepsAQuestionForThreeTenthsOfASecond) {
    QuestionsTake(2'000);
    PulseEndsIn(310);
    EXPECT_EQ(Asked(procedure::Picture), 0);
    PulseEndsIn(250);
    EXPECT_EQ(Asked(procedure::Picture), 250);
}

TEST_F(PulseEndDoor, OtherProcedures_DoNotWait) {
    QuestionsTake(100);
    PulseEndsIn(50);
    EXPECT_EQ(Asked(procedure::Question), 0);
    EXPECT_EQ(Asked(procedure::SetTime), 0);
}

TEST_F(SequenceTest, LetStopInNow_LeavesNoDoorBeforeTheNextExchange) {
    Sequence sequence(mount, door, kOpen);
    sequence.LetStopInNow();
    machine.pump.Post(CallKind::Stop, [this] { RunStop(); });
    sequence.CommandBlindLight(wire::MoveNorth, "250");
    EXPECT_EQ(mount.sent, (Sent{"Mn250"}));
    sequence.CommandBlindLight(wire::StopNorth);
    EXPECT_EQ(mount.sent, (Sent{"Mn250", "stop", "Q", "Qn"}));
}

}  // namespace
}  // namespace kestrane
