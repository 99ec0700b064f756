#pragma once

#include <string_view>

#include "forms/form.h"

namespace kestrane {

/// A view that shows a window to somebody. A test attaches it, and does what the person does.
class Onlooker final : public FormView {
public:
    void Changed(Form&, std::string_view, Property) override {}
};

}  // namespace kestrane
