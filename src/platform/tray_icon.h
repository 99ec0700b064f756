#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "platform/screen_area.h"

namespace kestrane {

/// The one icon of the driver in the system tray. Logic thread only. Raises nothing.
class TrayIcon {
public:
    virtual ~TrayIcon() = default;

    /// Each says whether it worked.
    virtual bool Add() = 0;
    /// Tells the tray anew what the icon is; fails when the icon is not there.
    virtual bool Modify() = 0;
    /// Also where there is none.
    virtual bool Delete() = 0;

    /// Where the tray and the screen are; nothing on a machine that has no tray of its own.
    struct Place {
        ScreenArea tray;
        ScreenArea screen;
    };
    virtual std::optional<Place> Where() = 0;

    /// `handler` gets the number of each mouse message of the icon: 512 pointer over it, 514 left button up, 515 left
    /// double click, 517 right button up.
    virtual void OnMessage(std::function<void(std::int32_t message)> handler) = 0;
};

}  // namespace kestrane
