#include <chrono>
#include <iostream>
#include <thread>
#include <unistd.h>
#include <vector>

#include "client/client.h"

int main(int argc, char** argv) {
    const std::vector<std::string> words(argv + 1, argv + argc);
    const kestrane::client::Surroundings surroundings{
        std::cout, std::cerr, isatty(STDERR_FILENO) == 1,
        [] { return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count(); },
        [](double seconds) { std::this_thread::sleep_for(std::chrono::duration<double>(seconds)); }};
    return static_cast<int>(kestrane::client::RunClient(words, surroundings));
}
