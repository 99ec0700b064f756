#include "kernel/base/errors.h"

#include <gtest/gtest.h>

namespace kestrane {
namespace {

struct MessageRow {
    std::uint32_t number;
    const char* message;
};

TEST(ErrorsTest, MessageOf_EachNumber_HasItsWords) {
    const std::vector<MessageRow> rows{
        {0x80040400, ""},
        {0x80040402, "No mount on IP Address or COM port, or initialization failed."},
        {0x80040403, ""},
        {0x80040404, "The scope is not connected"},
        {0x80040405, "The property value is out of range"},
        {0x80040407, "The sync operation failed because target coordinates are incomplete."},
        {0x80040409, "Illegal operation while parked"},
        {0x8004040b, "Invalid operation"},
        {0x8004040c, ""},
        {0x80040411, "Wrong tracking state"},
        {0x80040412, "The selected coordinates are below the horizon."},
        {0x80040413, "The selected coordinates are below the current minimum elevation setting."},
        {0x80040414, "The slew failed for some unknown reason."},
        {0x80040418, ""},
        {0x80040419, ""},
        {0x80040420, ""},
        {0x80040424, "Can't Load Astro32.DLL. I need this."},
        {0x80040429, "Lost communications with mount."},
        {0x80040430, "The slew operation failed because target coordinates are incomplete."},
        {0x80040499, ""},
    };
    for (const MessageRow& row : rows) {
        EXPECT_EQ(MessageOf(static_cast<ErrorNumber>(row.number)), row.message) << std::hex << row.number;
    }
}

TEST(ErrorsTest, DriverError_HasNumberSourceAndMessage) {
    const DriverError usual(ErrorNumber::NotConnected);
    EXPECT_EQ(usual.Number(), 0x80040404U);
    EXPECT_EQ(usual.Source(), "ASCOM V2 Kestrane VTR Driver");
    EXPECT_EQ(usual.Message(), "The scope is not connected");
    const DriverError worded(ErrorNumber::MountRejectedTarget, "KS mount rejected set TargetAzimuth = 1");
    EXPECT_EQ(worded.Number(), 0x80040418U);
    EXPECT_EQ(worded.Message(), "KS mount rejected set TargetAzimuth = 1");
    EXPECT_EQ(DriverError(7, "elsewhere", "words").Source(), "elsewhere");
    EXPECT_EQ(RunTimeError(RunTimeError::kTypeMismatch, "Type mismatch").Number(), 13U);
}

TEST(ErrorsTest, EveryError_HasTheOneSource) {
    for (const ErrorNumber number :
         {ErrorNumber::NotImplemented, ErrorNumber::NoMount, ErrorNumber::ValueNotSet, ErrorNumber::NotConnected,
          ErrorNumber::OutOfRange, ErrorNumber::SyncTargetIncomplete, ErrorNumber::IllegalWhileParked,
          ErrorNumber::InvalidOperation, ErrorNumber::ActionNotImplemented, ErrorNumber::WrongTracking,
          ErrorNumber::BelowHorizon, ErrorNumber::BelowMinimumElevation, ErrorNumber::SlewFailed,
          ErrorNumber::MountRejectedTarget, ErrorNumber::MountRejectedLatitude, ErrorNumber::MountRejectedLongitude,
          ErrorNumber::AstronomyMissing, ErrorNumber::LostCommunications, ErrorNumber::TargetIncomplete}) {
        EXPECT_EQ(DriverError(number).Source(), "ASCOM V2 Kestrane VTR Driver");
        EXPECT_EQ(DriverError(number, "words").Source(), "ASCOM V2 Kestrane VTR Driver");
        EXPECT_EQ(DriverError(number).Message(), MessageOf(number));
    }
    const RunTimeError runTime(RunTimeError::kTypeMismatch, "Type mismatch");
    EXPECT_EQ(runTime.Source(), "ASCOM V2 Kestrane VTR Driver");
    EXPECT_EQ(runTime.Message(), "Type mismatch");
}

TEST(ErrorsTest, EachNumberOfARefusedValue_IsItsOwn) {
    EXPECT_EQ(DriverError(ErrorNumber::MountRejectedTarget, "").Number(), 0x80040418U);
    EXPECT_EQ(DriverError(ErrorNumber::MountRejectedLatitude, "").Number(), 0x80040419U);
    EXPECT_EQ(DriverError(ErrorNumber::MountRejectedLongitude, "").Number(), 0x80040420U);
}

TEST(ErrorsTest, ResumeNext_AfterAFailingStatement_RunsTheNextOne) {
    SwallowLedger ledger;
    ResumeNext errors{ledger, "Procedure"};
    int ran = 0;
    EXPECT_TRUE(errors.Step([&] { ++ran; }));
    EXPECT_FALSE(errors.Failed());
    EXPECT_FALSE(errors.Step([&] { throw DriverError(ErrorNumber::SlewFailed); }));
    EXPECT_TRUE(errors.Step([&] { ++ran; }));
    EXPECT_TRUE(errors.Failed());
    EXPECT_EQ(ran, 2);
    ASSERT_EQ(ledger.Entries().size(), 1U);
    EXPECT_EQ(ledger.Entries()[0].procedure, "Procedure");
    EXPECT_GT(ledger.Entries()[0].line, 0U);
    EXPECT_EQ(ledger.Entries()[0].number, 0x80040414U);
    EXPECT_EQ(ledger.Entries()[0].message, "The slew failed for some unknown reason.");
}

TEST(ErrorsTest, ResumeNext_AfterAFailingAssignment_LeavesTheVariable) {
    SwallowLedger ledger;
    ResumeNext errors{ledger, "Procedure"};
    int value = 5;
    EXPECT_FALSE(errors.Assign(value, []() -> int { throw RunTimeError(RunTimeError::kTypeMismatch, "x"); }));
    EXPECT_EQ(value, 5);
    EXPECT_TRUE(errors.Assign(value, [] { return 6; }));
    EXPECT_EQ(value, 6);
}

TEST(ErrorsTest, ResumeNext_LetsABugThrough) {
    SwallowLedger ledger;
    ResumeNext errors{ledger, "Procedure"};
    EXPECT_THROW(errors.Step([] { throw std::logic_error("a bug"); }), std::logic_error);
    EXPECT_TRUE(ledger.Entries().empty());
}

TEST(ErrorsTest, SwallowLedger_WhenFull_KeepsTheNewest) {
    SwallowLedger ledger;
    for (std::uint32_t i = 0; i < SwallowLedger::kCapacity + 3; ++i) {
        ledger.Note({"p", i, 0, ""});
    }
    ASSERT_EQ(ledger.Entries().size(), SwallowLedger::kCapacity);
    EXPECT_EQ(ledger.Entries().front().line, 3U);
    EXPECT_EQ(ledger.Entries().back().line, SwallowLedger::kCapacity + 2);
    ledger.Clear();
    EXPECT_TRUE(ledger.Entries().empty());
}

}  // namespace
}  // namespace kestrane
