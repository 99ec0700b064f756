#pragma once

#include <cstdint>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "process/http_client.h"
#include "process/program.h"
#include "support/temporary_folder.h"

namespace kestrane::process {

/// What an answer may take of a driver that is up, in the worst moment.
inline constexpr Seconds kPrompt{2.0};
/// What a start, a connect or an end may take on a slow machine.
inline constexpr Seconds kPatience{20.0};

/// The whole system in a data folder of its own: a simulated mount on COM1 and the activator at a free port, each
/// started by the test that needs it.
class ProcessFixture : public testing::Test {
public:
    ~ProcessFixture() override;

protected:
    ProcessFixture();

    /// How long objects live without their client; for drivers started from now on.
    static void Leases(double idleSeconds, double connectedSeconds);
    /// Writes settings as an earlier driver would have left them.
    static void Seed(const std::vector<std::pair<std::string, std::string>>& settings);
    /// A setting as the drivers so far have left it.
    static std::string Setting(const std::string& key);

    void StartMount(std::vector<std::string> options = {});
    /// As it is after its power-on: parked, and it does not know where it points.
    void StartParkedMount(std::vector<std::string> options = {});
    /// Without discovery, unless the options name its port.
    void StartActivator(std::vector<std::string> options = {});
    void StartSystem() {
        StartMount();
        StartActivator();
    }

    HttpClient Client(int clientId) const { return {port, clientId}; }
    /// Process of the driver; 0 while none runs.
    pid_t Driver() const { return ChildOf(activator->Pid()); }
    /// The driver's answer to a request that must be answered without an error.
    static Answer Good(Answer answer) {
        EXPECT_EQ(answer.status, 200) << answer.errorMessage;
        EXPECT_EQ(answer.errorNumber, 0) << answer.errorMessage;
        return answer;
    }
    /// All lines of all logs of the drivers so far.
    std::string LogText() const;
    static void Connect(HttpClient& client) { Good(client.Put("connected", "Connected=True")); }

    /// In memory: a driver that waits for a busy disk would answer late.
    TemporaryFolder folder;
    std::filesystem::path portLink = folder.Path() / "Kestrane" / "Ports" / "COM1";  ///< where COM1 is
    std::unique_ptr<Program> mount;
    std::unique_ptr<Program> activator;
    std::uint16_t port = 0;
};

}  // namespace kestrane::process
