#pragma once

#include <string>
#include <utility>
#include <vector>

#include "platform/tray_icon.h"

namespace kestrane {

/// A tray that records what is asked of it, and fails when a test wants that.
class RecordingTrayIcon final : public TrayIcon {
public:
    std::vector<std::string> calls;
    bool works = true;
    bool there = false;
    std::optional<Place> place;

    bool Add() override { return Note("add", works, true); }
    bool Modify() override { return Note("modify", works && there, there); }
    bool Delete() override { return Note("delete", there, false); }
    std::optional<Place> Where() override { return place; }
    void OnMessage(std::function<void(std::int32_t message)> handler) override { handler_ = std::move(handler); }

    /// What a person does with the icon.
    void Tell(std::int32_t message) { handler_(message); }

private:
    bool Note(std::string call, bool worked, bool nowThere) {
        calls.push_back(worked ? std::move(call) : call + " fails");
        there = worked ? nowThere : there;
        return worked;
    }

    std::function<void(std::int32_t message)> handler_;
};

}  // namespace kestrane
