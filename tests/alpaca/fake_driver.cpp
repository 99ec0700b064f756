// Stands in for the driver in the tests of the activator: takes over the sockets as the driver does, then does what
// FAKE_DRIVER says:
//   answer   accepts one client, tells it the process id and what it inherited, and ends well
//   stay     the same, but stays until it is ended
//   deaf     the same, and cannot be ended by SIGTERM
//   crash    writes a byte to the file FAKE_DRIVER_FILE and ends with status 3, accepting nobody

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

#include "alpaca/inherited_sockets.h"

int main() {
    const std::string mode = std::getenv("FAKE_DRIVER");
    if (mode == "crash") {
        const int file = ::open(std::getenv("FAKE_DRIVER_FILE"), O_WRONLY | O_APPEND | O_CREAT, 0600);
        return ::write(file, "x", 1) == 1 ? 3 : 4;
    }
    if (mode == "deaf") {
        std::signal(SIGTERM, SIG_IGN);
    }
    const auto sockets = kestrane::alpaca::TakeInheritedSockets(std::getenv, ::getpid());
    if (!sockets) {
        return 5;
    }
    const int client = ::accept(sockets->http.front(), nullptr, nullptr);
    const std::string text = std::to_string(::getpid()) + " " + std::to_string(sockets->http.size()) + " " +
                             std::to_string(sockets->discovery.size()) + " " + std::getenv("KESTRANE_ALLOW_HOSTS") +
                             " " + std::getenv("KESTRANE_HANDBOX") + "\n";
    if (::write(client, text.data(), text.size()) < 0) {
        return 6;
    }
    ::close(client);
    while (mode != "answer") {
        ::pause();
    }
    return 0;
}
