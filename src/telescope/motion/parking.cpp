#include "catalogue/vocabulary.h"
#include "catalogue/wire_commands.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "settings/park_settings.h"
#include "telescope/motion/park_end.h"
#include "telescope/motion/park_geometry.h"
#include "telescope/motion/park_goto.h"
#include "telescope/motion/park_moves.h"
#include "telescope/motion/park_tracking.h"
#include "telescope/mount/mount_time.h"
#include "telescope/telescope.h"

/// The road of a park up to where the mount is on its way: from there on the supervision watches it.
namespace kestrane {
namespace {

constexpr std::int32_t kCompanionRoundMs = 20;
constexpr std::int32_t kCompanionBeginsMs = 2000;
constexpr std::int32_t kCompanionAskedMs = 1000;
constexpr std::int32_t kCompanionLongestMs = 300'000;

/// Whether the firmware knows positions to which it goes by itself.
bool HasFirmwareParkPositions(const DriverState& state) {
    return state.g_bRev160;
}

bool IsFixedPlace(std::int16_t index) {
    return index >= park_index::FirstFixed && index <= park_index::LastFixed;
}

class ParkSteps : TelescopeSteps {
public:
    explicit ParkSteps(Telescope& telescope)
        : TelescopeSteps(telescope), stops_(needs_.door.Stops()), isAnotherTry_(state_.g_bParking) {}

    bool MayBegin(std::int16_t& index);
    void NoteStart(std::int16_t index);
    void Run(std::int16_t index);

private:
    template <typename Steps>
    bool UntilAborted(Steps&& steps) {
        return !Aborted() && core_.UntilStopped(procedure::Park, std::forward<Steps>(steps)) && !Aborted();
    }
    bool Aborted() const { return state_.g_bAbortPark || needs_.door.Stops() != stops_; }
    void EndAborted();
    /// Whether somebody has taken the mount from this park, or another park its place.
    bool IsTaken() const { return !state_.g_bParking || needs_.poll.ParkNumber() != park_; }

    void Prepare(Sequence& mount);
    bool GoTo(std::int16_t index);
    bool GoByDriver(std::int16_t index);
    bool DelayIsPossible();
    void ReadLatitude();
    void ParkHere(Sequence& mount);
    void SendFirmwarePark(Sequence& mount, std::int16_t index);
    void AskWhereItStands();
    void NoteUnderWay(GotoBy by, const HorizonPlace& place, PollLoop::MarkedEnd end);
    bool CompanionParks(std::int16_t index);
    bool GoByCompanion(std::int16_t index);
    bool SendCompanionPark(Sequence& mount, std::int16_t index);
    bool SendCompanionParkAltAz(Sequence& mount);
    std::string AngleForCompanion(const SettingKey& key);
    void AwaitCompanion();
    void AskForAll();

    const std::uint32_t stops_;
    const bool isAnotherTry_;  ///< a park was under way already
    bool isAsync_ = false;
    std::uint32_t park_ = 0;  ///< its number
    double latitude_ = 0.0;   ///< degrees
};

}  // namespace

void Telescope::Park() {
    driver_.log.LogMessage("ASCOM", LogLevel::Info, "Park()");
    if (!state_.g_bParked) {
        ParkMount(park_index::FromSettings);
    }
}

void Telescope::ParkMount(std::int16_t index) {
    state_.g_bPollSuspended = false;  // a refused sync may have left the poll off the line
    CheckConnected();
    ParkSteps steps(*this);
    if (!steps.MayBegin(index) || !needs_.door.Permit("ParkMount")) {
        return;
    }
    driver_.log.LogMessage("Telescope", LogLevel::Info, "Park started...");
    needs_.motion.ParkAskedFor();
    steps.NoteStart(index);
    if (!ParkMoves(*this).CheckSlewEast()) {
        driver_.log.LogMessage("Telescope", LogLevel::Info, "Park aborted in Slew East operation");
        return;
    }
    steps.Run(index);
}

/// Puts the position of the settings in the place of -1.
bool ParkSteps::MayBegin(std::int16_t& index) {
    if (InParkMove(state_)) {
        driver_.log.LogMessage("Telescope", LogLevel::Error, "A park is under way already: this one does not begin");
        return false;
    }
    if (index == park_index::FromSettings) {
        index = StoredParkIndex(driver_.persist, driver_.log);
    }
    const bool exists = index >= park_index::Current && index <= park_index::User;
    if (!exists) {
        driver_.log.LogMessage("Telescope", LogLevel::Error, "There is no park position " + std::to_string(index));
    }
    return exists;
}

/// The mount does not track during a park: another try must not take that for the state from before. It may also have
/// a delay to take back.
void ParkSteps::NoteStart(std::int16_t index) {
    if (!isAnotherTry_) {
        state_.g_bSavedTracking = state_.g_bTracking;
        state_.g_nParkIndex = index;
    }
}

void ParkSteps::Run(std::int16_t index) {
    const SendingParkLeg sending(core_);
    const bool goesOn = UntilAborted([&](Sequence& mount) { Prepare(mount); }) && GoTo(index);
    if (!goesOn) {
        EndAborted();
    }
}

/// Whatever has taken the mount from the park has ended it already. A mount that has not left an earlier park, or that
/// is parked by now, stays parked.
void ParkSteps::EndAborted() {
    if (state_.g_bParked) {
        needs_.motion.ParkEnds();
    } else if (InPark(state_)) {
        needs_.motion.ParkBegins();
        needs_.motion.ParkAborted();
        telescope_.HandleParkComplete();
    }
}

void ParkSteps::Prepare(Sequence& mount) {
    ResumeNext errors{driver_.ledger, "ParkMount"};
    errors.Step([&] { MountTime(telescope_).SendAfresh(); });
    mount.CommandClearInternal();
    mount.CommandBlindInternal(wire::Stop);
    if (!isAnotherTry_) {
        state_.g_bSavedTracking = telescope_.Tracking();
    }
    needs_.channel.EnableSafeSlewIfOwed();
    needs_.channel.ParkBegins();
    needs_.motion.ParkTakesOver();
    park_ = needs_.poll.BeginPark();
    ParkTracking(telescope_).Stop();
    needs_.motion.MountReportsParked(false);  // not before: a stop may have got in ahead of what takes it from its park
    core_.NoteLeavesPark();
    state_.g_bTracking = false;
    needs_.queries.QueryGos();
    // The time that was just set may have moved the sidereal time, and the position with it.
    needs_.queries.QueryLst();
    needs_.queries.QueryRa();
    needs_.queries.QuerySideOfMount();
    mount.LetStopIn();
    needs_.motion.ParkBegins();
    needs_.panel.SetParkStatus("Parking", "ParkMount");
}

/// False when the park was aborted.
bool ParkSteps::GoTo(std::int16_t index) {
    state_.g_nParkIndex = state_.g_nParkStarted = index;
    isAsync_ = driver_.persist.Read(setting::chkAsyncPark) != "0";
    driver_.log.LogMessage(
        "Telescope", LogLevel::Info,
        "Parking to index " + std::to_string(index) + ", Async = " + std::string(TrueFalse(isAsync_)));
    state_.g_bCwUpPark = driver_.persist.ReadFlag(setting::CounterWeightsUpPark);
    if (index != park_index::Current && driver_.persist.Read(setting::ParkStatus) == "Parked") {
        // It leaves an earlier park. A driver that is killed on the way must not leave a mount that is moving as
        // parked.
        driver_.persist.Write(setting::ParkStatus, "UnParked");
    }
    if (CompanionParks(index)) {
        return GoByCompanion(index);
    }
    if (!UntilAborted([&](Sequence&) { ReadLatitude(); })) {
        return false;
    }
    if (index == park_index::Current) {
        return UntilAborted([&](Sequence& mount) { ParkHere(mount); });
    }
    if (IsFixedPlace(index) && HasFirmwareParkPositions(state_)) {
        return UntilAborted([&](Sequence& mount) { SendFirmwarePark(mount, index); });
    }
    return GoByDriver(index);
}

bool ParkSteps::GoByDriver(std::int16_t index) {
    if (index == park_index::User && state_.g_bCwUpPark && !DelayIsPossible()) {
        ParkEnd(telescope_).Fail(kNoDelayForCounterweightUp);
        return true;
    }
    ParkMoves(telescope_).LeaveCounterweightUp();
    if (IsTaken()) {
        return true;  // the park is cancelled
    }
    bool accepted = false;
    const bool goesOn = UntilAborted([&](Sequence&) { accepted = ParkGoto(telescope_, latitude_).Send(index); });
    if (goesOn && !accepted) {
        ParkEnd(telescope_).Fail(kParkGotoRefused);
    }
    return goesOn;
}

bool ParkSteps::DelayIsPossible() {
    const CounterweightUpPlace place = ReadCounterweightUpPlace(driver_);
    return IsPossibleMeridianDelay(CounterweightUpDelay(place.hourAngle, place.timeOffset));
}

/// The last one counts where the mount does not tell it.
void ParkSteps::ReadLatitude() {
    ResumeNext errors{driver_.ledger, "ParkMount"};
    latitude_ = state_.g_dSiteLatitude;
    errors.Assign(latitude_, [&] { return telescope_.SiteLatitude(); });
}

/// Intentional: the setting `ParkStatus` does not hear of this park.
void ParkSteps::ParkHere(Sequence& mount) {
    driver_.log.LogMessage("Telescope", LogLevel::Info, "Sending CommandBlind KA");
    mount.CommandBlind(wire::Park);
    needs_.motion.MountReportsParked(true);
    needs_.motion.ParkEnds();
    needs_.axisMotions.ForgetAll(state_);
    needs_.panel.SetParkStatus("Parked", "Park0");
}

void ParkSteps::SendFirmwarePark(Sequence& mount, std::int16_t index) {
    const HorizonPlace place = ParkGoto(telescope_, latitude_).Place(index);
    AskWhereItStands();
    mount.CommandBlind(wire::Stop);
    mount.CommandBoolInternal(wire::CustomDecRate, "0");
    mount.CommandBlind(wire::TrackingRate, wire_rate::kStopTracking);
    mount.CommandBlindInternal(wire::SetParkSlot, std::to_string(index));
    NoteUnderWay(GotoBy::Mount, place, PollLoop::MarkedEnd::Standing);
    driver_.log.LogMessage("Telescope", LogLevel::Info,
                           "Parking to encoder fixed Park position " + std::to_string(index));
}

/// By its own account, and not computed: its next places are compared with this one.
void ParkSteps::AskWhereItStands() {
    needs_.queries.QueryAlt();
    needs_.queries.QueryAz();
}

/// For a mount that goes there by itself: it is watched like a slew that it has accepted.
void ParkSteps::NoteUnderWay(GotoBy by, const HorizonPlace& place, PollLoop::MarkedEnd end) {
    needs_.motion.ParkBegins();
    core_.NoteSlewTaken(by);
    needs_.poll.MarkPark(place.altitude, place.azimuth, end);
}

bool ParkSteps::CompanionParks(std::int16_t index) {
    return needs_.channel.TakesSlews() && !(index == park_index::User && state_.g_bCwUpPark);
}

bool ParkSteps::GoByCompanion(std::int16_t index) {
    bool sent = false;
    if (!UntilAborted([&](Sequence& mount) { sent = SendCompanionPark(mount, index); })) {
        return false;
    }
    if (!sent) {
        ParkEnd(telescope_).Fail(kParkGotoRefused);
    } else if (isAsync_) {
        driver_.log.LogMessage("Telescope", LogLevel::Info, "Async Park");
    } else {
        AwaitCompanion();
    }
    return true;
}

/// The text of a setting with the point that the companion expects; empty where that is no number.
std::string ParkSteps::AngleForCompanion(const SettingKey& key) {
    const std::string text = driver_.persist.Read(key);
    const bool isPlain = IsNumericText(text) && text.find_first_of("eE") == std::string::npos;
    return isPlain ? ReplaceAll(Trim(text), ",", ".") : std::string();
}

/// False when there is no place to go to.
bool ParkSteps::SendCompanionPark(Sequence& mount, std::int16_t index) {
    if (index == park_index::User) {
        return SendCompanionParkAltAz(mount);
    }
    AskWhereItStands();
    HorizonPlace place{state_.g_dAlt, state_.g_dAz};
    if (index != park_index::Current) {
        place = ParkGoto(telescope_, state_.g_dSiteLatitude).Place(index);
    }
    needs_.channel.Park(mount, index);
    NoteUnderWay(GotoBy::Companion, place,
                 needs_.channel.EndsPark() ? PollLoop::MarkedEnd::Reported : PollLoop::MarkedEnd::AtItsPlace);
    return true;
}

bool ParkSteps::SendCompanionParkAltAz(Sequence& mount) {
    const std::string altitude = AngleForCompanion(setting::txtUserParkAlt);
    const std::string azimuth = AngleForCompanion(setting::txtUserParkAz);
    if (altitude.empty() || azimuth.empty()) {
        driver_.log.LogMessage("Telescope", LogLevel::Error,
                               "The angles of the park position are no numbers: nothing is sent");
        return false;
    }
    AskWhereItStands();
    const HorizonPlace place = ParkGoto(telescope_, state_.g_dSiteLatitude).Place(park_index::User);
    needs_.channel.ParkAltAz(mount, altitude, azimuth);
    NoteUnderWay(GotoBy::Companion, place, PollLoop::MarkedEnd::AtItsPlace);
    return true;
}

/// Returns without a word when the park does not end in five minutes.
void ParkSteps::AwaitCompanion() {
    const Tick begin = driver_.clock.GetTickCount();
    const std::uint32_t stops = needs_.door.Stops();
    Tick askedAt = begin + kCompanionBeginsMs - kCompanionAskedMs;
    for (Tick now = begin; now - begin < kCompanionLongestMs; now = driver_.clock.GetTickCount()) {
        const bool isOver = state_.g_bParked && !state_.g_bSlewing;
        if (isOver || IsTaken() || state_.g_bAbortPark || needs_.door.Stops() != stops) {
            return;
        }
        if (now - askedAt >= kCompanionAskedMs) {
            askedAt = now;
            AskForAll();
        }
        if (state_.g_bInPoll) {
            needs_.poll.UpdateMountInfo();  // the timer cannot fire inside a poll step
        }
        driver_.waits.PumpOnce();
        needs_.door.Pause(kCompanionRoundMs);
    }
}

void ParkSteps::AskForAll() {
    MountQueries& queries = needs_.queries;
    queries.QueryGos();
    needs_.poll.CheckSlewing();
    queries.QueryRa();
    queries.QueryDec();
    queries.QueryLst();
    queries.QueryAlt();
    queries.QueryAz();
}

}  // namespace kestrane
