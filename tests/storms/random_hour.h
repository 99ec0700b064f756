#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "kernel/driver.h"
#include "simulator/mount_simulator.h"
#include "storms/stormy_line.h"
#include "support/virtual_platform.h"

namespace kestrane {

/// Virtual time in which three clients and a person at the hand box call whatever there is in whatever order, on a line
/// with faults. The firmware, the settings and all calls come from the seed. From time to time somebody stops
/// everything, or all keep quiet: then what the driver says is compared with the mount.
///
/// What may differ, because it is meant to be so:
///   - a mount at the park position 0 is parked without "Parked" in the settings;
///   - a parked mount whose tracking is turned on, also by an unpark of index 7, leaves its park, and "Parked" stays in
///     the settings; one that its firmware parks goes on when `MoveAxis` takes it over, and "UnParked" stays there;
///   - a mount without a position counts as parked;
///   - a sync or an unpark whose position the mount refuses leaves the poll off the line, and the picture as it was;
///   - a status text shows that the line has lost the last command of a park: `AtPark` falls, and "Parked" stays in the
///     settings, which such firmware does not ask for;
///   - a parked mount that has not heard that it is to leave for another park place stays parked, and "UnParked" in the
///     settings;
///   - without a status text a slew ends once the distance to its target stays the same, which near the pole it does
///     while the hour axis still turns;
///   - a park that has ended out of tolerance stays under way: the mount stands, and `Slewing` is False;
///   - a pulse that stops the mount ends one on the other axis as well, whose flag stays up to its time;
///   - `MoveAxis` takes the mount over from a slew without stopping it: the slew goes on unseen on the other axis, or
///     on both where the axis ends at once;
///   - without a status text nobody hears that a command to track or to park was lost, and a mount whose position is
///     read twice counts as not parked;
///   - a move by text or an axis goes on where the line has lost its stop and no status text shows the motion;
///   - what a fault of the line has made of a command is not the driver's doing.
class RandomHour {
public:
    struct Plan {
        std::uint32_t seed = 1;
        double probability = 0.005;  ///< of a fault, for each command and each reply, 0 to 1
        std::int64_t lengthMs = 3'600'000;
        std::ostream* tail = nullptr;  ///< gets what last went over the line before anything went wrong
    };

    explicit RandomHour(const Plan& plan);
    ~RandomHour();

    /// What was wrong, one line each.
    std::vector<std::string> Run();

    int Calls() const { return calls_; }
    int Stops() const { return stops_; }
    int Parks() const { return parks_; }  ///< found parked when all kept quiet

private:
    struct Call {
        int weight;
        std::string_view name;
        CallKind kind;
        std::function<void(Telescope& client)> make;
    };

    std::vector<Call> Calls(bool customRates);
    std::uint32_t Below(std::uint32_t limit) { return choice_.Below(limit); }
    template <class T>
    T OneOf(std::initializer_list<T> values) {
        return values.begin()[Below(static_cast<std::uint32_t>(values.size()))];
    }
    void MoveAxis(Telescope& client, double rate);
    void Park(Telescope& client);
    void Track(const std::function<void()>& turnOn);
    double SomeRa();
    double SomeDec() { return -10.0 + Below(90); }
    std::string Verb(std::string_view verb, int argument);
    void Press(std::string_view button);
    /// Posts a call as it would come from the network.
    void Post(const Call& call, std::size_t client);
    void Pass(std::int64_t milliseconds);
    void DoSomething();
    bool AllHaveBegun();
    void StopEverything();
    void CheckStopped();
    void CheckQuiet();
    /// What does not agree now; empty when all agrees.
    std::string Disagreement();
    void CheckSettings();
    bool Stands(const MountPicture& picture) const;
    bool MayBeForged();
    void Wrong(const std::string& text);

    Plan plan_;
    Chance line_;
    Chance choice_;
    bool customRates_;  ///< the clients write these, and send no pulses, which could not be told from them
    bool counterweightUpPark_;
    VirtualPlatform machine_;
    MountSimulator mount_;
    std::vector<Call> table_;
    std::unique_ptr<Driver> driver_;
    std::array<TelescopeObject, 3> clients_;
    FocuserObject focuser_;
    StormyLine* stormy_ = nullptr;  ///< owned by the port
    MountPicture first_;
    std::int64_t forgedAt_ = -3'600'000;
    std::int64_t pulsesEndAt_ = 0;
    bool parkLeft_ = false;      ///< by other means than an unpark
    bool leaveUnheard_ = false;  ///< a parked mount was sent to another park place, and stayed
    bool stopLost_ = false;      ///< of a motion that still goes on
    bool takenOver_ = false;     ///< a slew that still runs, by `MoveAxis`
    int posted_ = 0;
    int begun_ = 0;
    int calls_ = 0;
    int stops_ = 0;
    int parks_ = 0;
    std::vector<std::string> wrong_;
};

}  // namespace kestrane
