#pragma once

#include <functional>

#include "platform/system_services.h"

namespace kestrane {

/// Message boxes while no view is attached: each is written to standard error as "title: text", passed to the log, and
/// answered with OK at once.
class PosixMessageBoxes final : public MessageBoxes {
public:
    /// Called with each box as "title: text"; may be empty.
    using LogFunction = std::function<void(std::string_view)>;

    explicit PosixMessageBoxes(LogFunction log = {});

    MessageAnswer Show(std::string_view text, std::string_view title, MessageIcon icon) override;
    /// To standard error only.
    void Mention(std::string_view line) override;

private:
    LogFunction log_;
};

}  // namespace kestrane
