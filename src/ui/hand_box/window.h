#pragma once

#include "ui/hand_box/hand_box_needs.h"

namespace kestrane {

/// The place of the hand box's window, whether it is shown or in the tray, and the words that help with its controls.
/// Logic thread only.
class HandBoxWindow {
public:
    explicit HandBoxWindow(const HandBoxNeeds& needs);

    /// Reads where the window was, and sets what the controls tell about themselves.
    void Load();

    /// See `HandBoxDisplay`.
    void UserShow();

private:
    void RestorePosition();
    void OnMoved(const ScreenArea& area);
    void SavePosition();

    const HandBoxNeeds& needs_;
    Essentials driver_;
};

}  // namespace kestrane
