#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The smaller services of the machine that the driver uses, each an interface of its own. All are used on the logic
/// thread only.
namespace kestrane {

enum class MessageIcon { None, Information, Critical };
enum class MessageAnswer { Ok, Cancel };

/// Message boxes with an OK button, shown above all windows. With no view attached they are only logged.
class MessageBoxes {
public:
    virtual ~MessageBoxes() = default;
    virtual MessageAnswer Show(std::string_view text, std::string_view title, MessageIcon icon) = 0;
    /// The same with a Cancel button beside it, which counts as pressed where nobody can answer. `accepted`, if there
    /// is one, is called as soon as OK is pressed: calls that run meanwhile may hold whoever asks, and a stop that
    /// comes after the press means what was agreed to.
    virtual MessageAnswer Ask(std::string_view text, std::string_view title,
                              const std::function<void()>& /*accepted*/) {
        Show(text, title, MessageIcon::None);
        return MessageAnswer::Cancel;
    }
    /// A line for whoever runs the process, where a box would be too much.
    virtual void Mention(std::string_view /*line*/) {}
};

/// Version record of the operating system. `platformId` 2 is the NT family.
struct OsVersion {
    std::uint32_t platformId = 0;
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
};

class SystemInfo {
public:
    virtual ~SystemInfo() = default;
    /// Nothing when the system has no such record (every system that is not of that family).
    virtual std::optional<OsVersion> GetVersion() = 0;
    /// Name and version of a system without such a record, for people; empty when unknown.
    virtual std::string Name() { return {}; }
    /// The shell's own administrator test.
    virtual bool ShellAdminTest() = 0;
    /// Elevation type of the process token: 1 default, 2 full, 3 limited; nothing when it cannot be read.
    virtual std::optional<int> TokenElevationType() = 0;
};

/// A process that was opened for a change of its priority.
using ProcessHandle = std::int64_t;

class Processes {
public:
    virtual ~Processes() = default;
    /// Executable names (without folder) of all processes, in the order of the system.
    virtual std::vector<std::string> List() = 0;
    virtual std::uint32_t CurrentProcessId() = 0;
    /// Id of the process that owns the window, or 0.
    virtual std::uint32_t ProcessOfWindow(std::uint64_t window) = 0;
    /// Opens with an access mask of the platform; nothing when refused.
    virtual std::optional<ProcessHandle> Open(std::uint32_t processId, std::uint32_t accessMask) = 0;
    virtual void SetPriorityClass(ProcessHandle handle, std::uint32_t priorityClass) = 0;
    virtual std::uint32_t GetPriorityClass(ProcessHandle handle) = 0;
    virtual void Close(ProcessHandle handle) = 0;
    /// Starts a program with a normal window; does not wait for it. False when it could not be started. The arguments
    /// are separated by blanks; one with a blank in it stands between double quotes.
    virtual bool Start(std::string_view path, std::string_view arguments) = 0;
    /// Opens a file, a folder or a page with the program of the desktop that is meant for it; does not wait. Where none
    /// can open it `failed` is called, at once or in a later pump, and must live as long as that pump.
    virtual void OpenWithDesktop(std::string_view what, std::function<void()> failed) = 0;
    /// Ends this process as soon as the running call has returned to the outermost loop. Idempotent.
    virtual void EndThisProcess() = 0;
};

/// A value of the machine-wide registry with its type number: 1 text (with its terminating NUL), 4 double word
/// (four bytes, little endian), others as they are.
struct RegistryValue {
    std::uint32_t type = 0;
    std::string data;
};

class Registry {
public:
    virtual ~Registry() = default;
    /// Reads below the classes root; nothing when the key or value is missing.
    virtual std::optional<RegistryValue> Read(std::string_view key, std::string_view value) = 0;
};

/// Per-user settings that other programs write: application, section, key.
class ApplicationSettings {
public:
    virtual ~ApplicationSettings() = default;
    /// The text kept under the key, or `fallback` when there is none.
    virtual std::string Get(std::string_view application, std::string_view section, std::string_view key,
                            std::string_view fallback) = 0;
};

/// The platform's store of registered drivers. Registering an id again replaces its description silently.
class ProfileStore {
public:
    virtual ~ProfileStore() = default;
    virtual void Register(std::string_view deviceType, std::string_view driverId, std::string_view description) = 0;
    virtual void Unregister(std::string_view deviceType, std::string_view driverId) = 0;
    virtual bool IsRegistered(std::string_view deviceType, std::string_view driverId) = 0;
    /// Whether the store can be created on this machine.
    virtual bool Available() = 0;
};

/// The platform's utility object (time, conversions): here only whether it can be created.
class UtilityService {
public:
    virtual ~UtilityService() = default;
    virtual bool Available() = 0;
};

/// The machine's signal tone.
class Sounds {
public:
    virtual ~Sounds() = default;
    /// Returns at once; silent where the machine has no tone.
    virtual void Beep() = 0;
};

class Astronomy {
public:
    /// In the equator and equinox of today.
    struct Equatorial {
        double raHours = 0.0;  ///< from 0 to below 24
        double dec = 0.0;      ///< degrees
    };

    virtual ~Astronomy() = default;
    /// Apparent local sidereal time now, hours from 0 up to below 24, for a longitude in radians, west positive.
    virtual double NowLst(double westLongitudeRadians) = 0;
    /// Where the sun is now, to a minute of arc.
    virtual Equatorial Sun() = 0;
};

class Folders {
public:
    virtual ~Folders() = default;
    /// The data folder shared by all users; the folder "Kestrane" is in it. May not exist yet.
    virtual std::filesystem::path CommonAppData() = 0;
    virtual std::filesystem::path Documents() = 0;
    /// The folder of the running program, where its side tools are; empty when unknown.
    virtual std::filesystem::path OfProgram() { return {}; }
};

}  // namespace kestrane
