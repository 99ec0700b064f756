#include "telescope/mount/init_verb.h"

#include <string>

#include "catalogue/vocabulary.h"

namespace kestrane {

void InitVerb::InitMount(std::string_view initString) {
    Talk(procedure::DriverVerb).DriverCommandInternal(std::string(kInitMountVerb) + "," + std::string(initString));
}

}  // namespace kestrane
