#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

#include "platform/system_services.h"

namespace kestrane {

/// Processes as the /proc file system shows them. A priority class is a nice value of every thread of the process.
class PosixProcesses final : public Processes {
public:
    /// Runs a call on the logic thread; may itself be called on any thread while the object lives.
    using Post = std::function<void(std::function<void()> call)>;

    /// `onEnd` is called by each `EndThisProcess`.
    PosixProcesses(std::function<void()> onEnd, Post post);
    ~PosixProcesses() override;

    /// The file names of the executables; where the system hides one, the first 15 characters that it reports.
    std::vector<std::string> List() override;
    std::uint32_t CurrentProcessId() override;
    /// Always 0: windows have no numbers here.
    std::uint32_t ProcessOfWindow(std::uint64_t window) override;
    /// Refused when there is no such process, or when the mask asks for changes and the process belongs to another
    /// user.
    std::optional<ProcessHandle> Open(std::uint32_t processId, std::uint32_t accessMask) override;
    /// A value that is no class changes nothing, and neither does one that the system does not permit to this user.
    void SetPriorityClass(ProcessHandle handle, std::uint32_t priorityClass) override;
    /// 0 when the process is gone.
    std::uint32_t GetPriorityClass(ProcessHandle handle) override;
    void Close(ProcessHandle handle) override;
    /// The program gets a session of its own and none of our files and sockets; it goes on after we have ended.
    bool Start(std::string_view path, std::string_view arguments) override;
    /// By "xdg-open". A text that it would take for an option is none that can be opened.
    void OpenWithDesktop(std::string_view what, std::function<void()> failed) override;
    void EndThisProcess() override;

    /// Starts a program that gets `socket` as its file 3, and nothing else of ours. `ended` is told on the logic thread
    /// whether it ended well. False when nothing was started.
    bool StartWithSocket(const std::string& path, std::vector<std::string> arguments, int socket,
                         std::function<void(bool well)> ended);

    /// The umask of the programs that are started from now on; without it they get that of this process.
    void UmaskOfChildren(mode_t umask) { umaskOfChildren_ = umask; }

private:
    class Door;

    /// `socket`: what the program gets as its file 3; -1: nothing.
    bool Spawn(std::vector<std::string> words, std::function<void(int status)> ended, int socket = -1);

    std::function<void()> onEnd_;
    std::shared_ptr<Door> door_;
    std::optional<mode_t> umaskOfChildren_;
    std::map<ProcessHandle, std::uint32_t> opened_;
    ProcessHandle nextHandle_ = 1;
};

}  // namespace kestrane
