#include "kernel/base/counters.h"

#include <gtest/gtest.h>

#include "support/kept_log.h"

namespace kestrane {
namespace {

struct RefreshedView final : CounterView {
    void UpdateErrorCounts() override { ++refreshes; }
    int refreshes = 0;
};

struct ShownAlarm final : AlarmActions {
    void ShowLowPower() override { ++shown; }
    int shown = 0;
};

struct CountersTest : testing::Test {
    CountersTest() {
        counters.SetView(&view);
        filter.SetActions(&actions);
    }

    KeptLog kept;
    CounterState state;
    Counters counters{state, kept.log};
    RefreshedView view;
    ShownAlarm actions;
    AlarmFilter filter{counters};
};

struct CounterRow {
    void (Counters::*count)();
    std::int32_t CounterState::*value;
    const char* text;
    int level;
};

TEST_F(CountersTest, EachCounter_LogsItsNewValueAndRefreshesTheView) {
    const std::vector<CounterRow> rows{
        {&Counters::CountRetransmit, &CounterState::g_nRetransmits, "Retransmits: ", 1},
        {&Counters::CountReceiveCountedError, &CounterState::g_nReceiveCountedErrors, "RECEIVE COUNTED ERRORS: ", 2},
        {&Counters::CountReceiveTerminatedError, &CounterState::g_nReceiveTerminatedErrors,
         "RECEIVE TERMINATED ERRORS: ", 2},
        {&Counters::CountMotorStall, &CounterState::g_nMotorStalls, "MOTOR STALL DETECTEDS: ", 2},
        {&Counters::CountServoFault, &CounterState::g_nServoFaults, "SERVO FAULT DETECTEDS: ", 2},
        {&Counters::CountLowPower, &CounterState::g_nLowPower, "LOW POWER DETECTEDS: ", 2},
    };
    for (const CounterRow& row : rows) {
        kept.messages.clear();
        view.refreshes = 0;
        (counters.*row.count)();
        (counters.*row.count)();
        EXPECT_EQ(state.*row.value, 2) << row.text;
        EXPECT_EQ(kept.messages, (std::vector<LogLine>{{"Telescope", row.level, row.text + std::string("1")},
                                                       {"Telescope", row.level, row.text + std::string("2")}}));
        EXPECT_EQ(view.refreshes, 2) << row.text;
    }
    counters.Reset();
    for (const CounterRow& row : rows) {
        EXPECT_EQ(state.*row.value, 0) << row.text;
    }
}

TEST_F(CountersTest, ACounterAtItsLimit_StaysThere) {
    state.g_nRetransmits = 2147483646;
    counters.CountRetransmit();
    EXPECT_EQ(state.g_nRetransmits, 2147483647);
    counters.CountRetransmit();
    EXPECT_EQ(state.g_nRetransmits, 2147483647);
    EXPECT_EQ(kept.messages, (std::vector<LogLine>{{"Telescope", 1, "Retransmits: 2147483647"},
                                                   {"Telescope", 1, "Retransmits: 2147483647"}}));
    EXPECT_EQ(view.refreshes, 2);
}

TEST_F(CountersTest, WithoutAView_CountingGoesOn) {
    counters.SetView(nullptr);
    filter.SetActions(nullptr);
    std::string reply = "Y";
    filter.FilterAlarms(reply);
    EXPECT_EQ(state.g_nLowPower, 1);
}

struct FilterRow {
    const char* reply;
    const char* filtered;
    int servoFaults, lowPower, motorStalls;
};

TEST_F(CountersTest, FilterAlarms_TakesEachLetterOutOnce) {
    const std::vector<FilterRow> rows{
        {"", "", 0, 0, 0},        {"12:34:56.7#", "12:34:56.7#", 0, 0, 0},
        {"X#", "#", 1, 0, 0},     {"1X2:34#", "12:34#", 1, 0, 0},
        {"12#X", "12#", 1, 0, 0}, {"XX#", "X#", 1, 0, 0},
        {"Y", "", 0, 1, 0},       {"Z#", "#", 0, 0, 1},
        {"ZYX", "", 1, 1, 1},     {"aXbYcZd", "abcd", 1, 1, 1},
        {"xyz", "xyz", 0, 0, 0},
    };
    for (const FilterRow& row : rows) {
        counters.Reset();
        actions.shown = 0;
        std::string reply = row.reply;
        EXPECT_EQ(filter.FilterAlarms(reply), row.filtered) << row.reply;
        EXPECT_EQ(reply, row.filtered) << row.reply;
        EXPECT_EQ(state.g_nServoFaults, row.servoFaults) << row.reply;
        EXPECT_EQ(state.g_nLowPower, row.lowPower) << row.reply;
        EXPECT_EQ(state.g_nMotorStalls, row.motorStalls) << row.reply;
        EXPECT_EQ(actions.shown, row.lowPower) << row.reply;
    }
}

TEST_F(CountersTest, FilterAlarms_CountsFaultThenPowerThenStall_WhateverTheOrderInTheReply) {
    for (const char* text : {"XYZ", "ZYX", "YZX"}) {
        counters.Reset();
        kept.messages.clear();
        std::string reply = text;
        filter.FilterAlarms(reply);
        EXPECT_EQ(kept.messages, (std::vector<LogLine>{{"Telescope", 2, "SERVO FAULT DETECTEDS: 1"},
                                                       {"Telescope", 2, "LOW POWER DETECTEDS: 1"},
                                                       {"Telescope", 2, "MOTOR STALL DETECTEDS: 1"}}))
            << text;
    }
}

TEST(RemoveCharTest, EachPosition_GivesTheTextWithoutIt) {
    struct Row {
        const char* text;
        std::size_t position;
        const char* result;
    };
    const std::vector<Row> rows{
        {"abc", 1, "bc"}, {"abc", 2, "ac"}, {"abc", 3, "ab"}, {"abc", 0, ""}, {"abc", 4, ""}, {"a", 1, ""}, {"", 1, ""},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(RemoveChar(row.text, row.position), row.result) << row.text << " at " << row.position;
    }
}

}  // namespace
}  // namespace kestrane
