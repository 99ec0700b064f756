#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/misbehaviours.h"
#include "support/driver_fixture.h"

/// The log file of a whole run, compared to the byte with one that was checked line by line, but for the times.
///
/// Where the log is meant to change: a failing comparison leaves the new text in the build tree and names the file.
/// Read the difference line by line, then copy that file over the golden one by hand. Nothing overwrites it by itself.
namespace kestrane {
namespace {

namespace fs = std::filesystem;

/// What stands for a time: as long as one.
constexpr std::string_view kTime = "YYYY-MM-DD hh:mm:ss.mmm";
constexpr std::string_view kShapeOfTime = "0000-00-00 00:00:00.000";

bool IsTime(std::string_view text) {
    if (text.size() != kShapeOfTime.size()) {
        return false;
    }
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool wantsDigit = kShapeOfTime[i] == '0';
        const bool isDigit = std::isdigit(static_cast<unsigned char>(text[i])) != 0;
        if (wantsDigit ? !isDigit : text[i] != kShapeOfTime[i]) {
            return false;
        }
    }
    return true;
}

/// A line less its time, which stands behind the six digits of its number and a blank.
std::string WithoutTime(std::string line) {
    constexpr std::size_t kNumberWidth = 7;
    if (line.size() > kNumberWidth && IsTime(std::string_view(line).substr(kNumberWidth, kTime.size()))) {
        line.replace(kNumberWidth, kTime.size(), kTime);
    }
    return line;
}

/// The lines of a text, each with its line end if it has one.
std::vector<std::string> LinesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::size_t start = 0;
    while (start < text.size()) {
        const std::size_t end = std::min(text.find('\n', start), text.size() - 1);
        lines.push_back(text.substr(start, end + 1 - start));
        start = end + 1;
    }
    return lines;
}

/// Empty when both are equal to the byte.
std::string FirstDifference(const std::vector<std::string>& golden, const std::vector<std::string>& actual) {
    for (std::size_t i = 0; i < std::max(golden.size(), actual.size()); ++i) {
        const std::string expected = i < golden.size() ? golden[i] : "(the golden file has ended)";
        const std::string found = i < actual.size() ? actual[i] : "(the log has ended)";
        if (expected != found) {
            return "line " + std::to_string(i + 1) + "\n  golden: " + testing::PrintToString(expected) +
                   "\n  log:    " + testing::PrintToString(found);
        }
    }
    return {};
}

class LogGoldenTest : public DriverFixture {
protected:
    LogGoldenTest() {
        machine.systemInfo.version = OsVersion{2, 10, 0};
        machine.systemInfo.elevationType = 2;  // elevated
    }

    void ExpectLog(const std::string& name) {
        std::string actual;
        for (const std::string& line : LinesOf(ContentOf(driver->log.FileName()))) {
            actual += WithoutTime(line);
        }
        const fs::path newText = fs::path(KESTRANE_NEW_LOGS) / name;
        fs::remove(newText);
        const fs::path golden = fs::path(KESTRANE_GOLDEN_LOGS) / name;
        const std::string difference = FirstDifference(LinesOf(ContentOf(golden)), LinesOf(actual));
        if (!difference.empty()) {
            fs::create_directories(newText.parent_path());
            std::ofstream(newText, std::ios::binary) << actual;
            ADD_FAILURE() << "The log differs from " << golden << " first in " << difference << "\nThe new text is in "
                          << newText << "; see the head of " << __FILE__;
        }
    }
};

TEST_F(LogGoldenTest, AShortRun_IsLoggedAsItWasAlways) {
    ExpectSwallow("CommandString");  // the reply that never came
    {
        const TelescopeObject telescope = ConnectedTelescope();
        mount->Add(std::make_unique<DropsReply>("GR", 1));
        mount->Add(std::make_unique<InsertsAlarm>('X', "GD"));
        machine.AdvanceTime(1500);
        const double rightAscension = telescope->RightAscension();
        telescope->SlewToCoordinatesAsync(rightAscension - 1.0, 20.0);
        machine.AdvanceTime(700);
        telescope->AbortSlew();
        machine.AdvanceTime(400);
        EXPECT_EQ(ErrorOf([&] { telescope->FindHome(); }), 0x80040400U);
        telescope->Connected(false);
    }
    ExpectLog("short_run.log");
}

TEST_F(LogGoldenTest, TheComparison_FindsTheFirstDifference) {
    const std::vector<std::string> golden{"000001 a\n", "000002 b\n"};
    EXPECT_EQ(FirstDifference(golden, golden), "");
    EXPECT_NE(FirstDifference(golden, {"000001 a\n", "000002 b"}).find("line 2"), std::string::npos);
    EXPECT_NE(FirstDifference(golden, {"000001 a\n"}).find("(the log has ended)"), std::string::npos);
    EXPECT_NE(FirstDifference({}, golden).find("line 1"), std::string::npos);
    EXPECT_EQ(LinesOf("a\r\n\nb"), (std::vector<std::string>{"a\r\n", "\n", "b"}));
}

TEST_F(LogGoldenTest, TheComparison_TakesOnlyAWholeTimeOut) {
    EXPECT_EQ(WithoutTime("000007 2024-03-05 20:00:00.123: x\n"), "000007 YYYY-MM-DD hh:mm:ss.mmm: x\n");
    EXPECT_EQ(WithoutTime("000007 2024-3-05 20:00:00.123: x\n"), "000007 2024-3-05 20:00:00.123: x\n");
    EXPECT_EQ(WithoutTime("00007 2024-03-05 20:00:00.123: x\n"), "00007 2024-03-05 20:00:00.123: x\n");
    EXPECT_EQ(WithoutTime("000001 # Admin: True\n"), "000001 # Admin: True\n");
}

}  // namespace
}  // namespace kestrane
