#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <ostream>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "kernel/driver.h"
#include "simulator/mount_simulator.h"
#include "storms/person.h"
#include "storms/stormy_line.h"
#include "support/virtual_platform.h"

namespace kestrane {

/// Virtual time in which two persons, each at a view of all windows, use whatever control they see, beside two clients.
/// The firmware, the settings and all that is done come from the seed. From time to time everybody rests, and all
/// dialogs are closed: then nothing may be left over.
///   - No control of the hand box is disabled that should not be, and a dialog opens with the controls enabled that it
///     had at first.
///   - No flag of the driver says that something is under way; no call still waits. A park that has ended out of
///     tolerance stays under way, which is meant to be so.
///   - `Slewing` and `Tracking` agree with the mount, `AtPark` on firmware with a status text.
/// All the time: two seconds after the last hold of a button of the pad has ended, its stop has gone out.
class PanelHour {
public:
    struct Plan {
        std::uint32_t seed = 1;
        std::int64_t lengthMs = 3'600'000;
        std::ostream* tail = nullptr;  ///< gets what was done, and what went over the line, before anything went wrong
    };

    explicit PanelHour(const Plan& plan);
    ~PanelHour();

    /// What was wrong, one line each.
    std::vector<std::string> Run();

    int Uses() const { return uses_; }    ///< of controls, by persons
    int Holds() const { return holds_; }  ///< of the pad, that moved the mount
    int Rests() const { return rests_; }  ///< after each of which all was looked at

private:
    enum class Phase { Busy, Closing, Settling, Comparing, Opening };

    void Post(CallKind kind, const std::string& name, const std::function<void()>& call);
    void Tick();
    void Act();
    void CallSomething(Telescope& client);
    void Rest();
    void Close();
    void Settle();
    void OpenADialog();
    void LookAtDialog();
    void Look();
    void LookAtControls();
    void LookAtFlags();
    void Compare();
    std::string Disagreement();
    void WatchPad();
    void HideDialogs();
    bool AnyDialogIsOpen() const;
    bool IsQuiet();
    void Wrong(const std::string& text);
    std::uint32_t Below(std::uint32_t limit) { return choice_.Below(limit); }

    Plan plan_;
    Chance line_{0, 0.0};
    Chance choice_;
    VirtualPlatform machine_;
    MountSimulator mount_;
    std::unique_ptr<Driver> driver_;
    std::array<TelescopeObject, 2> clients_;
    FocuserObject focuser_;
    StormyLine* stormy_ = nullptr;  ///< owned by the port
    std::array<std::unique_ptr<Person>, 2> persons_;
    std::unique_ptr<PumpTimer> timer_;
    Phase phase_ = Phase::Busy;
    std::int64_t phaseEnds_ = 0;
    std::int64_t nextAct_ = 0;
    std::int64_t lastHold_ = 0;     ///< when somebody still held a button
    bool padMoves_ = false;         ///< a move went out, and no stop since
    std::string disagreement_;      ///< between the driver and the mount, as they were compared last
    const Form* dialog_ = nullptr;  ///< the one that is opened to be looked at
    std::map<const Form*, std::set<std::string>> firstDisabled_;  ///< at the first opening
    int open_ = 0;                                                ///< calls that were posted and have not ended
    int uses_ = 0;
    int holds_ = 0;
    int rests_ = 0;
    std::vector<std::string> wrong_;
};

}  // namespace kestrane
