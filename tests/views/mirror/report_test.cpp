#include "views/mirror/report.h"

#include <gtest/gtest.h>
#include <ostream>
#include <string>

namespace kestrane::mirror {
namespace {

TEST(ParseReport, TakesEachDeedWithWhatItNeeds) {
    struct Row {
        const char* text;
        Deed deed;
    };
    for (const Row& row : {
             Row{R"({"do":"click","form":"f","control":"c"})", Deed::Click},
             Row{R"({"do":"dblclick","form":"f","control":"c"})", Deed::DblClick},
             Row{R"({"do":"change","form":"f","control":"c","value":""})", Deed::Change},
             Row{R"({"do":"hold","form":"f","control":"c","hold":1})", Deed::Hold},
             Row{R"({"do":"beat"})", Deed::Beat},
             Row{R"({"do":"release","hold":1})", Deed::Release},
             Row{R"({"do":"stop"})", Deed::Stop},
             Row{R"({"do":"close","form":"f"})", Deed::Close},
             Row{R"({"do":"icon","message":"left"})", Deed::Icon},
             Row{R"({"do":"lines","stream":"s"})", Deed::Lines},
             Row{R"({"do":"snapshot"})", Deed::Snapshot},
             Row{R"({"do":"keep"})", Deed::Keep},
             Row{R"({"do":"place","form":"f","at":[0,0,1,1]})", Deed::Place},
             Row{R"({"do":"tray","at":[0,0,1,1],"screen":[0,0,1,1]})", Deed::Tray},
         }) {
        const std::optional<Report> report = ParseReport(row.text);
        ASSERT_TRUE(report) << row.text;
        EXPECT_EQ(static_cast<int>(report->deed), static_cast<int>(row.deed)) << row.text;
    }
}

TEST(ParseReport, ReadsAllMembers) {
    const std::optional<Report> report = ParseReport(
        R"x({"do":"hold","form":"frmHandBox","control":"btnMove(1)","stream":"s","message":"m","value":-7,)x"
        R"("beat":12,"hold":9007199254740991,"from":4,"id":5,"unknown":[{"a":null}]})");
    ASSERT_TRUE(report);
    EXPECT_EQ(report->form, "frmHandBox");
    EXPECT_EQ(report->control, "btnMove(1)");
    EXPECT_EQ(report->stream, "s");
    EXPECT_EQ(report->message, "m");
    EXPECT_EQ(std::get<std::int32_t>(report->value), -7);
    EXPECT_EQ(report->beat, 12U);
    EXPECT_EQ(report->hold, 9007199254740991U);
    EXPECT_EQ(report->from, 4U);
    EXPECT_EQ(report->id, 5U);
}

TEST(ParseReport, ReadsAreasOfAScreen) {
    const std::optional<Report> report =
        ParseReport(R"({"do":"tray","at":[-1920,1040,0,1080],"screen":[-1920,-100000,1920,100000]})");
    ASSERT_TRUE(report);
    EXPECT_EQ(report->at, (ScreenArea{-1920, 1040, 0, 1080}));
    EXPECT_EQ(report->screen, (ScreenArea{-1920, -100000, 1920, 100000}));
}

TEST(ParseReport, RefusesWhatIsNoAreaOfAScreen) {
    for (const char* area : {"null", "7", "[]", "[0,0,1]", "[0,0,1,1,1]", "[0,0,1,\"1\"]", "[0,0,1,1.5]", "[0,0,0,1]",
                             "[0,1,1,1]", "[1,0,0,1]", "[0,0,1,100001]", "[-100001,0,1,1]", "[0,0,9e99,1]"}) {
        EXPECT_FALSE(ParseReport(std::string(R"({"do":"place","form":"f","at":)") + area + "}")) << area;
    }
    EXPECT_FALSE(ParseReport(R"({"do":"place","at":[0,0,1,1]})"));
    EXPECT_FALSE(ParseReport(R"({"do":"place","form":"f"})"));
    EXPECT_FALSE(ParseReport(R"({"do":"tray","at":[0,0,1,1]})"));
    EXPECT_FALSE(ParseReport(R"({"do":"tray","screen":[0,0,1,1]})"));
}

TEST(ParseReport, ReadsEachKindOfValue) {
    const auto valueOf = [](const std::string& json) {
        return ParseReport(R"({"do":"change","form":"f","control":"c","value":)" + json + "}").value().value;
    };
    EXPECT_EQ(std::get<bool>(valueOf("true")), true);
    EXPECT_EQ(std::get<bool>(valueOf("false")), false);
    EXPECT_EQ(std::get<std::string>(valueOf(R"("a\"bä")")), "a\"bä");
    EXPECT_EQ(std::get<std::int32_t>(valueOf("2147483647")), 2147483647);
}

TEST(ParseReport, RefusesAllElse) {
    for (const char* text : {
             "",
             "{",
             "[]",
             "7",
             "null",
             R"("stop")",
             R"({})",
             R"({"do":7})",
             R"({"do":"STOP"})",
             R"({"do":"jump"})",
             R"({"do":"click","form":"f"})",
             R"({"do":"click","control":"c"})",
             R"({"do":"click","form":"","control":"c"})",
             R"({"do":"click","form":1,"control":"c"})",
             R"({"do":"change","form":"f","control":"c"})",
             R"({"do":"change","form":"f","control":"c","value":null})",
             R"({"do":"change","form":"f","control":"c","value":1.5})",
             R"({"do":"change","form":"f","control":"c","value":2147483648})",
             R"({"do":"change","form":"f","control":"c","value":[]})",
             R"({"do":"hold","form":"f","control":"c"})",
             R"({"do":"hold","form":"f","control":"c","hold":0})",
             R"({"do":"hold","form":"f","control":"c","hold":-1})",
             R"({"do":"hold","form":"f","control":"c","hold":"1"})",
             R"({"do":"release"})",
             R"({"do":"release","hold":9007199254740992})",
             R"({"do":"stop","id":-1})",
             R"({"do":"stop","id":1.5})",
             R"({"do":"stop"} x)",
             R"({"do":"close"})",
             R"({"do":"icon"})",
             R"({"do":"lines"})",
         }) {
        EXPECT_FALSE(ParseReport(text)) << text;
    }
    EXPECT_FALSE(ParseReport(std::string(100'000, '['))) << "it is taken apart to a depth";
}

}  // namespace
}  // namespace kestrane::mirror
