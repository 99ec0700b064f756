#include "process/program.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <spawn.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace kestrane::process {
namespace {

namespace fs = std::filesystem;

/// A file without a name, so that a program that prints much never waits for a reader.
int UnnamedFile() {
    std::string name = (fs::temp_directory_path() / "kestrane-output-XXXXXX").string();
    const int file = ::mkostemp(name.data(), O_CLOEXEC);
    if (file < 0) {
        throw std::system_error(errno, std::generic_category(), name);
    }
    ::unlink(name.c_str());
    return file;
}

/// Those of this build, unless the environment names others.
fs::path FolderOfPrograms() {
    const char* const others = std::getenv("KESTRANE_PROGRAMS");
    return others == nullptr ? KESTRANE_PROGRAMS : others;
}

}  // namespace

Program::Program(const std::string& name, std::vector<std::string> arguments)
    : output_(UnnamedFile()), errors_(UnnamedFile()) {
    arguments.insert(arguments.begin(), (FolderOfPrograms() / name).string());
    std::vector<char*> words;
    for (std::string& argument : arguments) {
        words.push_back(argument.data());
    }
    words.push_back(nullptr);
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&files, output_, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&files, errors_, STDERR_FILENO);
    const int error = ::posix_spawn(&pid_, words[0], &files, nullptr, words.data(), environ);
    posix_spawn_file_actions_destroy(&files);
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), arguments[0]);
    }
}

Program::~Program() {
    if (Runs()) {
        // The activator takes its driver along only when it is asked to end.
        Signal(SIGTERM);
        if (!WaitForEnd(Seconds(10))) {
            Signal(SIGKILL);
            WaitForEnd(Seconds(10));
        }
    }
    ::close(output_);
    ::close(errors_);
}

void Program::Signal(int number) const {
    if (!ending_) {
        ::kill(pid_, number);
    }
}

std::optional<Ending> Program::WaitForEnd(Seconds limit) {
    WaitUntil(limit, [this] {
        int status = 0;
        if (!ending_ && ::waitpid(pid_, &status, WNOHANG) == pid_) {
            ending_ = WIFSIGNALED(status) ? Ending{true, WTERMSIG(status)} : Ending{false, WEXITSTATUS(status)};
        }
        return ending_.has_value();
    });
    return ending_;
}

std::string Program::FirstLine(Seconds limit) {
    std::string text;
    WaitUntil(limit, [&] {
        text = Output();
        return text.find('\n') != std::string::npos || !Runs();
    });
    const std::size_t end = text.find('\n');
    return end == std::string::npos ? std::string() : text.substr(0, end);
}

/// Without moving the place at which the program writes.
std::string Program::TextOf(int file) {
    std::string text;
    std::array<char, 4096> buffer{};
    for (;;) {
        const ssize_t count = ::pread(file, buffer.data(), buffer.size(), static_cast<off_t>(text.size()));
        if (count <= 0) {
            return text;
        }
        text.append(buffer.data(), static_cast<std::size_t>(count));
    }
}

pid_t ChildOf(pid_t parent) {
    const std::string task = "/proc/" + std::to_string(parent) + "/task/" + std::to_string(parent);
    std::ifstream children(task + "/children");
    pid_t child = 0;
    return children >> child ? child : 0;
}

bool Exists(pid_t process) {
    std::ifstream status("/proc/" + std::to_string(process) + "/stat");
    std::string text;
    std::getline(status, text);
    const std::size_t name = text.rfind(')');  // the state follows the name
    return name != std::string::npos && text.compare(name, 4, ") Z ") != 0;
}

std::size_t OpenFilesOf(pid_t process) {
    std::error_code error;
    const fs::directory_iterator files("/proc/" + std::to_string(process) + "/fd", error);
    return error ? 0 : static_cast<std::size_t>(std::distance(begin(files), end(files)));
}

}  // namespace kestrane::process
