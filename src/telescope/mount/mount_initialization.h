#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "telescope/motion/unparking.h"
#include "telescope/mount/init_string.h"
#include "telescope/telescope.h"

namespace kestrane {

/// Tells a mount, after its power-up, the time, the site and its options, and unparks it. Each step that fails is
/// passed over, and nobody learns of it but the log.
class MountInitialization : TelescopeSteps {
public:
    using TelescopeSteps::TelescopeSteps;

    /// With the steps of an init string (see `StepsOfInitString`), or, when that is empty, of the settings. A position
    /// stands for the "Unpark" key. Raises nothing; pumps while a person is asked.
    void InitMount(std::string_view initString, std::optional<std::int16_t> unparkFrom, Confirmation confirmation);

    // The same with the poll off the line meanwhile. Link check: 0x80040404, 0x80040429.

    /// With the steps of the settings. With unparking, the mount no longer counts as parked, and is unparked from the
    /// position of the settings. The wish of the settings is the proposal of a question which `confirmation` tells.
    void InitAfterParkCheck(bool unparks, Confirmation confirmation);
    /// With an init string; stops the mount first.
    void InitWithTime(std::string_view initString);

private:
    InitSteps StepsOfSettings();
    bool NobodySetTheSite();
    void StopMount();
    void Run(const InitSteps& steps, Confirmation confirmation);
    template <typename Steps>
    void WithoutPoll(Steps&& steps);
};

}  // namespace kestrane
