#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>

#include "behaviour/night.h"

/// record_behaviour FIRST END FOLDER: writes the records of the nights from FIRST up to below END, each into a file of
/// its number.
int main(int count, char** arguments) {
    if (count != 4) {
        std::cerr << "usage: record_behaviour FIRST END FOLDER\n";
        return 2;
    }
    const auto first = static_cast<std::uint32_t>(std::strtoul(arguments[1], nullptr, 10));
    const auto end = static_cast<std::uint32_t>(std::strtoul(arguments[2], nullptr, 10));
    const std::string folder = arguments[3];
    for (std::uint32_t night = first; night < end; ++night) {
        std::ofstream file(folder + "/" + std::to_string(night), std::ios::binary);
        file << kestrane::Night(night).Run();
        file.close();
        if (!file) {
            std::cerr << "night " << night << " could not be written to " << folder << '\n';
            return 1;
        }
    }
    return 0;
}
