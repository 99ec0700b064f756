#include "telescope/telescope.h"

namespace kestrane {

std::string Telescope::ExecuteDriverCommand(std::string_view command) {
    return "0,Unknown Command: " + std::string(command);
}

}  // namespace kestrane
