// Starts the driver for the first client that calls, on systems without another socket activation.

#include <charconv>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

#include "alpaca/activation.h"
#include "views/web/doors.h"

namespace kestrane {
namespace {

constexpr int kExitGood = 0;
constexpr int kExitUsage = 2;

constexpr std::string_view kHelp =
    "Usage: kestrane-activate [OPTION...]\n"
    "Waits for clients and starts the driver, kestrane-driver beside this program, for the first one; when the driver\n"
    "has ended, for the next one. Runs until it is interrupted (Ctrl-C, SIGTERM).\n"
    "\n"
    "  --bind ADDRESS       serve at this IP address (default 127.0.0.1; 0.0.0.0 for the whole network)\n"
    "  --port N             serve at this port (default 11111; 0 for any free one)\n"
    "  --discovery-port N   answer discovery at this port (default 32227; 0 for none)\n"
    "  --allow-host NAME    take requests under this name of the machine too; may be given more than once\n"
    "  --handbox WHO        who may open the hand box in a browser: local, who sits at this machine (the default);\n"
    "                       look, others too, but they can only stop; lan, others may do all; off, nobody\n"
    "  --help               shows this text\n";

struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

std::uint16_t ParsePort(std::string_view option, std::string_view text) {
    std::uint16_t port = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    if (text.empty() || error != std::errc{} || end != text.data() + text.size()) {
        throw UsageError(std::string(option) + " takes a number from 0 to 65535");
    }
    return port;
}

std::string ParseHostName(std::string_view text) {
    if (text.empty() || text.find_first_of(" ,:/[]") != std::string_view::npos) {
        throw UsageError("--allow-host takes a name as clients write it, without a port");
    }
    return std::string(text);
}

std::string ParseHandBox(std::string_view word) {
    if (!web::DoorsOf(word)) {
        throw UsageError("--handbox takes local, look, lan or off");
    }
    return std::string(word);
}

/// Nothing when only the help was asked for.
std::optional<alpaca::ActivationOptions> ParseArguments(int argc, char** argv) {
    alpaca::ActivationOptions options;
    for (int i = 1; i < argc; ++i) {
        const std::string_view option = argv[i];
        if (option == "--help" || option == "-h") {
            return std::nullopt;
        }
        if (option != "--bind" && option != "--port" && option != "--discovery-port" && option != "--allow-host" &&
            option != "--handbox") {
            throw UsageError("there is no option " + std::string(option));
        }
        if (++i == argc) {
            throw UsageError(std::string(option) + " wants a value");
        }
        const std::string_view value = argv[i];
        if (option == "--bind") {
            options.bindAddress = value == "localhost" ? "127.0.0.1" : value;
        } else if (option == "--allow-host") {
            options.allowedHosts.push_back(ParseHostName(value));
        } else if (option == "--handbox") {
            options.handBox = ParseHandBox(value);
        } else if (option == "--port") {
            options.port = ParsePort(option, value);
        } else {
            options.discoveryPort = ParsePort(option, value);
        }
    }
    return options;
}

std::string DriverBesideThis() {
    return (std::filesystem::read_symlink("/proc/self/exe").parent_path() / "kestrane-driver").string();
}

int RunProgram(int argc, char** argv) {
    try {
        std::optional<alpaca::ActivationOptions> options = ParseArguments(argc, argv);
        if (!options) {
            std::fwrite(kHelp.data(), 1, kHelp.size(), stdout);
            return kExitGood;
        }
        options->driverPath = DriverBesideThis();
        return alpaca::RunActivation(*options);
    } catch (const UsageError& error) {
        std::fprintf(stderr, "kestrane-activate: %s\nSee kestrane-activate --help.\n", error.what());
        return kExitUsage;
    }
}

}  // namespace
}  // namespace kestrane

int main(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN);  // a message for a reader that has gone ends nobody
    return kestrane::RunProgram(argc, argv);
}
