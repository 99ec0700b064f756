#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "catalogue/ks_mount.h"
#include "platform/web_pages.h"
#include "state/essentials.h"

namespace kestrane {

/// A version as one number: its three groups of digits, each a hundred times the next one. "5.50.03" is 55003; a
/// missing group counts as 0. Intentional: a group above 99 spills into the next higher one.
std::int64_t VersionNumber(std::string_view version);

/// Whether a version of the driver is newer than another. A text that is not of digits and points only, blanks around
/// them aside, is never newer.
bool IsNewerVersion(std::string_view latest, std::string_view own);

struct UpdateCheckNeeds {
    Essentials driver;
    WebPages& pages;
    const KsMount& mount;
    std::function<void()> newVersionFound;
};

/// Asks the update service once in a process whether there is a newer version of the driver, and keeps the answer in
/// `g_sLatestVersion` and `g_bNewVersion`. Nobody waits for it, and no failure is told. Logic thread only.
class UpdateCheck final {
public:
    explicit UpdateCheck(UpdateCheckNeeds needs) : needs_(std::move(needs)) {}

    /// For a connect that has found a mount. Without a service in the settings, or with the check turned off, nothing
    /// is asked.
    void Run();

private:
    std::string Target();
    std::string Firmware();
    void TakeAnswer(const std::string& body);

    UpdateCheckNeeds needs_;
    bool ran_ = false;
    std::shared_ptr<int> token_ = std::make_shared<int>();  ///< for an answer that comes after the end of this object
};

}  // namespace kestrane
