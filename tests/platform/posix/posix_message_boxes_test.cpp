#include "platform/posix/posix_message_boxes.h"

#include <gtest/gtest.h>

namespace kestrane {
namespace {

TEST(PosixMessageBoxesTest, ABox_IsALineOnStandardErrorAndInTheLog_AndAnsweredAtOnce) {
    std::string logged;
    PosixMessageBoxes boxes([&](std::string_view line) { logged = line; });
    testing::internal::CaptureStderr();
    EXPECT_EQ(boxes.Show("text", "title", MessageIcon::Critical), MessageAnswer::Ok);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "title: text\n");
    EXPECT_EQ(logged, "title: text");
}

TEST(PosixMessageBoxesTest, AMention_IsALineOnStandardErrorOnly) {
    bool logged = false;
    PosixMessageBoxes boxes([&](std::string_view) { logged = true; });
    testing::internal::CaptureStderr();
    boxes.Mention("Settings: text");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Settings: text\n");
    EXPECT_FALSE(logged);
}

}  // namespace
}  // namespace kestrane
