#include "http/answer.h"

#include <gtest/gtest.h>

namespace kestrane::http {
namespace {

TEST(Answers, RefuseInOneLineOfPlainText) {
    const Answer answer = RefusalAnswer(400, "bad\r\nthing \xFF");
    EXPECT_EQ(answer.body, "bad??thing ?\n");
    EXPECT_EQ(answer.status, 400);
    EXPECT_EQ(answer.contentType, "text/plain; charset=utf-8");
}

TEST(HttpText, IsOneTextWithTheLengthOfItsBody) {
    const Answer answer{200, "application/json", "{}"};
    EXPECT_EQ(HttpText(answer, {}), "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: 2\r\n\r\n{}");
    EXPECT_EQ(HttpText(answer, {.keepAlive = false}),
              "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: 2\r\nConnection: close\r\n\r\n{}");
    EXPECT_EQ(
        HttpText(answer, {.oldProtocol = true}),
        "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: 2\r\nConnection: keep-alive\r\n\r\n{}");
    EXPECT_EQ(HttpText(answer, {.headOnly = true}),
              "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: 2\r\n\r\n");
    EXPECT_TRUE(HttpText(RefusalAnswer(403, "x"), {}).starts_with("HTTP/1.1 403 Forbidden\r\n"));
    EXPECT_TRUE(HttpText(RefusalAnswer(404, "x"), {}).starts_with("HTTP/1.1 404 Not Found\r\n"));
    EXPECT_TRUE(HttpText(RefusalAnswer(500, "x"), {}).starts_with("HTTP/1.1 500 Internal Server Error\r\n"));
}

TEST(HttpText, HoldsFurtherHeadersOfTheAnswer) {
    Answer answer{200, "text/css", "a{}"};
    answer.headers = "ETag: \"x\"\r\nA: b\r\n";
    EXPECT_EQ(HttpText(answer, {}),
              "HTTP/1.1 200 OK\r\nContent-Type: text/css\r\nContent-Length: 3\r\nETag: \"x\"\r\nA: b\r\n\r\na{}");
}

TEST(HttpText, OfContentThatTheClientHasAlready_HoldsHeadersOnly) {
    Answer answer{304, "text/css", "a{}"};
    answer.headers = "ETag: \"x\"\r\n";
    EXPECT_EQ(HttpText(answer, {.keepAlive = false}),
              "HTTP/1.1 304 Not Modified\r\nConnection: close\r\nETag: \"x\"\r\n\r\n");
}

}  // namespace
}  // namespace kestrane::http
