#include <vector>

#include "mount_fixture.h"

namespace kestrane {
namespace {

class StatusTest : public MountTest {};

TEST_F(StatusTest, Status_AtPowerOn) {
    EXPECT_EQ(Ask("GOS"), "P90000232O0000#");
}

TEST_F(StatusTest, Status_OfEachFamily_EndsWithItsRateType) {
    UseFirmware("VKC5-P03-01");
    EXPECT_EQ(Ask("GOS"), "P90000232O0003#");
    UseFirmware("EK5");
    EXPECT_EQ(Ask("GOS"), "P90000232O000#");
    UseFirmware("E3");
    EXPECT_EQ(Ask("GOS"), "P90000232O0#");
}

struct FieldCase {
    std::vector<std::string> commands;
    std::size_t position;  // from 1
    char value;
};

TEST_F(StatusTest, Fields_FollowTheCommands) {
    const std::vector<FieldCase> cases{
        {{"PO"}, 1, '0'},       {{"PO", "KA"}, 1, 'P'},  {{"PO", "RT0"}, 2, '0'}, {{"PO", "RT1"}, 2, '1'},
        {{"PO"}, 2, '2'},       {{"PO", "RT9"}, 2, '9'}, {{"PO", "RD1"}, 2, 'C'}, {{"PO", "RT9", "KA"}, 2, '9'},
        {{"RG0"}, 7, '0'},      {{"RG1"}, 7, '1'},       {{"RG2"}, 7, '2'},       {{"RG3"}, 7, '2'},
        {{"RC5"}, 8, '0'},      {{"RC6"}, 8, '1'},       {{"RC7"}, 8, '2'},       {{"RC0"}, 8, '3'},
        {{"RC2"}, 8, '-'},      {{"RG1"}, 8, '1'},       {{"RS0"}, 9, '0'},       {{"RS1"}, 9, '1'},
        {{"RS2"}, 9, '2'},      {{"Rs777"}, 9, '-'},     {{"pP"}, 10, 'P'},       {{"pR"}, 10, 'R'},
        {{"pP", "p"}, 10, 'O'}, {{"EW"}, 12, '1'},       {{"EW", "EW"}, 12, '0'}, {{"NS"}, 13, '1'},
    };
    for (const FieldCase& field : cases) {
        UseFirmware("VKC4-P02-08");
        std::string trace;
        for (const std::string& command : field.commands) {
            trace += command + ' ';
            Ask(command);
        }
        SCOPED_TRACE(trace);
        EXPECT_EQ(Ask("GOS").at(field.position - 1), field.value);
    }
}

TEST_F(StatusTest, Faults_AndAutoPark_AreShownOnRequest) {
    Ask("PO");
    for (const char fault : {'1', '2', '4', '3', 'X', 'Y', 'Z', 'N', 'z', '0'}) {
        Mount().SetFault(fault);
        EXPECT_EQ(Ask("GOS").at(10), fault);
    }
    Mount().SetAutoPark(true);
    EXPECT_EQ(Ask("GOS").at(0), '1');
    Ask("KA");
    EXPECT_EQ(Ask("GOS").at(0), 'P');
}

TEST_F(StatusTest, Format_TogglesTheRightAscensionAlone) {
    Ask("Sr12:34:20");
    Ask("Sd+10*00:00");
    Ask("CM");
    EXPECT_EQ(Ask("GD"), "+10*00:00.0#");
    Ask("U");
    EXPECT_FALSE(Mount().Picture().longFormat);
    EXPECT_EQ(Ask("GR").size(), 8U);
    EXPECT_EQ(Ask("GR").substr(0, 6), "12:34.");
    EXPECT_EQ(Ask("GD"), "+10*00:00.0#");
    AskRaw("#:U#");
    EXPECT_EQ(Ask("GR").substr(0, 7), "12:34:2");
}

TEST_F(StatusTest, Format_AtPowerOn_MayBeShort) {
    options.longFormat = false;
    EXPECT_EQ(Ask("GR"), "00:00.0#");
}

TEST_F(StatusTest, MountForm_IsAsBuilt) {
    options.mountForm = "3";
    EXPECT_EQ(AskRaw(":G\x05#"), "3#");
}

struct RateCase {
    std::string firmware;
    std::string command;
    std::string reply;  // to the query after it
};

TEST_F(StatusTest, Rates_AreThoseOfTheTypeTold) {
    const std::vector<RateCase> cases{
        {"VKC4-P02-08", "RC2", "200#"},  {"VKC4-P02-08", "RC3", "600#"}, {"VKC4-P02-08", "RC4", "1200#"},
        {"VKC4-P02-08", "RC5", "0.25#"}, {"VKC4-P02-08", "RS1", "900#"}, {"VKC5-P03-01", "RS1", "1000#"},
        {"VKC5-P03-01", "RS2", "1800#"}, {"EK5", "RC2", "600#"},         {"EK5", "RC3", "1200#"},
        {"EK5", "RS1", "900#"},          {"S", "Rs777.5", "777.5#"},     {"D", "RC1", "64#"},
    };
    for (const RateCase& rate : cases) {
        SCOPED_TRACE(rate.firmware + " " + rate.command);
        UseFirmware(rate.firmware);
        Ask(rate.command);
        EXPECT_EQ(Ask(rate.command.starts_with("RC") ? "Rc" : "Rs"), rate.reply);
    }
    UseFirmware("EK5");
    Ask("RC4");
    EXPECT_EQ(Mount().UnknownCommands().size(), 1U) << "the old table has four rows";
}

TEST_F(StatusTest, Reticle_StaysInItsRange) {
    for (int i = 0; i < 20; ++i) {
        Ask("B+");
    }
    EXPECT_EQ(Mount().Picture().reticle, 7);
    for (int i = 0; i < 20; ++i) {
        Ask("B-");
    }
    EXPECT_EQ(Mount().Picture().reticle, 0);
    UseFirmware("S");
    for (int i = 0; i < 20; ++i) {
        Ask("B+");
    }
    EXPECT_EQ(Mount().Picture().reticle, 10);
    Ask("B4");
    EXPECT_EQ(Mount().UnsupportedCommands().size(), 1U);
}

TEST_F(StatusTest, Hold_IsKept) {
    Ask("ho");
    EXPECT_TRUE(Mount().Picture().held);
    Ask("hq");
    EXPECT_FALSE(Mount().Picture().held);
}

}  // namespace
}  // namespace kestrane
