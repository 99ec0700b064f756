#pragma once

#include <utility>

#include "platform/tray_icon.h"

namespace kestrane {

/// The tray of a machine that has none of its own: each view shows an icon for a hand box that is in the tray, and
/// passes on what a person does with it. So the icon can always be shown, and a view decides where.
class ViewTrayIcon final : public TrayIcon {
public:
    bool Add() override { return true; }
    bool Modify() override { return true; }
    bool Delete() override { return true; }
    std::optional<Place> Where() override { return place_; }
    void OnMessage(std::function<void(std::int32_t message)> handler) override { handler_ = std::move(handler); }

    /// For views.
    void Tell(std::int32_t message) {
        if (handler_) {
            handler_(message);
        }
    }

    /// A view has its tray there.
    void NotePlace(const Place& place) { place_ = place; }

private:
    std::optional<Place> place_;
    std::function<void(std::int32_t message)> handler_;
};

}  // namespace kestrane
