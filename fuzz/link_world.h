#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unistd.h>

#include "kernel/base/counters.h"
#include "kernel/base/errors.h"
#include "kernel/base/waits.h"
#include "platform/message_pump.h"
#include "platform/system_services.h"
#include "settings/database.h"
#include "settings/persist.h"
#include "state/driver_state.h"
#include "state/essentials.h"
#include "support.h"

namespace kestrane::fuzz {

/// The surroundings of a link and of an exchange: no time passes, nothing is pumped, all settings are the defaults.
class LinkWorld {
    class NoPump final : public MessagePump {
        void Post(CallKind, std::function<void()>) override {}
        void PumpMessages() override {}
        void PumpBriefly(std::int32_t) override {}
        void PumpForPerson() override {}
        void PumpStops() override {}
        void PumpPromptTicks() override {}
        bool OvertakenByStop() const override { return false; }
        std::unique_ptr<PumpTimer> CreateTimer(std::function<void()>) override { return nullptr; }
        std::unique_ptr<PumpTimer> CreatePromptTimer(std::function<void()>) override { return nullptr; }
    };
    class OwnFolder final : public Folders {
        std::filesystem::path CommonAppData() override {
            return std::filesystem::temp_directory_path() / ("kestrane-fuzz-" + std::to_string(::getpid()));
        }
        std::filesystem::path Documents() override { return CommonAppData(); }
    };
    class NoBoxes final : public MessageBoxes {
        MessageAnswer Show(std::string_view, std::string_view, MessageIcon) override { return {}; }
    };
    class NoApplications final : public ApplicationSettings {
        std::string Get(std::string_view, std::string_view, std::string_view, std::string_view fallback) override {
            return std::string(fallback);
        }
    };

    NoTime clock_;
    NoPump pump_;
    OwnFolder folders_;

public:
    LinkWorld() {
        state.g_bDebugLog = true;
        log.SetListener([this](std::string_view, int level, std::string_view) {
            errorLines += level == static_cast<int>(LogLevel::Error) ? 1 : 0;
        });
    }
    ~LinkWorld() {
        std::error_code ignored;
        std::filesystem::remove_all(static_cast<Folders&>(folders_).CommonAppData(), ignored);
    }
    LinkWorld(const LinkWorld&) = delete;
    LinkWorld& operator=(const LinkWorld&) = delete;

    int errorLines = 0;
    NoBoxes boxes;
    NoApplications applications;
    DriverState state;
    Log log{state, clock_};
    Counters counters{state, log};
    AlarmFilter alarmFilter{counters};
    SwallowLedger ledger;
    Waits waits{clock_, pump_};
    Persist persist{PersistNeeds{state, log, clock_, folders_, boxes, ledger, [] { return nullptr; }}};
    const Essentials essentials{state, persist, log, clock_, waits, ledger, counters};
};

}  // namespace kestrane::fuzz
