#include "process/process_fixture.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <utility>

#include "kernel/base/errors.h"
#include "kernel/base/log.h"
#include "platform/posix/posix_clock.h"
#include "platform/posix/posix_folders.h"
#include "platform/posix/posix_message_boxes.h"
#include "settings/persist.h"

namespace kestrane::process {
namespace {

namespace fs = std::filesystem;

constexpr double kLongLease = 600;

/// The settings file, without a driver.
struct SettingsOfNoDriver {
    LogState logState;
    PosixClock clock;
    PosixFolders folders;
    PosixMessageBoxes messageBoxes;
    SwallowLedger ledger;
    Log log{logState, clock};
    Persist persist{PersistNeeds{logState, log, clock, folders, messageBoxes, ledger}};
};

}  // namespace

ProcessFixture::ProcessFixture() {
    for (const char* name :
         {"KESTRANE_COMMON_APPDATA", "KESTRANE_USER_CONFIG", "KESTRANE_DOCUMENTS", "XDG_RUNTIME_DIR"}) {
        ::setenv(name, folder.Path().c_str(), 1);
    }
    Leases(kLongLease, kLongLease);
}

ProcessFixture::~ProcessFixture() {
    activator.reset();
    mount.reset();
}

void ProcessFixture::Leases(double idleSeconds, double connectedSeconds) {
    ::setenv("KESTRANE_LEASE_IDLE_S", std::to_string(idleSeconds).c_str(), 1);
    ::setenv("KESTRANE_LEASE_CONNECTED_S", std::to_string(connectedSeconds).c_str(), 1);
}

void ProcessFixture::Seed(const std::vector<std::pair<std::string, std::string>>& settings) {
    SettingsOfNoDriver file;
    for (const auto& [key, value] : settings) {
        file.persist.WriteIniValue(key, value);
    }
}

std::string ProcessFixture::Setting(const std::string& key) {
    return SettingsOfNoDriver().persist.ReadIniValue(key, "");
}

std::string ProcessFixture::LogText() const {
    std::ostringstream text;
    std::error_code error;
    for (const auto& file : fs::directory_iterator(folder.Path() / "Kestrane" / "ASCOM" / "Logs", error)) {
        text << std::ifstream(file.path()).rdbuf();
    }
    return text.str();
}

void ProcessFixture::StartMount(std::vector<std::string> options) {
    options.emplace_back("--unparked");
    StartParkedMount(std::move(options));
}

void ProcessFixture::StartParkedMount(std::vector<std::string> options) {
    fs::create_directories(portLink.parent_path());
    options.insert(options.end(), {"--link", portLink.string()});
    mount = std::make_unique<Program>("kestrane-mount-simulator", options);
    ASSERT_NE(mount->FirstLine(kPatience), "") << mount->Errors();
}

void ProcessFixture::StartActivator(std::vector<std::string> options) {
    options.insert(options.begin(), {"--port", "0", "--discovery-port", "0"});
    activator = std::make_unique<Program>("kestrane-activate", options);
    const std::string address = activator->FirstLine(kPatience);
    ASSERT_NE(address, "") << activator->Errors();
    port = static_cast<std::uint16_t>(std::stoi(address.substr(address.rfind(':') + 1)));
}

}  // namespace kestrane::process
