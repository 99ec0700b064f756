#include "platform/posix/posix_processes.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cerrno>
#include <charconv>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <signal.h>
#include <spawn.h>
#include <sstream>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>

#include "platform/posix/environment.h"

namespace kestrane {
namespace {

namespace fs = std::filesystem;

constexpr std::uint32_t kSetInformation = 0x200;  ///< access mask bit that asks for changes

struct PriorityClass {
    std::uint32_t value;
    int nice;   ///< what it sets
    int least;  ///< lowest nice value that reads back as this class
};
/// From high to idle.
constexpr std::array kPriorityClasses{
    PriorityClass{128, -10, -20},  // high
    PriorityClass{32768, -5, -7},  // above normal
    PriorityClass{32, 0, 0},       // normal
    PriorityClass{16384, 5, 1},    // below normal
    PriorityClass{64, 15, 10},     // idle
};

/// The numbers that name the entries of a folder below /proc, in rising order.
std::vector<id_t> NumbersIn(const fs::path& folder) {
    std::vector<id_t> numbers;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        const std::string name = entry->path().filename();
        id_t number = 0;
        const auto parsed = std::from_chars(name.data(), name.data() + name.size(), number);
        if (parsed.ec == std::errc() && parsed.ptr == name.data() + name.size()) {
            numbers.push_back(number);
        }
    }
    std::ranges::sort(numbers);
    return numbers;
}

fs::path FolderOf(id_t process) {
    return fs::path("/proc") / std::to_string(process);
}

/// Empty when the process has ended in the meantime.
std::string ExecutableName(id_t process) {
    std::error_code error;
    std::string name = fs::read_symlink(FolderOf(process) / "exe", error).filename();
    constexpr std::string_view kReplaced = " (deleted)";
    if (name.ends_with(kReplaced)) {
        name.resize(name.size() - kReplaced.size());
    }
    if (error || name.empty()) {
        std::ifstream told(FolderOf(process) / "comm");
        std::getline(told, name);
    }
    return name;
}

/// The words of a text; one between double quotes may hold blanks.
std::vector<std::string> SplitWords(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r\n";
    std::vector<std::string> words;
    for (std::size_t at = text.find_first_not_of(kBlanks); at != std::string_view::npos;
         at = text.find_first_not_of(kBlanks, at)) {
        const std::size_t quote = text[at] == '"' ? text.find('"', at + 1) : std::string_view::npos;
        if (quote != std::string_view::npos) {
            words.emplace_back(text.substr(at + 1, quote - at - 1));
            at = quote + 1;
        } else {
            const std::size_t end = std::min(text.find_first_of(kBlanks, at), text.size());
            words.emplace_back(text.substr(at, end - at));
            at = end;
        }
    }
    return words;
}

/// Whether the program can be found, as by a shell.
bool CanBeStarted(std::string_view program) {
    if (program.find('/') != std::string_view::npos) {
        return access(std::string(program).c_str(), X_OK) == 0;
    }
    std::istringstream folders(EnvironmentText("PATH").value_or("/usr/bin:/bin"));
    for (std::string folder; std::getline(folders, folder, ':');) {
        if (access((fs::path(folder) / program).c_str(), X_OK) == 0) {
            return true;
        }
    }
    return false;
}

/// A driver that runs as a unit has less of the system than its user has, and so would all that it starts. Where the
/// user's service manager is there, it starts them instead.
std::vector<std::string> OutsideOfUnit(std::vector<std::string> words, std::string_view program) {
    const auto runtime = EnvironmentText("XDG_RUNTIME_DIR");
    const bool isUnit = EnvironmentText("INVOCATION_ID") && runtime && CanBeStarted("systemd-run") &&
                        access((fs::path(*runtime) / "systemd" / "private").c_str(), F_OK) == 0;
    if (isUnit && CanBeStarted(program)) {
        const std::array<const char*, 6> manager{"systemd-run", "--user", "--quiet", "--collect", "--wait", "--"};
        words.insert(words.begin(), manager.begin(), manager.end());
    }
    return words;
}

/// What a started program gets: a session of its own, the usual signals, none of our files, nothing to read or print
/// to.
class SpawnSettings {
public:
    explicit SpawnSettings(int socket) {
        constexpr int kSocket = STDERR_FILENO + 1;
        posix_spawn_file_actions_init(&files);
        for (const int file : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            posix_spawn_file_actions_addopen(&files, file, "/dev/null", O_RDWR, 0);
        }
        if (socket >= 0) {
            posix_spawn_file_actions_adddup2(&files, socket, kSocket);
        }
        posix_spawn_file_actions_addclosefrom_np(&files, socket >= 0 ? kSocket + 1 : kSocket);

        sigset_t none;
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        posix_spawnattr_init(&attributes);
        posix_spawnattr_setsigmask(&attributes, &none);
        posix_spawnattr_setsigdefault(&attributes, &all);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~SpawnSettings() {
        posix_spawn_file_actions_destroy(&files);
        posix_spawnattr_destroy(&attributes);
    }
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;

    posix_spawn_file_actions_t files;
    posix_spawnattr_t attributes;
};

}  // namespace

/// The way back to the logic thread for threads that wait for a program: it may end after this object.
class PosixProcesses::Door {
public:
    explicit Door(Post post) : post_(std::move(post)) {}

    void Pass(std::function<void()> call) {
        const std::lock_guard lock(mutex_);
        if (post_) {
            post_(std::move(call));
        }
    }
    void Close() {
        const std::lock_guard lock(mutex_);
        post_ = nullptr;
    }

private:
    std::mutex mutex_;
    Post post_;
};

PosixProcesses::PosixProcesses(std::function<void()> onEnd, Post post)
    : onEnd_(std::move(onEnd)), door_(std::make_shared<Door>(std::move(post))) {
    assert(onEnd_);
}

PosixProcesses::~PosixProcesses() {
    door_->Close();
}

std::vector<std::string> PosixProcesses::List() {
    std::vector<std::string> names;
    for (const id_t process : NumbersIn("/proc")) {
        if (std::string name = ExecutableName(process); !name.empty()) {
            names.push_back(std::move(name));
        }
    }
    return names;
}

std::uint32_t PosixProcesses::CurrentProcessId() {
    return static_cast<std::uint32_t>(getpid());
}

std::uint32_t PosixProcesses::ProcessOfWindow(std::uint64_t) {
    return 0;
}

std::optional<ProcessHandle> PosixProcesses::Open(std::uint32_t processId, std::uint32_t accessMask) {
    const bool reachable = processId != 0 && kill(static_cast<pid_t>(processId), 0) == 0;
    const bool foreign = !reachable && errno == EPERM && processId != 0;
    if (!reachable && (!foreign || (accessMask & kSetInformation) != 0)) {
        return std::nullopt;
    }
    opened_[nextHandle_] = processId;
    return nextHandle_++;
}

void PosixProcesses::SetPriorityClass(ProcessHandle handle, std::uint32_t priorityClass) {
    assert(opened_.contains(handle));
    const auto row = std::ranges::find(kPriorityClasses, priorityClass, &PriorityClass::value);
    if (row == kPriorityClasses.end()) {
        return;
    }
    // The kernel keeps a nice value per thread.
    for (const id_t thread : NumbersIn(FolderOf(opened_[handle]) / "task")) {
        setpriority(PRIO_PROCESS, thread, row->nice);
    }
}

std::uint32_t PosixProcesses::GetPriorityClass(ProcessHandle handle) {
    assert(opened_.contains(handle));
    errno = 0;
    const int nice = getpriority(PRIO_PROCESS, opened_[handle]);
    if (errno != 0) {
        return 0;
    }
    const auto row = std::find_if(kPriorityClasses.rbegin(), kPriorityClasses.rend(),
                                  [&](const PriorityClass& candidate) { return nice >= candidate.least; });
    return row->value;
}

void PosixProcesses::Close(ProcessHandle handle) {
    opened_.erase(handle);
}

bool PosixProcesses::Start(std::string_view path, std::string_view arguments) {
    std::vector<std::string> words = SplitWords(arguments);
    words.insert(words.begin(), std::string(path));
    // A path that is none is told here, which the service manager would not do.
    return !path.empty() && Spawn(OutsideOfUnit(std::move(words), path), [](int) {});
}

void PosixProcesses::OpenWithDesktop(std::string_view what, std::function<void()> failed) {
    const auto ended = [door = door_, failed](int status) {
        if (status != 0) {
            door->Pass(failed);
        }
    };
    if (what.starts_with('-') || !Spawn(OutsideOfUnit({"xdg-open", std::string(what)}, "xdg-open"), ended)) {
        failed();
    }
}

bool PosixProcesses::StartWithSocket(const std::string& path, std::vector<std::string> arguments, int socket,
                                     std::function<void(bool well)> ended) {
    arguments.insert(arguments.begin(), path);
    const auto tell = [door = door_, ended = std::move(ended)](int status) {
        door->Pass([ended, well = status == 0] { ended(well); });
    };
    return Spawn(std::move(arguments), tell, socket);
}

/// `ended` gets the status of the wait, on a thread of its own. False when nothing was started.
bool PosixProcesses::Spawn(std::vector<std::string> words, std::function<void(int status)> ended, int socket) {
    std::vector<char*> argv;
    for (std::string& word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);

    const SpawnSettings settings(socket);
    pid_t process = 0;
    // The new process takes over what is in force here at this moment; a spawn cannot set it.
    const mode_t own = umaskOfChildren_ ? ::umask(*umaskOfChildren_) : 0;
    const int error = posix_spawnp(&process, argv[0], &settings.files, &settings.attributes, argv.data(), environ);
    if (umaskOfChildren_) {
        ::umask(own);
    }
    if (error != 0) {
        return false;
    }
    // An ended child leaves the process list only when its parent waits for it.
    std::thread([process, ended = std::move(ended)] {
        int status = 0;
        waitpid(process, &status, 0);
        ended(status);
    }).detach();
    return true;
}

void PosixProcesses::EndThisProcess() {
    onEnd_();
}

}  // namespace kestrane
