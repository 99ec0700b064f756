#include "support/seed_settings.h"

#include "kernel/base/errors.h"
#include "kernel/base/log.h"
#include "settings/persist.h"

namespace kestrane {

void SeedSettings(VirtualPlatform& machine, const SettingTexts& settings) {
    LogState logState;
    Log quietLog(logState, machine.clock);
    SwallowLedger ledger;
    Persist persist(PersistNeeds{logState, quietLog, machine.clock, machine.folders, machine.messageBoxes, ledger});
    for (const auto& [key, value] : settings) {
        persist.WriteIniValue(key, value);
    }
}

}  // namespace kestrane
