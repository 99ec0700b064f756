#include <chrono>
#include <csignal>
#include <iostream>
#include <thread>
#include <unistd.h>
#include <vector>

#include "client/client.h"

namespace {

volatile std::sig_atomic_t interrupted = 0;

/// The first Ctrl-C is only noted, the second one ends the program as usual.
void WatchInterrupts() {
    struct sigaction action = {};
    action.sa_handler = [](int) { interrupted = 1; };
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
    sigaction(SIGINT, &action, nullptr);
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> words(argv + 1, argv + argc);
    const kestrane::client::Surroundings surroundings{
        std::cout,
        std::cerr,
        isatty(STDERR_FILENO) == 1,
        [] { return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count(); },
        [](double seconds) { std::this_thread::sleep_for(std::chrono::duration<double>(seconds)); },
        WatchInterrupts,
        [] { return interrupted != 0; }};
    return static_cast<int>(kestrane::client::RunClient(words, surroundings));
}
