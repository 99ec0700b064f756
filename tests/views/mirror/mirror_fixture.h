#pragma once

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support/driver_fixture.h"
#include "views/mirror/mirror.h"

namespace kestrane::mirror {

using Texts = std::vector<std::string>;

/// A view without a network: keeps what it gets.
class FakeTransport final : public Transport {
public:
    void Send(std::string message) override {
        if (message.starts_with(R"({"type":"beat")")) {
            newestBeat = std::stoull(message.substr(message.find_last_of(':') + 1));
            ++beats;
        } else {
            got.push_back(std::move(message));
        }
    }
    std::size_t Unsent() const override { return unsent; }
    bool IsOpen() const override { return open; }
    void Close() override { open = false; }

    /// What came since the last call, but for beats.
    Texts Take() { return std::exchange(got, {}); }

    Texts got;
    std::size_t unsent = 0;
    bool open = true;
    std::uint64_t newestBeat = 0;
    int beats = 0;
};

inline bool Has(const std::string& text, std::string_view part) {
    return text.find(part) != std::string::npos;
}

class MirrorTest : public DriverFixture {
protected:
    void SetUp() override {
        Start();
        HandBox().Show();
        mirror = std::make_unique<Mirror>(MirrorNeeds{
            .pump = machine.pump,
            .clock = machine.clock,
            .windows = driver->windows,
            .heldButtons = driver->heldButtons,
            .stopAll = [this] { driver->statusPanel.AskToStop(); },
            .passOnToIcon = [this](std::int32_t message) { iconMessages.push_back(message); },
            .noteTray =
                [this](const ScreenArea& tray, const ScreenArea& screen) {
                    trayAt = {tray, screen};
                },
            .version = "1.2",
            .process = "p",
        });
        ticks = machine.pump.CreateTimer([this] { mirror->Tick(); });
        ticks->SetInterval(Mirror::kBatchMs);
        ticks->SetEnabled(true);
    }
    void TearDown() override {
        ticks.reset();
        mirror.reset();
        DriverFixture::TearDown();
    }

    frmHandBox& HandBox() { return driver->handBox; }

    Mirror::ViewId Open(May may = May::All) { return mirror->Open(view, may); }

    /// Sends a report that quotes the newest beat; what its handler posts has run when this returns.
    void Report(std::string members) {
        members += R"(,"beat":)" + std::to_string(view->newestBeat) + "}";
        mirror->Received(id, "{" + members);
        machine.AdvanceTime(0);
    }
    std::string On(std::string_view deed, std::string_view form, std::string_view control) const {
        return R"("do":")" + std::string(deed) + R"(","form":")" + std::string(form) + R"(","opening":)" +
               OpeningOf(form) + R"(,"control":")" + std::string(control) + R"(","id":7)";
    }
    /// The newest one.
    std::string OpeningOf(std::string_view name) const {
        const auto all = driver->windows.All();
        const auto form = std::ranges::find_if(all, [name](const Form* each) { return each->Name() == name; });
        const bool isAlwaysThere = form == all.end() || *form == &driver->handBox || *form == &driver->windows.sky;
        return isAlwaysThere ? "0" : std::to_string((*form)->Openings());
    }
    std::string OnHandBox(std::string_view deed, std::string_view control) const {
        return On(deed, "frmHandBox", control);
    }
    std::string AnswerTo(const std::string& members) {
        view->Take();
        Report(members);
        const Texts answers = view->Take();
        const auto found = std::ranges::find_if(answers, [](const std::string& text) { return Has(text, R"("id":)"); });
        return found == answers.end() ? "" : *found;
    }

    std::shared_ptr<FakeTransport> view = std::make_shared<FakeTransport>();
    std::unique_ptr<Mirror> mirror;
    std::unique_ptr<PumpTimer> ticks;
    std::vector<std::int32_t> iconMessages;
    std::pair<ScreenArea, ScreenArea> trayAt;
    Mirror::ViewId id = 1;
};

inline const std::string kHeard = R"({"type":"heard","id":7})";

inline std::string Refused(std::string_view why) {
    return R"({"type":"refused","id":7,"why":")" + std::string(why) + R"("})";
}

}  // namespace kestrane::mirror
