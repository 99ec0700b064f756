#include "http/request_parameters.h"

#include <gtest/gtest.h>

namespace kestrane::http {
namespace {

TEST(SplitTarget, TakesPathAndQueryApartAndForgivesADoubledQuestionMark) {
    struct Row {
        std::string_view target, path, query;
    };
    for (const Row& row :
         {Row{"/a/b", "/a/b", ""}, Row{"/a?x=1", "/a", "x=1"}, Row{"/a??x=1", "/a", "x=1"},
          Row{"/a???x=1&y=?", "/a", "x=1&y=?"}, Row{"/a?", "/a", ""}, Row{"", "", ""}, Row{"?x", "", "x"}}) {
        SCOPED_TRACE(row.target);
        EXPECT_EQ(SplitTarget(row.target).path, row.path);
        EXPECT_EQ(SplitTarget(row.target).query, row.query);
    }
}

TEST(DecodeForm, TurnsEscapesAndPlusBackAndLeavesBrokenEscapesAlone) {
    struct Row {
        std::string_view encoded, decoded;
    };
    for (const Row& row : {Row{"abc", "abc"}, Row{"a+b", "a b"}, Row{"%3AGR%23", ":GR#"}, Row{"%3agr%2b", ":gr+"},
                           Row{"%", "%"}, Row{"%4", "%4"}, Row{"%G1x", "%G1x"}, Row{"%%41", "%A"}, Row{"1%", "1%"},
                           Row{"%05", "\x05"}, Row{"%C3%A4", "\xC3\xA4"}}) {
        EXPECT_EQ(DecodeForm(row.encoded), row.decoded) << row.encoded;
    }
    EXPECT_EQ(DecodeForm("a%00b"), std::string("a\0b", 3));
}

TEST(RequestParameters, FindsNamesExactlyOrInAnyCase) {
    const auto parameters = RequestParameters::Parse("ClientID=1&Connected=True&=x&novalue&&a%20b=c%3Dd");
    ASSERT_TRUE(parameters);
    EXPECT_EQ(parameters->Count(), 5U);
    EXPECT_EQ(*parameters->Find("clientid", NameMatch::AnyCase), "1");
    EXPECT_EQ(parameters->Find("clientid", NameMatch::Exact), nullptr);
    EXPECT_EQ(*parameters->Find("Connected", NameMatch::Exact), "True");
    EXPECT_EQ(*parameters->Find("novalue", NameMatch::Exact), "");
    EXPECT_EQ(*parameters->Find("a b", NameMatch::Exact), "c=d");
    EXPECT_EQ(parameters->Find("absent", NameMatch::AnyCase), nullptr);
}

TEST(RequestParameters, TakesTheFirstOfTwoEqualNames) {
    const auto parameters = RequestParameters::Parse("x=1&X=2&x=3");
    EXPECT_EQ(*parameters->Find("x", NameMatch::Exact), "1");
    EXPECT_EQ(*parameters->Find("X", NameMatch::Exact), "2");
    EXPECT_EQ(*parameters->Find("X", NameMatch::AnyCase), "1");
}

TEST(RequestParameters, AreRefusedBeyondTheirNumber) {
    std::string text;
    for (std::size_t i = 0; i < RequestParameters::kMostParameters; ++i) {
        text += "a=1&";
    }
    EXPECT_TRUE(RequestParameters::Parse(text));
    EXPECT_FALSE(RequestParameters::Parse(text + "a"));
}

}  // namespace
}  // namespace kestrane::http
