#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "forms/controls.h"
#include "platform/clock.h"
#include "platform/message_pump.h"

namespace kestrane {

/// Buttons that act as long as a person holds them. They are a dead man's switch: a button is released as soon as the
/// view that holds it says so, shows nothing of itself for a second, or goes away. One button is held at a time, in all
/// windows and views together. Logic thread only.
class HeldButtons {
public:
    /// How long a view may be silent. It should call `StillHolds` at least four times in this time.
    static constexpr std::int32_t kLongestSilenceMs = 1000;

    HeldButtons(Clock& clock, MessagePump& pump);

    /// The person at `view` holds `button` down from now on. Whatever was held before, by any view, is released first.
    /// A button that is not enabled is not held. To be posted as a press, that of the pad's middle as a stop. A press
    /// that a stop has overtaken, which may be its own release, is none: its button only hears that it is let go of.
    /// Returns whether the button is held now.
    bool Press(VisibleControl& button, FormView& view);
    /// The view shows that it is there and that its person holds the button still.
    void StillHolds(FormView& view);
    /// The person at `view` has let go, or the view goes away: what it holds is released. It is a stop: to be posted as
    /// one.
    void Release(FormView& view);
    /// Releases what anybody holds.
    void ReleaseAll();

private:
    struct Hold {
        VisibleControl& button;
        FormView& view;
        Tick lastSeen;
    };

    void OnTick();

    Clock& clock_;
    MessagePump& pump_;
    std::optional<Hold> hold_;
    std::unique_ptr<PumpTimer> timer_;
};

}  // namespace kestrane
