#include <boost/json.hpp>
#include <gtest/gtest.h>
#include <sstream>

#include "client/json_text.h"
#include "client/progress.h"

namespace kestrane::client {
namespace {

TEST(JsonText, NumbersArePlain) {
    EXPECT_EQ(JsonText(boost::json::parse(R"({"a":1.25E1,"b":[0.1,-3,true,null,"x\"y"],"c":{}})")),
              R"({"a":12.5,"b":[0.1,-3,true,null,"x\"y"],"c":{}})");
}

TEST(JsonText, EscapesEveryControlCharacterAndEveryByteThatIsNoText) {
    EXPECT_EQ(JsonText("a\x1b\x7f\xc2\x9b"), R"("a\u001b\u007f\u009b")");
    EXPECT_EQ(JsonText("\x9b"), R"("\u009b")");
    EXPECT_EQ(JsonText("\xc3\xa4\xe2\x82\xac"), "\"\xc3\xa4\xe2\x82\xac\"");
    EXPECT_EQ(JsonText("\xc3"), R"("\u00c3")");
}

TEST(JsonText, PlainText_IsForPeople) {
    EXPECT_EQ(PlainText(nullptr), "-");
    EXPECT_EQ(PlainText(true), "True");
    EXPECT_EQ(PlainText(false), "False");
    EXPECT_EQ(PlainText("Vega"), "Vega");
    EXPECT_EQ(PlainText(1.5), "1.5");
    EXPECT_EQ(PlainText(boost::json::array{1, 2}), "[1,2]");
}

TEST(Progress, OnATerminalOneLineIsDrawnAnew) {
    std::ostringstream out;
    {
        Progress progress(out, true);
        progress.Show(0.5, "half", 0.0);
        progress.Show(1.0, "all", 0.1);
    }
    EXPECT_EQ(out.str(),
              "\r\x1b[K[===============               ] 50%  half"
              "\r\x1b[K[==============================] 100%  all\n");
}

TEST(Progress, ElsewherePlainLinesComeNowAndThen) {
    std::ostringstream out;
    Progress progress(out, false, 2.0);
    progress.Show(0.0, "a", 0.0);
    progress.Show(0.2, "b", 1.9);
    progress.Show(0.4, "c", 2.0);
    progress.Show(-1.0, "d", 4.5);
    EXPECT_EQ(out.str(), "0%  a\n40%  c\nd\n");
}

TEST(Shown, ControlCharactersAreShown_AndLettersOfAllLanguagesStay) {
    EXPECT_EQ(Shown("a\x1b[2Jb\r\n\x7f"), "a\\x1b[2Jb\\x0d\\x0a\\x7f");
    EXPECT_EQ(Shown("caf\xC3\xA9 \xE2\x98\x85 \xC2\x9B"), "caf\xC3\xA9 \xE2\x98\x85 \\x9b");
    EXPECT_EQ(Shown("\xFF\xC3"), "\\xff\\xc3");
    EXPECT_EQ(JsonText("a\x1b\x7f\xC2\x9B"), R"("a\u001b\u007f\u009b")");
}

TEST(Progress, NeverRunsBackwards) {
    std::ostringstream out;
    Progress progress(out, false, 0.0);
    progress.Show(0.5, "a", 0.0);
    progress.Show(0.3, "b", 1.0);
    progress.Show(0.6, "c", 2.0);
    EXPECT_EQ(out.str(), "50%  a\n50%  b\n60%  c\n");
}

TEST(Progress, FractionsBeyondTheEndsAreBounded) {
    std::ostringstream out;
    Progress progress(out, false, 0.0);
    progress.Show(1.7, "far", 0.0);
    EXPECT_EQ(out.str(), "100%  far\n");
}

}  // namespace
}  // namespace kestrane::client
