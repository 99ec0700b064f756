#include <gtest/gtest.h>
#include <string>
#include <string_view>

#include "driver/picture/query_transcript_fixture.h"

namespace kestrane {
namespace {

/// A wrong reply on the wire, what follows it there, and the same query in step again. Where the exchange has slipped,
/// a retransmit is counted, the line drained, and the next exchange begins with a clear.
struct FailureOnTheWire {
    std::string_view name;
    std::string_view script;
};

class QueryFailureTranscriptTest : public QueryTranscriptTest, public testing::WithParamInterface<FailureOnTheWire> {};

TEST_P(QueryFailureTranscriptTest, WrongReply_IsMendedWhereItShowsASlip) {
    Play(GetParam().script);
    EXPECT_FALSE(driver->state.g_bResync);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Rows, QueryFailureTranscriptTest, testing::Values(
    FailureOnTheWire{"RaSlipped", R"(
        0    = Ra -> False
        0    > :GR#
        10   < +45*30:15#
        510  ~
        *    L ClearReceiveBuffer Info Cleared 0 Bytes
        *    L RA Query Error RA Query possibly out of sequence... trying to recover...
        *    L Telescope Warning Retransmits: 1
        2000 = Ra -> True
        2000 > #
        2021 > :GR#
        2030 < 12:34:56.7#
    )"},
    FailureOnTheWire{"RaShort", R"(
        0    = Ra -> True
        0    > :GR#
        10   < 12:34.5#
        10   L RA Query Error Detected corrupted or short format response... sending long format command...
        10   > :U#
        2000 = Ra -> True
        2000 > :GR#
        2010 < 12:34:56.7#
    )"},
    FailureOnTheWire{"RaOutOfRange", R"(
        0    = Ra -> False
        0    > :GR#
        10   < 24:00:00.0#
        10   L RA Query Error RA value out of range - command possibly out of sequence...
        10   L Telescope Warning Retransmits: 1
        510  ~
        510  L ClearReceiveBuffer Info Cleared 0 Bytes
        2000 = Ra -> True
        2000 > #
        2021 > :GR#
        2030 < 12:34:56.7#
    )"},
    FailureOnTheWire{"DecFormat", R"(
        0    = Dec -> False
        0    > :GD#
        10   < 12:34:56.7#
        10   L Dec Query Error Ignoring Invalid format response...
        2000 = Dec -> True
        2000 > :GD#
        2010 < +05*00:00#
    )"},
    FailureOnTheWire{"DecOutOfRange", R"(
        0    = Dec -> False
        0    > :GD#
        10   < -90*00:01#
        10   L Dec Query Error Declination out of range - command possibly out of sequence...
        10   L Telescope Warning Retransmits: 1
        510  ~
        510  L ClearReceiveBuffer Info Cleared 0 Bytes
        2000 = Dec -> True
        2000 > #
        2021 > :GD#
        2030 < +05*00:00#
    )"},
    FailureOnTheWire{"AltFormat", R"(
        0    = Alt -> False
        0    > :GA#
        10   < 123*30:00#
        10   L Alt Query Error Ignoring Invalid format response...
        2000 = Alt -> True
        2000 > :GA#
        2010 < +05*00:00#
    )"},
    FailureOnTheWire{"AzFormat", R"(
        0    = Az -> False
        0    > :GZ#
        10   < 360*00:00#
        10   L Az Query Error Ignoring Invalid format response...
        2000 = Az -> True
        2000 > :GZ#
        2010 < 005*00:00#
    )"},
    FailureOnTheWire{"LstFormat", R"(
        0    = Lst -> False
        0    > :GS#
        10   < West#
        10   L LST Query Error Ignoring Invalid format response...
        10   L Telescope Warning Retransmits: 1
        510  ~
        510  L ClearReceiveBuffer Info Cleared 0 Bytes
        2000 = Lst -> True
        2000 > #
        2021 > :GS#
        2030 < 11:00:00#
    )"},
    FailureOnTheWire{"LstOutOfRange", R"(
        0    = Lst -> False
        0    > :GS#
        10   < 24:00:00#
        10   L LST Query Error Ignoring Invalid format response...
        10   L Telescope Warning Retransmits: 1
        510  ~
        2000 = Lst -> True
        2000 > #
        2021 > :GS#
        2030 < 11:00:00#
    )"},
    FailureOnTheWire{"TimeFormat", R"(
        0    = Time -> False
        0    > :GL#
        10   < +45*30:15#
        10   L Time Query Error Ignoring Invalid format response...
        2000 = Time -> True
        2000 > :GL#
        2010 < 20:00:02#
    )"},
    FailureOnTheWire{"TimeZoneFormat", R"(
        0    = Zone -> False
        0    > :GG#
        10   < 05:00:00#
        10   L Time Zone Query Error Ignoring Invalid format response...
        2000 = Zone -> True
        2000 > :GG#
        2010 < -01:00:00.0#
    )"},
    FailureOnTheWire{"TimeZoneOutOfRange", R"(
        0    = Zone -> False
        0    > :GG#
        10   < 23:59:59.9999999999999#
        10   L Time Zone Query Error Time Zone out of range: 24
        10   L Telescope Warning Retransmits: 1
        510  ~
        510  L ClearReceiveBuffer Info Cleared 0 Bytes
        2000 = Zone -> True
        2000 > #
        2021 > :GG#
        2030 < -01:00:00.0#
    )"}), [](const auto& row) { return std::string(row.param.name); });
// clang-format on

TEST_F(QueryTranscriptTest, TimeIsAskedBehindTheMeridianDelay_OfFirmwareThatKnowsIt) {
    driver->state.g_bHasMeridianQuery = true;
    Play(R"(
        0   = Time -> True
        0   > :GM#
        10  < 00:30:00.0#
        10  > :GM#
        20  < 00:30:00.0#
        20  > :GL#
        30  < 20:00:00#
        500 = Zone -> True
        500 > :GG#
        510 < -01:00:00.0#
    )");
    EXPECT_EQ(driver->state.g_dMeridianDelay, 0.5);
    EXPECT_EQ(driver->handBox.lblTime.Text(), "20:00:00");
    EXPECT_EQ(driver->handBox.lblTZ.Text(), "01:00:00.0");
    EXPECT_EQ(driver->statusWindow.lblMountTime.Text(), "20:00:00");
    EXPECT_EQ(driver->statusWindow.lblTimeZone.Text(), "01:00:00.0");
}

TEST_F(QueryTranscriptTest, SilentTimeQueries_AreCountedWithTheOthers) {
    ExpectSwallow("CommandString");
    Play(R"(
        0    = Time -> False
        0    > :GL#
        500  ~
        500  > #
        *    L Time Query Error No response querying Time - 1
        1000 = Zone -> False
        1000 > :GG#
        1500 ~
        1500 > #
        *    L TimeZone Query Error No response querying TimeZone - 2
        2000 = Dec -> False
        2000 > :GD#
        2500 ~
        2500 > #
        *    L Dec Query Error No response querying Dec - 3
        *    ~
    )");
    EXPECT_TRUE(driver->state.g_bLostComms);
}

}  // namespace
}  // namespace kestrane
