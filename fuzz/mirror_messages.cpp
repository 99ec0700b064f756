// What a view sends to the windows of the driver, a message a line: whatever it is, the mirror stands, says only whole
// messages, and holds no button once the view has gone. An empty line lets time pass.

#include <memory>
#include <string>
#include <string_view>

#include "forms/held_buttons.h"
#include "forms/windows.h"
#include "platform/pump_engine.h"
#include "support.h"
#include "views/mirror/mirror.h"

namespace {

using namespace kestrane;
using fuzz::Require;
using mirror::Mirror;

/// Time that passes when it is told to.
class HandTime final : public PumpTime, public Clock {
public:
    TimePoint Now() override { return TimePoint(std::chrono::milliseconds(elapsed_)); }
    void SleepUntil(std::optional<TimePoint> end) override {
        if (end) {
            elapsed_ = std::chrono::duration_cast<std::chrono::milliseconds>(end->time_since_epoch()).count();
        }
    }
    void Wake() override {}
    kestrane::Tick GetTickCount() override { return {static_cast<std::int32_t>(elapsed_)}; }
    DateTime GetLocalTime() override { return {2024, 3, 7, 9, 5, 2, 8}; }
    void Sleep(std::int32_t) override {}
    void SleepWithReads(std::int32_t) override {}
    double TimeZoneOffset() override { return 0.0; }
    DateTime DateLocalToUTC(const DateTime& local) override { return local; }
    DateTime DateUTCToLocal(const DateTime& utc) override { return utc; }

private:
    std::int64_t elapsed_ = 1'000;
};

class Page final : public mirror::Transport {
public:
    void Send(std::string message) override {
        Require(message.starts_with(R"({"type":")") && message.ends_with('}'), "a message is one object");
    }
    std::size_t Unsent() const override { return 0; }
    bool IsOpen() const override { return open_; }
    void Close() override { open_ = false; }

private:
    bool open_ = true;
};

/// The windows without their logic, all of them open, and one page that shows them.
class World {
public:
    World() {
        for (Form* form : windows_.All()) {
            form->Show();
        }
        windows_.handBox.btnMove[1].OnMouseDown([this] { ++downs_; });
        windows_.handBox.btnMove[1].OnMouseUp([this] { ++ups_; });
        view_ = mirror_.Open(page_, mirror::May::All);
    }
    ~World() {
        mirror_.Closed(view_);
        PassTime();
        Require(downs_ == ups_, "nothing is held once the view has gone");
    }
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    void Say(std::string_view message) {
        mirror_.Received(view_, message);
        PassTime();
    }
    void PassTime() {
        pump_.RunUntil(time_.Now() + std::chrono::milliseconds(Mirror::kBatchMs));
        mirror_.Tick();
    }

private:
    HandTime time_;
    PumpEngine pump_{time_, [](const std::exception_ptr& fault) { std::rethrow_exception(fault); }};
    Windows windows_{pump_};
    HeldButtons heldButtons_{time_, pump_};
    Mirror mirror_{mirror::MirrorNeeds{.pump = pump_,
                                       .clock = time_,
                                       .windows = windows_,
                                       .heldButtons = heldButtons_,
                                       .stopAll = [] {},
                                       .passOnToIcon = [](std::int32_t) {},
                                       .noteTray = [](const ScreenArea&, const ScreenArea&) {},
                                       .version = "1",
                                       .process = "1"}};
    std::shared_ptr<Page> page_ = std::make_shared<Page>();
    Mirror::ViewId view_ = 0;
    int downs_ = 0;
    int ups_ = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr int kMostLines = 40;
    World world;
    std::string_view rest = fuzz::TextOf(data, size);
    for (int line = 0; line < kMostLines && !rest.empty(); ++line) {
        const std::string_view message = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(rest.size(), message.size() + 1));
        if (message.empty()) {
            world.PassTime();
        } else {
            world.Say(message);
        }
    }
    return 0;
}
