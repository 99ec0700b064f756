#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/clock.h"
#include "simulator/misbehaviours.h"
#include "simulator/mount_simulator.h"
#include "simulator/serial_line.h"
#include "simulator/web_answer.h"

namespace kestrane {

/// The companion application in front of a simulated mount, with the bytes of a virtual serial port and a REST
/// interface; one of the two roads at a time. What it does not know goes through to the mount, and the mount's bytes go
/// back. A wrapped command gets a wrapped reply:
///
///     :QUAY,<number>,<command>#     QUAY,<command up to its first comma>,<number>,<result>#
///
/// A second "#" after a wrapped command is one of its own, to the mount. Of commands of its own without the wrap,
/// ":QUAY#" is answered "1" and ":ZZ00,n#" not at all, others by their result and "#".
///
///     *SLEW,<hours>,<degrees>         "1" when the mount has taken it; "0" else
///     *SLEWALTAZ,<altitude>,<azimuth>   the same, degrees
///     *PARK,0                         parks where it stands
///     *PARK,1 to *PARK,5              a slew to a fixed place, and "KA" when the mount is there
///     *PARKALTAZ,<altitude>,<azimuth>   the same for any place
///     *DISABLESAFESLEW,0 or 1         "1"
///     *DOESREFRACTION                 "1,1" or "1,0"
///     *TIMESYNC, or *TIMESYNC,1       sets the mount to the clock: "11", or "00"; *TIMESYNC,0 only gives "11"
///     ZZ00,<text>                     pointing correction
///     ZZ01, ZZ02, with ",0" or ",1"   correction of pointing, of the tracking rate: "1" on, "0" off
///
/// Stops ("Q", "Qe", ...) overtake all else. A stop of all motion and any goto end a park of its own, and a slew or
/// park that it still plans. One thread; the mount outlives it.
class SimulatedCompanion {
public:
    enum class Fault {
        None,
        Silent,   ///< does everything and answers nothing
        Foreign,  ///< wrapped commands get their result without a head
        Gone,     ///< has ended: the port hears nothing, REST takes no connection; what it was doing is forgotten
    };

    SimulatedCompanion(Clock& clock, MountSimulator& mount) : clock_(clock), mount_(mount) {}

    // The virtual port, as `MountSimulator` has it.
    void Write(std::string_view bytes);
    std::string Read(std::size_t maxCount);
    std::optional<std::int32_t> NextByteIn();

    /// The REST interface: a POST to "/api/mount/sendcmd" with `{"Command": "..."}` gets
    /// `{"ResponseString": "...", "Result": "...", "Success": true}`. Sleeps in the clock until the mount's line is
    /// quiet, at most `limitMs`; what comes later is at the head of the next answer.
    WebAnswer Post(std::string_view target, std::string_view body, std::int32_t limitMs);

    /// Goes through the time since the last call of any member; for parks while nobody asks it.
    void Advance();

    /// Until another one is set; `None` also brings a companion back.
    void SetFault(Fault fault);
    /// The next wrapped replies bear a number so much lower than that of their command. With a lag above 0 they hold
    /// what the reply before held, and the right one may follow them, as after a reply that was held up.
    void SetLag(int lag, int times = kEveryTime, bool rightOneFollows = false);

    bool doesRefraction = false;
    bool pointingCorrection = false;
    bool trackingCorrection = false;
    std::string pointingText;  ///< of the last "ZZ00,"
    bool safeSlewDisabled = false;
    /// From the answer to a slew or park until the mount hears of it. The answer is "1" then, whatever the mount says.
    std::int32_t beforeGotoMs = 0;
    std::int32_t beforeParkedMs = 0;  ///< from where the mount stands at its park until the companion parks it

    /// Every command so far, without frame, with its wrap: "QUAY,7,GR".
    const std::vector<std::string>& Commands() const { return commands_; }
    int TimeSyncs() const { return timeSyncs_; }
    /// Is on its way to a park of its own.
    bool Parking() const { return parking_; }

private:
    /// What it has to say to the mount, and how the mount's answer must end.
    struct Step {
        std::string bytes;
        std::string wanted;
    };
    /// A command with a number, or one of its own, while it is carried out.
    struct Work {
        std::string echo;
        std::optional<std::string> number{};
        bool passesThrough = false;  ///< the result is what the mount says
        std::deque<Step> steps{};    ///< the first one has been said
        bool parksAfter = false;
        std::string good{};      ///< result when each step had its answer
        std::string bad = "0";   ///< result else
        std::string end = "#";   ///< of a result without a number
        bool isAnswered = true;  ///< also without a number
        std::string heard{};     ///< from the mount, since the last step
        Tick since{};            ///< of what is planned: the answer
    };

    void Take(const std::string& command);
    void TellMount(std::string_view command);
    void Begin(std::string_view body, const std::optional<std::string>& number);
    void CarryOut(std::string_view body, Work& work);
    void Slew(std::string_view coordinates, Work& work);
    void SlewAltAz(std::optional<std::pair<double, double>> place, Work& work);
    void Park(std::string_view number, Work& work);
    void TimeSync(std::string_view argument, Work& work);
    void Plan(Work& work);
    void BeginPlanned();
    void SaySteps();
    void GoOn();
    void Finish(const std::string& result);
    void Answer(const Work& work, const std::string& result);
    void FollowPark();
    bool IsBusy();

    Clock& clock_;
    MountSimulator& mount_;
    Fault fault_ = Fault::None;
    int lag_ = 0;
    int lagTimes_ = 0;
    bool rightOneFollows_ = false;
    simulator::CommandParser parser_;
    std::deque<std::string> waiting_;
    std::optional<Work> work_;
    std::optional<Work> planned_;  ///< a slew or park that has been answered
    std::string out_;
    std::string echoBefore_;
    std::string resultBefore_;
    bool parking_ = false;
    Tick movedAt_;  ///< when the mount moved last on its way to a park, or no park was under way
    int timeSyncs_ = 0;
    std::vector<std::string> commands_;
};

}  // namespace kestrane
