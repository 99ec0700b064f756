#include "client/arguments.h"

#include <gtest/gtest.h>

namespace kestrane::client {
namespace {

using Words = std::vector<std::string>;

TEST(Arguments, DefaultsReachTheTelescopeOfThisMachine) {
    const Arguments arguments = ParseArguments(Words{"status"});
    EXPECT_EQ(arguments.row->command, Command::Status);
    EXPECT_EQ(arguments.host, "127.0.0.1");
    EXPECT_EQ(arguments.port, 11111);
    EXPECT_EQ(arguments.discoveryPort, 32227);
    EXPECT_EQ(arguments.device, 0U);
    EXPECT_EQ(arguments.deviceType, "telescope");
    EXPECT_FALSE(arguments.timeout);
    EXPECT_FALSE(arguments.json);
}

TEST(Arguments, OptionsStandAnywhereWithBlankOrEqualsSign) {
    const Arguments arguments = ParseArguments(Words{"--host=box", "slew", "--port", "7843", "5.5", "--device", "2",
                                                     "10", "--wait", "--json", "--client-id", "4294967295",
                                                     "--timeout=2.5", "--type", "focuser", "--discovery-port", "1"});
    EXPECT_EQ(arguments.row->command, Command::Slew);
    EXPECT_EQ(arguments.operands, (Words{"5.5", "10"}));
    EXPECT_EQ(arguments.host, "box");
    EXPECT_TRUE(arguments.hostGiven);
    EXPECT_EQ(arguments.port, 7843);
    EXPECT_EQ(arguments.device, 2U);
    EXPECT_EQ(arguments.clientId, 4294967295U);
    EXPECT_EQ(arguments.timeout, 2.5);
    EXPECT_EQ(arguments.deviceType, "focuser");
    EXPECT_EQ(arguments.discoveryPort, 1);
    EXPECT_TRUE(arguments.wait);
    EXPECT_TRUE(arguments.json);
}

TEST(Arguments, NegativeNumbersAreOperands) {
    EXPECT_EQ(ParseArguments(Words{"slew", "5.5", "-16.7"}).operands, (Words{"5.5", "-16.7"}));
    EXPECT_EQ(ParseArguments(Words{"slew", "5.5", "-.5"}).operands, (Words{"5.5", "-.5"}));
    EXPECT_EQ(ParseArguments(Words{"status", "--latitude", "-33.5"}).latitude, -33.5);
}

TEST(Arguments, TwoDashesEndTheOptions) {
    EXPECT_EQ(ParseArguments(Words{"command", "--", "--json"}).operands, (Words{"--json"}));
}

TEST(Arguments, HelpNeedsNoCommand) {
    EXPECT_TRUE(ParseArguments(Words{"--help"}).help);
    EXPECT_TRUE(ParseArguments(Words{"-h"}).help);
    EXPECT_TRUE(ParseArguments(Words{"slew", "--help"}).help);
}

TEST(Arguments, UsageNamesEveryCommand) {
    const std::string usage = Usage();
    for (const CommandRow& row : Commands()) {
        EXPECT_NE(usage.find("  " + std::string(row.name) + " "), std::string::npos) << row.name;
    }
}

TEST(Arguments, WrongUsageIsToldInWords) {
    struct Case {
        Words words;
        std::string partOfMessage;
    };
    const std::vector<Case> cases{
        {{}, "a command is wanted"},
        {{"fly"}, "no command \"fly\""},
        {{"status", "--colour"}, "no option --colour"},
        {{"status", "--port"}, "--port wants a value"},
        {{"status", "--port", "0"}, "port number"},
        {{"status", "--port", "65536"}, "port number"},
        {{"status", "--port", "80x"}, "port number"},
        {{"status", "--device", "-1"}, "device number"},
        {{"status", "--client-id", "4294967296"}, "0 to 4294967295"},
        {{"status", "--timeout", "0"}, "seconds"},
        {{"status", "--timeout", "nan"}, "seconds"},
        {{"status", "--type", "dome"}, "telescope or focuser"},
        {{"status", "--host", ""}, "host name"},
        {{"status", "--latitude", "91"}, "latitude"},
        {{"status", "--json=1"}, "takes no value"},
        {{"status", "extra"}, "kestrane-client status"},
        {{"slew"}, "kestrane-client slew RA DEC"},
        {{"slew", "1", "2", "3"}, "kestrane-client slew RA DEC"},
        {{"slew", "--bright-star", "Vega"}, "kestrane-client slew RA DEC"},
        {{"stars", "--wait"}, "--wait goes only with slew, sync, track, guide, park, unpark, setpark, focus, init"},
        {{"init", "--type", "focuser"}, "init is for a telescope"},
        {{"get"}, "kestrane-client get MEMBER"},
        {{"command"}, "kestrane-client command TEXT"},
    };
    for (const Case& row : cases) {
        try {
            ParseArguments(row.words);
            ADD_FAILURE() << "accepted; " << row.partOfMessage;
        } catch (const UsageError& error) {
            EXPECT_NE(std::string(error.what()).find(row.partOfMessage), std::string::npos) << error.what();
        }
    }
}

}  // namespace
}  // namespace kestrane::client
