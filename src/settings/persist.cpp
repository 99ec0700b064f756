#include "settings/persist.h"

#include <system_error>
#include <utility>

#include "kernel/base/application_info.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "settings/database.h"
#include "settings/legacy_ini.h"

namespace kestrane {
namespace {

/// Means "there is no row" when the settings file is asked. The settings file itself uses another text for that.
constexpr std::string_view kMissing = "****####";

constexpr std::string_view kLegacySection = "[default]";

}  // namespace

Persist::Persist(PersistNeeds needs) : needs_(std::move(needs)) {
    ResumeNext errors{needs_.ledger, "Persist"};
    errors.Assign(m_db, [&] { return CreateDatabase(); });
    if (!m_db) {
        errors.Step([&] { ShowFailure("Failed to open database"); });
    }
    errors.Step([&] { FindLegacyFile(needs_.folders.CommonAppData() / "Kestrane" / "ASCOM"); });
}

Persist::~Persist() = default;

void Persist::FindLegacyFile(const std::filesystem::path& folder) {
    std::error_code ignored;
    std::filesystem::create_directories(folder, ignored);
    legacyFile_ = folder / "ks.ini";
}

std::unique_ptr<Database> Persist::CreateDatabase() {
    if (needs_.createDatabase) {
        return needs_.createDatabase();
    }
    return std::make_unique<Database>(
        DatabaseNeeds{needs_.log, needs_.folders, needs_.messageBoxes, needs_.ledger, needs_.clock});
}

void Persist::ShowFailure(std::string_view text) {
    needs_.messageBoxes.Show(text, application::kTitle, MessageIcon::Critical);
}

std::string Persist::ReadIniValue(std::string_view variable, std::string_view fallback) {
    std::string value = ReadValue(variable, fallback);
    LogAccess("ReadIniValue", variable, value);
    return value;
}

std::string Persist::ReadValue(std::string_view variable, std::string_view fallback) {
    legacyFailed_ = false;
    std::string value;
    if (!m_db) {
        ShowFailure("ReadIniValue: No DB initialized!");
        value = fallback;
    } else if (!ReadFile(variable, value)) {
        value = fallback;
    } else if (value == kMissing) {
        value = FirstAnswer(variable, fallback);
    } else if (!notStored_.empty()) {
        notStored_.erase(ToLower(variable));  // the file has a value by now, which counts
    }
    if (value == "false") {
        value = "False";
    } else if (value == "true") {
        value = "True";
    }
    return value;
}

std::string Persist::FirstAnswer(std::string_view variable, std::string_view fallback) {
    const std::string key = ToLower(variable);
    std::string value;
    if (const auto given = notStored_.find(key); given != notStored_.end()) {
        value = given->second;
    } else if (std::optional<std::string> legacy = ReadLegacy(variable, fallback)) {
        value = std::move(*legacy);
    } else {
        legacyFailed_ = true;
        return std::string(fallback);
    }
    // A default needs no wait for the disk: if a power cut loses its row, the next first reader asks with it again.
    if (m_db->SetFirstSetting(variable, value, kMissing, value == fallback ? Sync::Later : Sync::Now)) {
        notStored_.erase(key);
    } else {
        notStored_.insert_or_assign(key, value);
    }
    return value;
}

std::optional<std::string> Persist::ReadLegacy(std::string_view variable, std::string_view fallback) {
    try {
        return ReadLegacyValue(legacyFile_, kLegacySection, variable, fallback);
    } catch (const RunTimeError&) {
        if (!std::exchange(legacyFaultShown_, true)) {
            ShowFailure("The old settings file cannot be read: " + legacyFile_.string() +
                        ". Settings that only it may hold have their defaults, which are not stored.");
        }
        return std::nullopt;
    }
}

bool Persist::ReadFile(std::string_view variable, std::string& value) {
    const bool read = m_db->GetSetting(variable, value, kMissing);
    answered_ = m_db->Answered();
    return read;
}

std::optional<std::string> Persist::ReadIfAnswered(std::string_view variable, std::string_view fallback) {
    if (!m_db) {
        return std::nullopt;
    }
    std::string value = ReadIniValue(variable, fallback);
    if (legacyFailed_) {
        RaiseFileAccess();
    }
    return answered_ ? std::optional(std::move(value)) : std::nullopt;
}

void Persist::WriteIniValue(std::string_view variable, std::string_view value) {
    if (!m_db) {
        ShowFailure("WriteIniValue: No DB initialized!");
        return;
    }
    LogAccess("WriteIniValue", variable, value);
    if (!PreventWrites) {
        m_db->SetSetting(variable, value);
    }
}

void Persist::LogAccess(std::string_view origin, std::string_view variable, std::string_view value) {
    if (needs_.logState.g_bDebugLog) {
        needs_.log.LogMessage(origin, LogLevel::Info, std::string(variable).append("=>'").append(value).append("'"));
    }
}

void Persist::TryDeleteIniValue(std::string_view variable) {
    if (m_db) {
        ResumeNext errors{needs_.ledger, "Persist.TryDeleteIniValue"};
        errors.Step([&] { m_db->TryDeleteSetting(variable); });
    }
}

std::string Persist::GetAllValues() {
    if (!m_db) {
        return ReadAllLegacyValues(legacyFile_);
    }
    std::string all;
    RecordArray<PropValue> settings;
    if (!m_db->GetAllDriverSettings(settings)) {
        return all;
    }
    // From the empty slot up to the row before the last: intentional, the walk fails at its first step, and tools
    // expect that.
    for (std::size_t slot = 0; slot + 1 < settings.size(); ++slot) {
        if (!settings[slot]) {
            throw RunTimeError(RunTimeError::kObjectNotSet, "Object variable or With block variable not set");
        }
        all.append(settings[slot]->Name).append("=").append(settings[slot]->Value).append(",");
    }
    return all;
}

double Persist::ReadNumber(const SettingKey& key) {
    return Val_Global(Read(key), needs_.log);
}

bool Persist::ReadFlag(const SettingKey& key) {
    return ReadNumber(key) != 0.0;
}

}  // namespace kestrane
