#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "catalogue/wire_commands.h"
#include "mount_fixture.h"

namespace kestrane {
namespace {

// An argument that fits, for each command of the catalogue that takes one.
const std::map<std::string_view, std::string> kArguments{
    {"Sr", "12:34:56.7"},
    {"Sd", "+45*30:15"},
    {"Sa", "+45*30:15"},
    {"Sz", "123*30:15"},
    {"St", "+45*30:15"},
    {":St", "+45*30:15#"},
    {"Sg", "-010*30:00"},
    {":Sg", "-010*30:00#"},
    {"SL", "12:34:56"},
    {"SC", "03/20/24"},
    {"SG", "-01:00:00.0"},
    {"SM", "0:00:00.0"},
    {"Bd0*00:", "05.0"},
    {"Br0*00:", "05.0"},
    {"Mn", "250"},
    {"Ms", "250"},
    {"Me", "250"},
    {"Mw", "250"},
    {"$K", "2#"},
    {"RS", "1"},
    {"Rs", "600"},
    {"RC", "3"},
    {"RG", "1"},
    {"RT", "2"},
    {":RT", "2#"},
    {"RR", "-0.12345"},
    {"RD", "0.0000"},
    {"B", "4"},
    {"ZZ00,", "1"},
    {"ZZ01", ",1"},
    {"ZZ02", ",1"},
    {"*SLEW,", "5.5,45"},
    {"*SLEWALTAZ,", "180,45"},
    {"*PARK,", "3"},
    {"*PARKALTAZ,", "45,180"},
    {"*DISABLESAFESLEW,", "1"},
    {"*TIMESYNC,", "1"},
};

// A companion answers these; a mount alone stays silent.
bool IsCompanions(const WireCommand& command) {
    return command.text == "QUAY" || command.text.starts_with("ZZ") || command.text.starts_with('*');
}

std::string OnTheWire(const WireCommand& command) {
    std::string text(command.text);
    if (!command.argument.empty()) {
        text += kArguments.at(command.text);
    }
    return command.Raw() ? text : ':' + text + '#';
}

class CatalogueTest : public MountTest {};

TEST_F(CatalogueTest, EveryCommand_OnTheLatestFirmware_IsAnsweredInItsForm) {
    options.firmware = "VKC5-P03-01";
    for (const WireCommand& command : wire::kAll) {
        const std::string wire = OnTheWire(command);
        SCOPED_TRACE(wire);
        const std::string reply = AskRaw(wire);
        if (IsCompanions(command) || command.reply == ReplyForm::None) {
            EXPECT_EQ(reply, "");
        } else if (command.reply == ReplyForm::Character) {
            EXPECT_EQ(reply.size(), 1U);
        } else {
            ASSERT_GE(reply.size(), 2U);
            EXPECT_EQ(reply.back(), '#');
        }
    }
    EXPECT_EQ(Mount().UnknownCommands(), std::vector<std::string>{});
    EXPECT_EQ(
        Mount().UnsupportedCommands(),
        (std::vector<std::string>{"QUAY", "ZZ00,1", "ZZ01,1", "ZZ02,1", "*SLEW,5.5,45", "*SLEWALTAZ,180,45", "*PARK,3",
                                  "*PARKALTAZ,45,180", "*DISABLESAFESLEW,1", "*DOESREFRACTION", "*TIMESYNC,1"}));
}

TEST_F(CatalogueTest, EveryCommand_FedByteByByte_IsAnsweredTheSame) {
    for (const WireCommand& command : wire::kAll) {
        SCOPED_TRACE(command.text);
        VirtualClock firstClock = EveningClock();
        VirtualClock secondClock = EveningClock();
        MountSimulator whole(firstClock, options);
        MountSimulator pieces(secondClock, options);
        whole.Write(OnTheWire(command));
        for (const char byte : OnTheWire(command)) {
            pieces.Write({&byte, 1});
        }
        firstClock.Sleep(200);
        secondClock.Sleep(200);
        EXPECT_EQ(whole.Read(1000), pieces.Read(1000));
        EXPECT_EQ(whole.Commands(), pieces.Commands());
    }
}

TEST_F(CatalogueTest, SetDate_AnswersTwoTexts) {
    EXPECT_EQ(Ask("SC03/21/24"), "1Updating planetary data#                        #");
    EXPECT_EQ(Ask("SC13/21/24"), "0#");
}

struct FamilyCase {
    std::string firmware;
    std::size_t statusLength;
    bool modern;   // GM, SM, RR, RD
    bool precise;  // a decimal more
    bool levels;   // B0 to B7
    bool pierSide;
    std::string revision;
    std::string longPulse;  // refused as unknown when beyond the family
};

void PrintTo(const FamilyCase& family, std::ostream* out) {
    *out << family.firmware;
}

class FamilyTest : public MountTest, public testing::WithParamInterface<FamilyCase> {
protected:
    FamilyTest() { options.firmware = GetParam().firmware; }
};

TEST_P(FamilyTest, Commands_AreAnsweredOrMetWithSilence) {
    const FamilyCase& family = GetParam();
    EXPECT_EQ(AskRaw("#:V#"), family.firmware + '#');
    EXPECT_EQ(Ask("GOS").size(), family.statusLength == 0 ? 0 : family.statusLength + 1);
    EXPECT_EQ(Ask("GM"), family.modern ? "00:00:00.0#" : "");
    EXPECT_EQ(Ask("SM0:30:00"), family.modern ? "1" : "");
    EXPECT_EQ(Ask("RR0.10000"), family.modern ? "1" : "");
    EXPECT_EQ(Ask("RD0.0000"), family.modern ? "1" : "");
    EXPECT_EQ(Ask("pS"), family.pierSide ? "East#" : "");
    EXPECT_EQ(Ask("G_S"), family.revision);
    EXPECT_EQ(Ask("GR"), family.precise ? "00:00:00.00#" : "00:00:00.0#");
    EXPECT_EQ(Ask("GD"), family.precise ? "+90*00:00.0#" : "+90*00:00#");
    EXPECT_EQ(Ask("GA"), family.precise ? "+47*00:00.0#" : "+47*00:00#");
    EXPECT_EQ(Ask("GZ"), family.precise ? "000*00:00.0#" : "000*00:00#");
    EXPECT_EQ(Ask("Gt"), family.precise ? "+47*00:00.0#" : "+47*00:00#");
    EXPECT_EQ(Ask("Gg"), family.precise ? "350*00:00.0#" : "350*00:00#");
    EXPECT_EQ(Ask("B4"), "");
    EXPECT_EQ(Mount().Picture().reticle, family.levels ? 4 : 5);
    EXPECT_TRUE(Mount().UnknownCommands().empty());
    Ask("Mn1000");
    EXPECT_EQ(Mount().UnknownCommands().size(), family.longPulse.empty() ? 0U : 1U);
}

INSTANTIATE_TEST_SUITE_P(Families, FamilyTest,
                         testing::Values(FamilyCase{"C", 0, false, false, false, false, "", "refused"},
                                         FamilyCase{"D", 0, false, false, false, true, "", "refused"},
                                         FamilyCase{"E2", 0, false, false, false, true, "", "refused"},
                                         FamilyCase{"E3", 11, false, false, false, true, "", "refused"},
                                         FamilyCase{"EK5", 13, false, false, false, true, "", "refused"},
                                         FamilyCase{"S", 14, true, false, false, true, "", "refused"},
                                         FamilyCase{"U", 14, true, false, true, true, "", "refused"},
                                         FamilyCase{"VKC4-P01-03", 14, true, false, true, true, "160#", ""},
                                         FamilyCase{"VKC4-P02-08", 14, true, true, true, true, "208#", ""},
                                         FamilyCase{"VKC5-P03-01", 14, true, true, true, true, "301#", ""}));

TEST_F(CatalogueTest, FirmwareD_OnceInitialised_SendsAStrayDigitInTheDeclination) {
    UseFirmware("D");
    EXPECT_EQ(Ask("GD"), "+90*00:00#");
    GotoHourAngle(1, "+45*30:15");
    const std::string reply = Ask("GD");
    ASSERT_EQ(reply.size(), 11U);
    EXPECT_EQ(reply.substr(0, 2), "+8");
    EXPECT_EQ(reply.substr(2), "45*30:15#");
}

TEST_F(CatalogueTest, UnknownCommands_AreKeptAndNotAnswered) {
    for (const std::string command : {"X", "GRR", "", "Sm12:00:00", "RT7", "RC9", "Rs1200", "Rs0", "Mnx", "gr", "V1"}) {
        SCOPED_TRACE(command);
        EXPECT_EQ(Ask(command), "");
        ASSERT_FALSE(Mount().UnknownCommands().empty());
        EXPECT_EQ(Mount().UnknownCommands().back(), command);
    }
    EXPECT_EQ(Mount().UnknownCommands().size(), 11U);
}

struct RefusedCase {
    std::string command;
    std::string reply;
};

TEST_F(CatalogueTest, Settings_AreCheckedForFormAndRange) {
    const std::vector<RefusedCase> cases{
        {"Sr24:00:00", "0"},
        {"Sr23:59:59.9", "1"},
        {"Sr12:60:00", "0"},
        {"Sr1:00:00", "0"},
        {"Sr12:34.5", "1"},
        {"Sr-1:00:00", "0"},
        {"Sd45*30:15", "0"},
        {"Sd+90*00:01", "0"},
        {"Sd-90*00:00", "1"},
        {"Sd+45:30:15", "0"},
        {"Sd+45*30:60", "0"},
        {"Sd+045*30:15", "0"},
        {"Sa+10*00:00.5", "1"},
        {"Sz360*00:00", "1"},
        {"Sz361*00:00", "0"},
        {"Sz10*00:00", "0"},
        {"Sz-10*00:00", "0"},
        {"Sg-010*30:00", "1"},
        {"Sg-181*00:00", "0"},
        {"Sg359*59:59", "1"},
        {"St+47*00:00", "1"},
        {"St+47*00:00.", "0"},
        {"SL24:00:00", "0"},
        {"SL12:34:56", "1"},
        {"SG05:00:00.0", "1"},
        {"SG-05:30:00.0", "1"},
        {"SG+05:00:00.0", "0"},
        {"SM-0:30:00", "1"},
        {"SMx", "0"},
        {"Bd0*00:59.9", "1"},
        {"Bd0*00:60.0", "0"},
        {"Br0*00:00.0", "1"},
        {"RR1200.00010", "0"},
        {"RR-1200.00000", "1"},
        {"RR", ""},
        {"RDa", "0"},
        {"SC02/30/24", "0#"},
        {"SC2/3/24", "0#"},
    };
    for (const RefusedCase& refused : cases) {
        SCOPED_TRACE(refused.command);
        EXPECT_EQ(Ask(refused.command), refused.reply);
    }
}

TEST_F(CatalogueTest, Parser_DropsWhatStandsOutsideCommands) {
    EXPECT_EQ(AskRaw("\x01garbage:V#"), "VKC4-P02-08#");
    EXPECT_EQ(Mount().GarbageBytes(), 8U);
    EXPECT_EQ(Mount().Commands(), std::vector<std::string>{"V"});
}

TEST_F(CatalogueTest, Parser_EndsAPartialInputWithTheMark) {
    EXPECT_EQ(AskRaw(":Sr12"), "");
    EXPECT_EQ(AskRaw("#:V#"), "0VKC4-P02-08#");
    EXPECT_EQ(Mount().Commands(), (std::vector<std::string>{"Sr12", "V"}));
    EXPECT_EQ(AskRaw("##"), "");
    EXPECT_EQ(Mount().Commands().size(), 4U);
    EXPECT_EQ(Mount().Commands().back(), "#");
}

TEST_F(CatalogueTest, Parser_DropsACommandWithoutEnd) {
    AskRaw(':' + std::string(1000, 'G'));
    EXPECT_EQ(Ask("V"), "VKC4-P02-08#");
    EXPECT_EQ(Mount().UnknownCommands().size(), 0U);
}

TEST_F(CatalogueTest, Parser_LivesThroughGarbage) {
    std::uint32_t state = 12345;
    for (int i = 0; i < 20000; ++i) {
        state = state * 1664525U + 1013904223U;
        const char byte = state % 7 == 0 ? ':' : state % 5 == 0 ? '#' : static_cast<char>(state >> 24);
        Mount().Write({&byte, 1});
    }
    Listen(60'000);
    EXPECT_EQ(AskRaw("#:V#").substr(AskRaw("#:V#").size() - 12), "VKC4-P02-08#");
}

}  // namespace
}  // namespace kestrane
