#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "platform/system_services.h"
#include "support/virtual_clock.h"

/// Replacements for the machine's smaller services: each does what a healthy machine does, records how it was called,
/// and has members by which a test can change the answers.
namespace kestrane {

class RecordingMessageBoxes final : public MessageBoxes {
public:
    struct Box {
        std::string text, title;
        MessageIcon icon = MessageIcon::None;
    };
    std::vector<Box> shown;
    std::vector<std::string> mentioned;
    std::deque<MessageAnswer> answers;          ///< to the next boxes; OK after they are used up
    std::function<void(const Box&)> whenShown;  ///< runs while the box is on the screen

    std::vector<std::string> Texts() const {
        std::vector<std::string> texts;
        for (const Box& box : shown) {
            texts.push_back(box.text);
        }
        return texts;
    }
    MessageAnswer Show(std::string_view text, std::string_view title, MessageIcon icon) override {
        shown.push_back({std::string(text), std::string(title), icon});
        if (whenShown) {
            whenShown(Box(shown.back()));
        }
        if (answers.empty()) {
            return MessageAnswer::Ok;
        }
        const MessageAnswer answer = answers.front();
        answers.pop_front();
        return answer;
    }
    MessageAnswer Ask(std::string_view text, std::string_view title, const std::function<void()>& accepted) override {
        const MessageAnswer answer = Show(text, title, MessageIcon::None);
        if (accepted && answer == MessageAnswer::Ok) {
            accepted();
        }
        return answer;
    }
    void Mention(std::string_view line) override { mentioned.emplace_back(line); }
};

class SettableSystemInfo final : public SystemInfo {
public:
    std::optional<OsVersion> version;
    std::string name;
    bool shellAdmin = false;
    std::optional<int> elevationType;

    std::optional<OsVersion> GetVersion() override { return version; }
    std::string Name() override { return name; }
    bool ShellAdminTest() override { return shellAdmin; }
    std::optional<int> TokenElevationType() override { return elevationType; }
};

class CountingSounds final : public Sounds {
public:
    int beeps = 0;
    void Beep() override { ++beeps; }
};

class RecordingProcesses final : public Processes {
public:
    std::vector<std::string> list{"init", "kestrane-driver"};
    std::uint32_t currentProcessId = 4711;
    std::map<std::uint64_t, std::uint32_t> windowOwners;
    std::function<bool(std::uint32_t processId, std::uint32_t accessMask)> mayOpen;  ///< empty: all may be opened
    std::map<std::uint32_t, std::uint32_t> priorities;  ///< priority class by process id; 32 (normal) without an entry
    std::vector<std::pair<std::string, std::string>> starts;  ///< path and arguments
    std::vector<std::string> opened;                          ///< with the desktop
    bool canStart = true;
    int openHandles = 0;
    int ends = 0;  ///< calls of `EndThisProcess`

    std::vector<std::string> List() override { return list; }
    std::uint32_t CurrentProcessId() override { return currentProcessId; }
    std::uint32_t ProcessOfWindow(std::uint64_t window) override {
        const auto owner = windowOwners.find(window);
        return owner == windowOwners.end() ? 0 : owner->second;
    }
    std::optional<ProcessHandle> Open(std::uint32_t processId, std::uint32_t accessMask) override {
        if (mayOpen && !mayOpen(processId, accessMask)) {
            return std::nullopt;
        }
        ++openHandles;
        return ProcessHandle{processId};
    }
    void SetPriorityClass(ProcessHandle handle, std::uint32_t priorityClass) override {
        priorities[static_cast<std::uint32_t>(handle)] = priorityClass;
    }
    std::uint32_t GetPriorityClass(ProcessHandle handle) override {
        const auto priority = priorities.find(static_cast<std::uint32_t>(handle));
        return priority == priorities.end() ? 32 : priority->second;
    }
    void Close(ProcessHandle) override { --openHandles; }
    bool Start(std::string_view path, std::string_view arguments) override {
        starts.emplace_back(path, arguments);
        return canStart;
    }
    void OpenWithDesktop(std::string_view what, std::function<void()> failed) override {
        opened.emplace_back(what);
        if (!canStart) {
            failed();
        }
    }
    void EndThisProcess() override { ++ends; }
};

class SettableRegistry final : public Registry {
public:
    std::map<std::pair<std::string, std::string>, RegistryValue> values;  ///< by key and value name

    void SetText(std::string_view key, std::string_view value, std::string_view text) {
        values[{std::string(key), std::string(value)}] = {1, std::string(text) + '\0'};
    }
    std::optional<RegistryValue> Read(std::string_view key, std::string_view value) override {
        const auto found = values.find({std::string(key), std::string(value)});
        return found == values.end() ? std::nullopt : std::optional(found->second);
    }
};

class SettableApplicationSettings final : public ApplicationSettings {
public:
    std::map<std::tuple<std::string, std::string, std::string>, std::string> values;  ///< by application, section, key

    void Set(std::string_view application, std::string_view section, std::string_view key, std::string_view text) {
        values[{std::string(application), std::string(section), std::string(key)}] = text;
    }
    std::string Get(std::string_view application, std::string_view section, std::string_view key,
                    std::string_view fallback) override {
        const auto found = values.find({std::string(application), std::string(section), std::string(key)});
        return found == values.end() ? std::string(fallback) : found->second;
    }
};

class RecordingProfileStore final : public ProfileStore {
public:
    bool available = true;
    std::map<std::pair<std::string, std::string>, std::string> registered;  ///< description by device type and id
    int registrations = 0;

    void Register(std::string_view deviceType, std::string_view driverId, std::string_view description) override {
        ++registrations;
        registered[{std::string(deviceType), std::string(driverId)}] = description;
    }
    void Unregister(std::string_view deviceType, std::string_view driverId) override {
        registered.erase({std::string(deviceType), std::string(driverId)});
    }
    bool IsRegistered(std::string_view deviceType, std::string_view driverId) override {
        return registered.contains({std::string(deviceType), std::string(driverId)});
    }
    bool Available() override { return available; }
};

class SettableUtilityService final : public UtilityService {
public:
    bool available = true;
    bool Available() override { return available; }
};

/// Mean sidereal time of the virtual clock, correct to about a second, unless a test sets one.
class VirtualAstronomy final : public Astronomy {
public:
    explicit VirtualAstronomy(VirtualClock& clock) : clock_(clock) {}
    std::optional<double> lst;  ///< hours
    Equatorial sun;
    Equatorial Sun() override { return sun; }
    double NowLst(double westLongitudeRadians) override;

private:
    VirtualClock& clock_;
};

}  // namespace kestrane
