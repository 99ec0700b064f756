#include "state/controller_features.h"

namespace kestrane {

void ControllerFeatures::Apply(Controller_Type controller, int /*major*/, int /*minor*/) {
    needs_.mount.ControllerType = controller;
}

}  // namespace kestrane
