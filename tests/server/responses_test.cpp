#include "server/responses.h"

#include <array>
#include <gtest/gtest.h>
#include <limits>
#include <stdexcept>

namespace kestrane::server {
namespace {

TEST(JsonOf, WritesNumbersInTheShortestFormThatReadsBack) {
    EXPECT_EQ(JsonOf(0.0), "0");
    EXPECT_EQ(JsonOf(-0.0), "0");
    EXPECT_EQ(JsonOf(12.5), "12.5");
    EXPECT_EQ(JsonOf(0.1), "0.1");
    EXPECT_EQ(JsonOf(1e-7), "1e-07");
    EXPECT_EQ(JsonOf(-3), "-3");
    EXPECT_EQ(JsonOf(4294967295U), "4294967295");
    EXPECT_EQ(JsonOf(true), "true");
    EXPECT_EQ(JsonOf(false), "false");
}

TEST(JsonOf, RaisesForWhatIsNoNumber) {
    EXPECT_THROW(JsonOf(std::numeric_limits<double>::quiet_NaN()), std::domain_error);
    EXPECT_THROW(JsonOf(std::numeric_limits<double>::infinity()), std::domain_error);
}

TEST(JsonOf, EscapesTextsAndTakesBrokenUtf8AsLatin1) {
    struct Row {
        std::string_view text, json;
    };
    for (const Row& row :
         {Row{"", R"("")"}, Row{"a\"b\\c", R"("a\"b\\c")"}, Row{"a\r\n\x05", R"("a\u000d\u000a\u0005")"},
          Row{"\x7F", R"("\u007f")"}, Row{"\xC3\xA4", "\"\xC3\xA4\""}, Row{"\xDF", R"("\u00df")"},
          Row{"12\xDF"
              "30",
              R"("12\u00df30")"},
          Row{"\xC3", R"("\u00c3")"}, Row{"\xED\xA0\x80", R"("\u00ed\u00a0\u0080")"},
          Row{"\xC0\x80", R"("\u00c0\u0080")"}, Row{"\xF0\x9F\x94\xAD", "\"\xF0\x9F\x94\xAD\""}}) {
        EXPECT_EQ(JsonOf(row.text), row.json);
    }
    EXPECT_EQ(JsonOf(std::string_view("\0", 1)), R"("\u0000")");
}

TEST(JsonOf, WritesListsAndDates) {
    const std::array<int, 3> numbers{0, 1, 2};
    const std::array<std::string, 2> texts{"a", "b"};
    EXPECT_EQ(JsonOf(std::span<const int>(numbers)), "[0,1,2]");
    EXPECT_EQ(JsonOf(std::span<const std::string>(texts)), R"(["a","b"])");
    EXPECT_EQ(JsonOf(std::span<const int>()), "[]");
    EXPECT_EQ(JsonOf(DateTime{2024, 3, 5, 20, 1, 2, 34}), R"("2024-03-05T20:01:02.0340000Z")");
}

TEST(Answers, CarryTheIdsAndAnEmptyMessageOnSuccess) {
    const RequestIds ids{.client = 3, .transaction = 4294967295U, .server = 8};
    EXPECT_EQ(
        ValueAnswer(ids, "true").body,
        R"({"Value":true,"ClientTransactionID":4294967295,"ServerTransactionID":8,"ErrorNumber":0,"ErrorMessage":""})");
    EXPECT_EQ(ValueAnswer(ids, "").body,
              R"({"ClientTransactionID":4294967295,"ServerTransactionID":8,"ErrorNumber":0,"ErrorMessage":""})");
    EXPECT_EQ(
        ErrorAnswer(ids, 1028, "no \"mount\"").body,
        R"({"ClientTransactionID":4294967295,"ServerTransactionID":8,"ErrorNumber":1028,"ErrorMessage":"no \"mount\""})");
}

TEST(Answers, RefuseInOneLineOfPlainText) {
    const HttpAnswer answer = RefusalAnswer(400, "bad\r\nthing \xFF");
    EXPECT_EQ(answer.body, "bad??thing ?\n");
    EXPECT_EQ(answer.status, 400);
    EXPECT_EQ(answer.contentType, "text/plain; charset=utf-8");
}

TEST(AlpacaErrorNumber, IsTheDriversLessTheBaseAndNeverAnotherOnesMeaning) {
    struct Row {
        std::uint32_t driver;
        std::int32_t alpaca;
    };
    for (const Row& row :
         {Row{0x80040400, 0x400}, Row{0x8004040C, 0x40C}, Row{0x80040430, 0x430}, Row{0x80040FFF, 0xFFF},
          Row{0x80041000, 0x4FF}, Row{0x800403FF, 0x4FF}, Row{13, 0x4FF}, Row{0, 0x4FF}, Row{0xFFFFFFFF, 0x4FF}}) {
        EXPECT_EQ(AlpacaErrorNumber(row.driver), row.alpaca) << row.driver;
    }
}

TEST(HttpText, IsOneTextWithTheLengthOfItsBody) {
    const HttpAnswer answer{200, "application/json", "{}"};
    EXPECT_EQ(HttpText(answer, {}), "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: 2\r\n\r\n{}");
    EXPECT_EQ(HttpText(answer, {.keepAlive = false}),
              "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: 2\r\nConnection: close\r\n\r\n{}");
    EXPECT_EQ(
        HttpText(answer, {.oldProtocol = true}),
        "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: 2\r\nConnection: keep-alive\r\n\r\n{}");
    EXPECT_EQ(HttpText(answer, {.headOnly = true}),
              "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: 2\r\n\r\n");
    EXPECT_TRUE(HttpText(RefusalAnswer(403, "x"), {}).starts_with("HTTP/1.1 403 Forbidden\r\n"));
    EXPECT_TRUE(HttpText(RefusalAnswer(500, "x"), {}).starts_with("HTTP/1.1 500 Internal Server Error\r\n"));
}

}  // namespace
}  // namespace kestrane::server
