#include <gtest/gtest.h>

#include "support/driver_fixture.h"

namespace kestrane {
namespace {

/// The head of the log that a process with these settings writes.
class LogHeaderTest : public DriverFixture {
protected:
    std::string HeaderWith(const std::string& key, const std::string& value) {
        driver.reset();
        machine.AdvanceTime(1000);  // a file of its own
        Seed({{key, value}});
        Start();
        return ContentOf(driver->log.FileName());
    }
};

TEST_F(LogHeaderTest, MountType_OfEachSetting_IsNamed) {
    struct Row {
        const char* setting;
        const char* name;
    };
    for (const Row& row : {Row{"0", "Alder VTR"}, Row{"5", "Fir VTR"}, Row{"12", "Unknown"}, Row{"70000", "Unknown"},
                           Row{"65536", "Unknown"}, Row{"-65536", "Unknown"}, Row{"3000000000", "Unknown"},
                           Row{"-3000000000", "Unknown"}}) {
        const std::string header = HeaderWith("MountType", row.setting);
        EXPECT_NE(header.find("# Mount Type: " + std::string(row.name) + "\n"), std::string::npos)
            << row.setting << ":\n"
            << header.substr(0, 600);
    }
}

}  // namespace
}  // namespace kestrane
