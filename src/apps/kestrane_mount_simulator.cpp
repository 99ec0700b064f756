// A simulated mount on a pseudo-terminal and over HTTP, to try the driver without hardware.

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <optional>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/signalfd.h>
#include <system_error>
#include <termios.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "apps/local_http_server.h"
#include "platform/posix/posix_clock.h"
#include "simulator/companion.h"
#include "simulator/firmware.h"
#include "simulator/http_adapter.h"
#include "simulator/mount_exchange.h"
#include "simulator/mount_simulator.h"

namespace kestrane {
namespace {

constexpr int kExitGood = 0;
constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;

constexpr int kLongestWaitMs = 60'000;  // the time of the mount must be moved on now and then

constexpr std::string_view kHelp =
    "Usage: kestrane-mount-simulator [OPTION...]\n"
    "Simulates a mount on a pseudo-terminal, whose name is the first line on standard output.\n"
    "Runs until it is interrupted (Ctrl-C, SIGTERM).\n"
    "\n"
    "  --link PATH          makes PATH a symbolic link to the terminal; removed at the end\n"
    "  --firmware NAME      version text: D, E3, EK5, S, U, VKC4-P01-03, VKC4-P02-08 (default), VKC5-P03-01, ...\n"
    "                       D, E3 and EK5 know no custom rates (RR, RD): MoveAxis runs no axis there\n"
    "  --latitude DEGREES   of the site, north positive (default 47)\n"
    "  --longitude DEGREES  of the site, east positive (default 10)\n"
    "  --slew-speed DEG/S   at the mount's slew rate 1200 (default 5)\n"
    "  --acceleration DEG/S2  up to that speed and down again (default 5)\n"
    "  --unparked           starts tracking in the west, not parked\n"
    "  --hour-angle HOURS   where the tube points when it starts unparked, west positive (-12 to 12)\n"
    "  --declination DEG    the same (-90 to 90)\n"
    "  --side east|west     the side of the pier on which the tube then is\n"
    "  --http PORT          its network adapter too, at this port of the machine's own address (0: any free one);\n"
    "                       the address is a second line on standard output\n"
    "  --companion          the companion application in front of the mount: the terminal is its virtual port, and "
    "with\n"
    "                       --http its REST interface takes the place of the adapter\n"
    "  --verbose            logs the line on standard error; with --http or --companion the mount's side of it\n"
    "  --help               shows this text\n";

struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct Arguments {
    MountSimulatorOptions mount;
    std::optional<std::filesystem::path> link;
    std::optional<std::uint16_t> httpPort;
    bool companion = false;
    bool verbose = false;
    bool help = false;
};

double NumberBetween(std::string_view option, std::string_view text, double lowest, double highest) {
    double value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc{} || stop != end || !(value >= lowest && value <= highest)) {
        std::array<char, 64> range{};
        std::snprintf(range.data(), range.size(), "%g to %g", lowest, highest);
        throw UsageError(std::string(option) + " takes a number from " + range.data() + ", not '" + std::string(text) +
                         "'");
    }
    return value;
}

std::uint16_t PortNamed(std::string_view text) {
    std::uint16_t port = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, port);
    if (error != std::errc{} || stop != end) {
        throw UsageError("--http takes a port from 0 to 65535, not '" + std::string(text) + "'");
    }
    return port;
}

std::string FirmwareNamed(std::string_view name) {
    if (!simulator::IsKnownFirmware(name)) {
        throw UsageError("no firmware is called '" + std::string(name) + "'; --help names those there are");
    }
    return std::string(name);
}

/// The start position of the mount; each option that gives a part of it starts the mount unparked.
MountPointing& StartOf(Arguments& arguments) {
    arguments.mount.parkedAtPowerOn = false;
    if (!arguments.mount.start) {
        arguments.mount.start.emplace();
    }
    return *arguments.mount.start;
}

bool IsWest(std::string_view side) {
    if (side != "east" && side != "west") {
        throw UsageError("--side takes east or west, not '" + std::string(side) + "'");
    }
    return side == "west";
}

// clang-format off
struct Option {
    std::string_view name;
    bool takesValue;
    std::function<void(Arguments&, std::string_view)> apply;
};

std::vector<Option> Options() {
    return {
        {"--link",       true,  [](Arguments& a, std::string_view v) { a.link = std::filesystem::path(v); }},
        {"--firmware",   true,  [](Arguments& a, std::string_view v) { a.mount.firmware = FirmwareNamed(v); }},
        {"--latitude",   true,  [](Arguments& a, std::string_view v) { a.mount.latitude = NumberBetween("--latitude", v, -90, 90); }},
        {"--longitude",  true,  [](Arguments& a, std::string_view v) { a.mount.longitudeWest = -NumberBetween("--longitude", v, -180, 360); }},
        {"--slew-speed", true,  [](Arguments& a, std::string_view v) { a.mount.slewSpeed = NumberBetween("--slew-speed", v, 0.01, 1000); }},
        {"--acceleration", true, [](Arguments& a, std::string_view v) { a.mount.slewAcceleration = NumberBetween("--acceleration", v, 0.01, 1000); }},
        {"--unparked",   false, [](Arguments& a, std::string_view)   { a.mount.parkedAtPowerOn = false; }},
        {"--hour-angle", true,  [](Arguments& a, std::string_view v) { StartOf(a).hourAngle = NumberBetween("--hour-angle", v, -12, 12); }},
        {"--declination",true,  [](Arguments& a, std::string_view v) { StartOf(a).declination = NumberBetween("--declination", v, -90, 90); }},
        {"--side",       true,  [](Arguments& a, std::string_view v) { StartOf(a).westSide = IsWest(v); }},
        {"--http",       true,  [](Arguments& a, std::string_view v) { a.httpPort = PortNamed(v); }},
        {"--companion",  false, [](Arguments& a, std::string_view)   { a.companion = true; }},
        {"--verbose",    false, [](Arguments& a, std::string_view)   { a.verbose = true; }},
        {"--help",       false, [](Arguments& a, std::string_view)   { a.help = true; }},
    };
}
// clang-format on

// "--name value" and "--name=value".
Arguments Parse(const std::vector<std::string_view>& words) {
    const std::vector<Option> options = Options();
    Arguments arguments;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::size_t equals = words[i].find('=');
        const std::string_view name = words[i].substr(0, equals);
        const auto option =
            std::find_if(options.begin(), options.end(), [&](const Option& o) { return o.name == name; });
        if (option == options.end()) {
            throw UsageError("unknown option '" + std::string(name) + "'");
        }
        const bool joined = equals != std::string_view::npos;
        if (joined && !option->takesValue) {
            throw UsageError(std::string(name) + " takes no value");
        }
        if (option->takesValue && !joined && i + 1 == words.size()) {
            throw UsageError(std::string(name) + " needs a value");
        }
        const bool next = option->takesValue && !joined;
        option->apply(arguments, joined ? words[i].substr(equals + 1) : next ? words[++i] : std::string_view());
    }
    if (arguments.link && arguments.link->filename().empty()) {
        throw UsageError("--link needs the path of a file");
    }
    return arguments;
}

[[noreturn]] void ThrowSystemError(const std::string& what) {
    throw std::system_error(errno, std::generic_category(), what);
}

class FileDescriptor {
public:
    FileDescriptor(int descriptor, const std::string& what) : descriptor_(descriptor) {
        if (descriptor_ < 0) {
            ThrowSystemError(what);
        }
    }
    ~FileDescriptor() { close(descriptor_); }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    int Get() const { return descriptor_; }

private:
    int descriptor_;
};

/// The mount's end of a raw line. The other end is kept open here too, so that the line does not hang up when a client
/// leaves.
class PseudoTerminal {
public:
    PseudoTerminal()
        : master_(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK), "cannot open a pseudo-terminal"),
          name_(Unlock(master_.Get())),
          slave_(open(name_.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC), "cannot open " + name_) {
        termios mode{};
        if (tcgetattr(slave_.Get(), &mode) != 0) {
            ThrowSystemError("cannot read the mode of " + name_);
        }
        cfmakeraw(&mode);
        if (tcsetattr(slave_.Get(), TCSANOW, &mode) != 0) {
            ThrowSystemError("cannot set the mode of " + name_);
        }
    }

    const std::string& Name() const { return name_; }
    int Descriptor() const { return master_.Get(); }

    /// What has come by now; empty for nothing.
    std::string Read() const {
        std::array<char, 4096> buffer{};
        const ssize_t count = read(master_.Get(), buffer.data(), buffer.size());
        if (count < 0 && errno != EAGAIN && errno != EINTR && errno != EIO) {
            ThrowSystemError("cannot read from " + name_);
        }
        return {buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
    }
    /// What the line has no room for is lost, as on a wire on which nobody listens.
    void Write(std::string_view bytes) const {
        while (!bytes.empty()) {
            const ssize_t count = write(master_.Get(), bytes.data(), bytes.size());
            if (count < 0 && errno == EINTR) {
                continue;
            }
            if (count <= 0) {
                return;
            }
            bytes.remove_prefix(static_cast<std::size_t>(count));
        }
    }

private:
    static std::string Unlock(int master) {
        std::array<char, 128> name{};
        if (grantpt(master) != 0 || unlockpt(master) != 0 || ptsname_r(master, name.data(), name.size()) != 0) {
            ThrowSystemError("cannot unlock the pseudo-terminal");
        }
        return name.data();
    }

    FileDescriptor master_;
    std::string name_;
    FileDescriptor slave_;
};

/// A symbolic link to the terminal that exists as long as this object, if nobody else replaces it.
class TerminalLink {
public:
    TerminalLink(std::filesystem::path path, std::string target) : path_(std::move(path)), target_(std::move(target)) {
        namespace fs = std::filesystem;
        const fs::file_status status = fs::symlink_status(path_);
        if (fs::exists(status) && !fs::is_symlink(status)) {
            throw std::runtime_error(path_.string() + " is in the way: it is no symbolic link");
        }
        const fs::path fresh = path_.string() + "." + std::to_string(getpid());
        std::error_code error;
        fs::create_symlink(target_, fresh, error);
        if (!error) {
            fs::rename(fresh, path_, error);
        }
        if (error) {
            std::error_code ignored;
            fs::remove(fresh, ignored);
            throw std::system_error(error, "cannot make the link " + path_.string());
        }
    }
    ~TerminalLink() {
        std::error_code ignored;
        if (std::filesystem::read_symlink(path_, ignored) == target_) {
            std::filesystem::remove(path_, ignored);
        }
    }
    TerminalLink(const TerminalLink&) = delete;
    TerminalLink& operator=(const TerminalLink&) = delete;

private:
    std::filesystem::path path_;
    std::string target_;
};

void LogBytes(Clock& clock, char direction, std::string_view bytes) {
    std::string text;
    for (const char byte : bytes) {
        std::array<char, 8> escaped{};
        const auto code = static_cast<unsigned>(static_cast<unsigned char>(byte));
        std::snprintf(escaped.data(), escaped.size(), code < 0x20 || code > 0x7e ? "\\x%02x" : "%c", code);
        text += escaped.data();
    }
    const DateTime now = clock.GetLocalTime();
    std::fprintf(stderr, "%02d:%02d:%02d.%03d %c %s\n", now.hour, now.minute, now.second, now.millisecond, direction,
                 text.c_str());
}

/// The signals that end the program, as a descriptor to wait for.
int EndSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        sigaddset(&signals, number);
    }
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    return signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
}

/// Collects what the mount sends up to the end of a reply, so that the log has one line for each reply.
class ReplyLog {
public:
    explicit ReplyLog(Clock& clock) : clock_(clock) {}

    void Add(std::string_view bytes, bool lineIsIdle) {
        gathered_ += bytes;
        if (!gathered_.empty() && (lineIsIdle || gathered_.back() == '#' || gathered_.size() >= 80)) {
            LogBytes(clock_, '<', gathered_);
            gathered_.clear();
        }
    }

private:
    Clock& clock_;
    std::string gathered_;
};

/// The mount and what stands between it and the driver. Over the terminal it is the mount itself, or the companion's
/// virtual port.
class Equipment {
public:
    Equipment(Clock& clock, const Arguments& arguments)
        : clock_(clock),
          verbose_(arguments.verbose),
          logsCommands_(arguments.companion || arguments.httpPort),
          mount_(clock, arguments.mount),
          adapter_(clock, mount_),
          replies_(clock) {
        if (arguments.companion) {
            companion_.emplace(clock, mount_);
        }
        if (arguments.httpPort) {
            server_.emplace(*arguments.httpPort,
                            [this](const LocalHttpServer::Request& request) { return AnswerOf(request); });
        }
    }

    LocalHttpServer* Server() { return server_ ? &*server_ : nullptr; }

    std::int32_t NextLookIn() {
        const auto next = companion_ ? companion_->NextByteIn() : mount_.NextByteIn();
        return std::min(next.value_or(kLongestWaitMs), companion_ ? kCompanionLookMs : kLongestWaitMs);
    }

    void Write(std::string_view bytes) {
        if (verbose_ && !logsCommands_) {
            LogBytes(clock_, '>', bytes);
        }
        companion_ ? companion_->Write(bytes) : mount_.Write(bytes);
        LogCommands();
    }

    std::string Read() {
        std::string bytes = companion_ ? companion_->Read(kMostRead) : mount_.Read(kMostRead);
        LogCommands();
        if (verbose_ && !bytes.empty()) {
            replies_.Add(bytes, companion_ || !mount_.NextByteIn());
        }
        return bytes;
    }

private:
    static constexpr std::size_t kMostRead = 4096;
    static constexpr std::int32_t kCompanionLookMs = 100;  // it follows a park of its own
    static constexpr std::int32_t kLongestAnswerMs = 1000;

    std::optional<LocalHttpServer::Answer> AnswerOf(const LocalHttpServer::Request& request) {
        if (request.isPost != companion_.has_value()) {
            return LocalHttpServer::Answer{.status = 405, .contentType = "text/plain", .body = {}};
        }
        WebAnswer answer = companion_ ? companion_->Post(request.target, request.body, kLongestAnswerMs)
                                      : adapter_.Get(request.target, kLongestAnswerMs);
        LogCommands();
        if (answer.outcome != WebAnswer::Outcome::Reply) {
            return std::nullopt;
        }
        if (verbose_) {
            LogBytes(clock_, '<', answer.body);
        }
        return LocalHttpServer::Answer{.status = answer.status,
                                       .contentType = companion_ ? "application/json" : "text/plain",
                                       .body = std::move(answer.body)};
    }

    void LogCommands() {
        const std::vector<std::string>& commands = mount_.Commands();
        for (; logged_ < commands.size(); ++logged_) {
            if (verbose_ && logsCommands_) {
                LogBytes(clock_, '>', simulator::Framed(commands[logged_]));
            }
        }
    }

    Clock& clock_;
    const bool verbose_;
    const bool logsCommands_;
    MountSimulator mount_;
    HttpAdapter adapter_;
    std::optional<SimulatedCompanion> companion_;
    std::optional<LocalHttpServer> server_;
    ReplyLog replies_;
    std::size_t logged_ = 0;
};

void Serve(const PseudoTerminal& terminal, int endSignals, Equipment& equipment) {
    std::vector<pollfd> waiting;
    for (;;) {
        waiting.assign({{endSignals, POLLIN, 0}, {terminal.Descriptor(), POLLIN, 0}});
        if (LocalHttpServer* server = equipment.Server()) {
            server->AddTo(waiting);
        }
        if (poll(waiting.data(), waiting.size(), equipment.NextLookIn()) < 0 && errno != EINTR) {
            ThrowSystemError("cannot wait for the line");
        }
        if (waiting.front().revents != 0) {
            return;
        }
        if (const std::string bytes = terminal.Read(); !bytes.empty()) {
            equipment.Write(bytes);
        }
        terminal.Write(equipment.Read());
        if (LocalHttpServer* server = equipment.Server()) {
            server->Serve();
        }
    }
}

int Run(const Arguments& arguments) {
    const FileDescriptor endSignals(EndSignals(), "cannot wait for signals");
    const PseudoTerminal terminal;
    std::optional<TerminalLink> link;
    if (arguments.link) {
        link.emplace(*arguments.link, terminal.Name());
    }
    PosixClock clock;
    Equipment equipment(clock, arguments);
    std::printf("%s\n", terminal.Name().c_str());
    if (const LocalHttpServer* server = equipment.Server()) {
        std::printf("127.0.0.1:%d\n", static_cast<int>(server->Port()));
    }
    std::fflush(stdout);
    Serve(terminal, endSignals.Get(), equipment);
    return kExitGood;
}

}  // namespace
}  // namespace kestrane

int main(int count, char** words) {
    try {
        const kestrane::Arguments arguments = kestrane::Parse({words + 1, words + count});
        if (arguments.help) {
            std::fwrite(kestrane::kHelp.data(), 1, kestrane::kHelp.size(), stdout);
            return kestrane::kExitGood;
        }
        return kestrane::Run(arguments);
    } catch (const kestrane::UsageError& error) {
        std::fprintf(stderr, "kestrane-mount-simulator: %s\nTry 'kestrane-mount-simulator --help'.\n", error.what());
        return kestrane::kExitUsage;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "kestrane-mount-simulator: %s\n", error.what());
        return kestrane::kExitFailed;
    }
}
