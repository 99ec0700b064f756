#include "link/adapter_reply.h"

#include <gtest/gtest.h>

#include "link/link_fixture.h"

namespace kestrane {
namespace {

TEST(AdapterReplyTest, EncodeUrl_KeepsLettersAndDigitsOnly) {
    struct Row {
        const char* text;
        const char* encoded;
    };
    for (const Row& row :
         {Row{":GR#", "%3AGR%23"}, Row{"", ""}, Row{"09AZaz", "09AZaz"}, Row{" +-*_.~", "%20%2B%2D%2A%5F%2E%7E"},
          Row{":G\x05#", "%3AG%05%23"}, Row{"\xC3\x9F", "%DF"}, Row{"\xE2\x82\xAC", "%3F"}}) {
        EXPECT_EQ(EncodeUrl(row.text), row.encoded);
    }
}

TEST(AdapterReplyTest, TrimLineEnds_CutsThreeAtMost) {
    struct Row {
        const char* text;
        const char* trimmed;
    };
    for (const Row& row : {Row{"1", "1"}, Row{"1\r\n", "1"}, Row{"1\n\r\n", "1"}, Row{"1\r\n\r\n", "1\r"},
                           Row{"\r\n", ""}, Row{"", ""}, Row{"\r\n1", "\r\n1"}}) {
        EXPECT_EQ(TrimLineEnds(row.text), row.trimmed);
    }
}

TEST(AdapterReplyTest, RestBody_EscapesWhatJsonAsksFor) {
    EXPECT_EQ(RestBody(":GR#"), "{  \"Command\": \":GR#\"}");
    EXPECT_EQ(RestBody("a\\b"), "{  \"Command\": \"a\\\\b\"}");
    EXPECT_EQ(RestBody("\""), "{  \"Command\": \"\\\"\"}");
    EXPECT_EQ(RestBody(":G\x05#"), "{  \"Command\": \":G\\u0005#\"}");
}

class StripResponseTest : public LinkFixture {};

TEST_F(StripResponseTest, TakesTheFieldsOutOfTheBody) {
    struct Row {
        const char* body;
        const char* response;
        const char* message;
        bool success;
    };
    for (const Row& row : {
             Row{R"({"ResponseString":"12:34:56#","Result":"fine","Success":true})", "12:34:56#", "fine", true},
             Row{R"({ "Success" : true , "ResponseString" : " 1# " })", "1#", "", true},
             Row{R"({"Success":"true","ResponseString":"1#"})", "1#", "", true},
             Row{"{\r\n\t\"Success\"\t:\n true\r\n,\"ResponseString\":\t\"1#\"\n}", "1#", "", true},
             Row{"{\"ResponseString\":\r\nnull\r\n,\"Success\":true}", "", "", true},
             Row{R"({"Success":false,"ResponseString":"1#"})", "1#", "", false},
             Row{R"({"Success":True})", "", "", false},
             Row{R"({"ResponseString":null,"Result":null,"Success":true})", "", "", true},
             Row{R"({"ResponseString":"null","Success":true})", "null", "", true},
             Row{R"({"ResponseString":"a,b}c","Success":true})", "a,b}c", "", true},
             Row{R"({"ResponseString":"a\"b\\c","Success":true})", "a\"b\\c", "", true},
             Row{R"({"ResponseString":12,"Success":true})", "12", "", true},
             Row{R"({"ResponseString":\ 12 ,"Success":true})", "12", "", true},
             Row{"{\"ResponseString\":\" \t12\n \",\"Success\":true}", "\t12\n", "", true},
             Row{R"({"Result":"ResponseString","ResponseString":"1#","Success":true})", "1#", "ResponseString", true},
             Row{R"({"ResponseString":"open)", "open", "", false},
             Row{R"({"ResponseString":"open\)", "open", "", false},
             Row{R"({"responsestring":"1#"})", "", "", false},
             Row{"{}", "", "", false},
             Row{"", "", "", false},
         }) {
        const RestReply reply = StripResponse(row.body, log);
        EXPECT_EQ(reply.response, row.response) << row.body;
        EXPECT_EQ(reply.message, row.message) << row.body;
        EXPECT_EQ(reply.success, row.success) << row.body;
    }
}

TEST_F(StripResponseTest, LogsTheBodyAndEachField) {
    StripResponse("", log);
    EXPECT_TRUE(LogLines().empty());
    StripResponse(R"({"ResponseString":"1#","Result":"fine","Success":true})", log);
    EXPECT_EQ(LogLines(),
              (std::vector<std::string>{
                  R"(StripResponse Info --- Input: {"ResponseString":"1#","Result":"fine","Success":true} ---)",
                  "StripResponse Info   Response: 1#", "StripResponse Info   Result: fine",
                  "StripResponse Info   Success: true"}));
}

}  // namespace
}  // namespace kestrane
