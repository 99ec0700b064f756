#pragma once

#include <array>
#include <bitset>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "views/mirror/mirror.h"
#include "views/mirror/report.h"

namespace kestrane::mirror {

/// One view: what it knows of the windows, and what its person does. Logic thread only.
class MirrorView final : public FormView, public std::enable_shared_from_this<MirrorView> {
public:
    /// `needs` outlives it.
    MirrorView(const MirrorNeeds& needs, Mirror::ViewId id, std::shared_ptr<Transport> transport, May may, Keeps keeps);
    ~MirrorView() override;

    Mirror::ViewId Id() const { return id_; }
    bool IsOpen() const { return transport_->IsOpen(); }
    bool KeepsDriver() const { return keeps_ == Keeps::Driver; }

    void Begin();
    void Received(std::string_view message);
    /// Sends what is due; closes a view that takes nothing.
    void Tick();
    /// Attached no more; releases what it holds.
    void End();
    void SayEnd(EndReason reason);

    void Changed(Form& form, std::string_view control, Property property) override;
    void HoldEnded() override;
    bool MayAnswer() const override { return may_ == May::All; }

private:
    using Properties = std::bitset<static_cast<std::size_t>(Property::Placed) + 1>;
    /// What has changed in a window; null stands for the window itself.
    using Changes = std::map<const Control*, Properties>;
    struct Hold {
        std::uint64_t number = 0;
        Button* button = nullptr;
        kestrane::Tick lastBeat;
        bool pressed = false;  ///< it has had its turn
    };
    struct ShownWindow {
        const Form* form = nullptr;
        std::uint64_t opening = 0;
        bool operator==(const ShownWindow&) const = default;
    };
    struct Stream {
        const RichTextBox* box = nullptr;
        std::uint64_t next = 1;
    };

    bool IsAlwaysThere(const Form& form) const;
    bool IsShown(const Form& form) const;
    std::uint64_t OpeningOf(const Form& form) const;
    bool Jams();
    void SendSnapshot();
    void SendChanges();
    void AppendChanges(const Form& form, std::string& changes);
    void SendLines();
    void SendBeat();
    void SendReleased(std::uint64_t hold);

    void Perform(const Report& report);
    void Answer(const Report& report, std::string_view refusal);
    void SendRefusal(std::uint64_t id, std::string_view why);
    std::string WhyNot(const Report& report);
    bool IsFresh(std::uint64_t beat) const;
    void Post(CallKind kind, const Report& report, std::function<std::string()> act);
    void Use(const Report& report);
    void BeginHold(const Report& report);
    std::string PressHeld(std::uint64_t number);
    void EndHold();
    void CloseWindow(const Report& report);
    void NotePlace(const Report& report);
    void WantLines(const Report& report);

    Form* FindForm(const Report& report) const;
    Control* FindControl(const Report& report) const;

    const MirrorNeeds& needs_;
    Mirror::ViewId id_;
    std::shared_ptr<Transport> transport_;
    May may_;
    Keeps keeps_;
    bool attached_ = false;

    bool wantsSnapshot_ = true;
    std::map<const Form*, Changes> changes_;
    std::vector<ShownWindow> shown_;  ///< the windows that the view has
    std::vector<Stream> streams_;
    std::optional<kestrane::Tick> jamsSince_;

    std::uint64_t beat_ = 0;
    std::array<kestrane::Tick, 8> beatSent_{};  ///< of the newest beats, by their number
    kestrane::Tick beatSentLast_;
    std::optional<Hold> hold_;
    std::uint64_t lastHold_ = 0;
    int badReports_ = 0;
};

}  // namespace kestrane::mirror
