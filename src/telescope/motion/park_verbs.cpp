#include "telescope/motion/park_verbs.h"

#include <string>

#include "catalogue/vocabulary.h"

namespace kestrane {

void ParkVerbs::Park(std::int16_t index) {
    Talk(procedure::DriverVerb).DriverCommandInternal(std::string(kParkVerb) + "," + std::to_string(index));
}

void ParkVerbs::Unpark(std::int16_t index) {
    Talk(procedure::DriverVerb).DriverCommandInternal(std::string(kUnparkVerb) + "," + std::to_string(index));
}

}  // namespace kestrane
