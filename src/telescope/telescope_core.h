#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "catalogue/client_rates.h"
#include "catalogue/ks_mount.h"
#include "forms/frm_hand_box.h"
#include "forms/frm_status.h"
#include "forms/hand_box_display.h"
#include "forms/questions.h"
#include "kernel/base/counters.h"
#include "kernel/base/errors.h"
#include "kernel/base/log.h"
#include "kernel/base/waits.h"
#include "link/command_exchange.h"
#include "link/mount_link.h"
#include "platform/system_services.h"
#include "settings/persist.h"
#include "settings/sites.h"
#include "state/client_connections.h"
#include "state/companion_channel.h"
#include "state/controller_features.h"
#include "state/driver_state.h"
#include "state/essentials.h"
#include "state/event_journal.h"
#include "state/motion.h"
#include "state/mount_queries.h"
#include "state/mount_rates.h"
#include "state/poll_loop.h"
#include "state/sequence.h"
#include "telescope/motion/axis_motion.h"
#include "telescope/motion/guiding.h"

namespace kestrane {

class Telescope;

/// Who has to begin a goto that counts as accepted.
enum class GotoBy { Mount, Companion };

/// What a telescope object needs from its surroundings. All of it outlives the object.
struct TelescopeNeeds {
    Essentials driver;
    Motion& motion;
    Sites& sites;
    const std::unique_ptr<MountLink>& link;  ///< the shared link; empty when it could not be built
    StopDoor& door;
    frmHandBox& handBox;
    frmStatus& statusWindow;
    HandBoxDisplay& panel;
    Sounds& sounds;
    KsMount& mount;
    ClientRateLists& rateLists;
    MountRates& rates;
    ControllerFeatures& controller;
    EventJournal& journal;
    MountQueries& queries;
    PollLoop& poll;
    AxisMotions& axisMotions;
    GuidePulses& guidePulses;
    ClientConnections& connections;
    CompanionChannel& channel;
    DeviceRegistration& registration;
    std::function<void()> setKingRateState;  ///< see `TrackingOperations`
    std::function<void()> warnAboutSync;     ///< shows the warning about plain syncs; the caller does not wait
    Questions& questions;
    /// Asks a person, as soon as the hand box can, whether to unpark from a position; an accepted one is unparked from.
    /// The caller does not wait.
    std::function<void(std::int16_t index)> offerUnpark;
    std::function<void()> readMountSite;           ///< shows on the hand box the site that the mount has
    std::function<Telescope*()> internalInstance;  ///< null while there is none
    /// Called with each text that is about to go out to the mount.
    std::function<void(std::string_view text)> noteOpenMotion;
    /// Runs a command to the driver, the text after "RAW,", that came through an object; returns its reply.
    std::function<std::string(Telescope& object, std::string_view command)> executeDriverCommand;
};

/// What the subjects of a telescope object share: its surroundings, its exchange with the mount, the motion of its
/// axes, and the log lines of its members.
class TelescopeCore {
public:
    TelescopeCore(TelescopeNeeds needs, std::function<std::string(std::string_view)> executeDriverCommand);
    TelescopeCore(const TelescopeCore&) = delete;
    TelescopeCore& operator=(const TelescopeCore&) = delete;

    /// Exchanges of a procedure that a stop does not end.
    Sequence Talk(const CompletingProcedure& procedure) { return {OwnCommands(), needs_.door, procedure}; }
    /// Exchanges of a procedure that a stop ends; false when a stop has ended it.
    template <typename Steps>
    bool UntilStopped(const EndingProcedure& procedure, Steps&& steps) {
        return Sequence::UntilStopped(OwnCommands(), needs_.door, procedure, std::forward<Steps>(steps));
    }

    /// The exchange of all that the driver itself sends, with the number of tries of the settings. It is that of the
    /// internal instance: a client's object has no retries of its own, and one lost reply would be the end of a step.
    MountCommands& OwnCommands();

    /// The log lines of reading and writing a member. Those that take a value return it.
    void LogGetText(std::string_view name, std::string_view value);
    void LogSet(std::string_view name, std::string_view value);
    bool LogGet(std::string_view name, bool value);
    double LogGet(std::string_view name, double value);
    int LogGet(std::string_view name, int value);
    /// Logs and raises 0x80040405 unless `inRange`.
    void RefuseOutOfRange(std::string_view name, double value, bool inRange);

    /// For members that clients ask in a tight loop, which must not starve the poll: a short pause, and a pump. But
    /// nobody waits there for all that others ask: with a slow mount, that takes longer than clients wait.
    void YieldToOthers();

    /// Right ascension and declination; a value that is not possible is not taken.
    void ReadPosition();

    /// What moves the mount now, in words for the log: a goto whose end was not seen, an axis, or a guide pulse. Empty
    /// when none of these is known.
    std::string_view WhatMoves() const;
    /// Why the mount may be moving now: one of these, also when it was stopped less than three seconds ago, or a move
    /// without an end. Empty when none of these is known.
    std::string_view WhyMountMayMove() const;
    /// To be called before something that stops the motions named above, or ends one.
    void NoteMotionStops();
    /// `Motion::NewSlewBegins`, and the poll runs again: a refused sync may have left it off the line.
    std::uint32_t NewSlewBegins(const MotionPermit& permit);
    /// To be called before the first command of whatever takes the mount from a park: a park under way is cancelled. It
    /// sends nothing, but for the stop of a move that the park itself has begun, or that ends in a park by itself:
    /// nobody else would end these.
    void TakeMountFromPark();
    /// To be called after a command that takes a parked mount from its park: a status text may lag behind.
    void NoteLeavesPark();
    /// A goto went out whose answer the driver does not read, or that has another form: it counts as accepted.
    void NoteGotoTaken(GotoBy by);
    /// The mount has accepted a slew, or does one by itself, or the companion has one: the supervision watches it from
    /// now on.
    void NoteSlewTaken(GotoBy by);
    /// Stops all motion, twice: one of the two may be lost. Tracking goes on.
    void SendStopPair();
    /// For a slew that a stop has ended before its command went out.
    void LogSlewNotSent(std::string_view origin);
    /// No second leg of the slew under way is sent any more, nor its target again; logged where one waits.
    void BarSecondLeg(std::string_view reason);

    TelescopeNeeds needs_;
    Essentials driver_;
    DriverState& state_;
    bool sendsParkLeg_ = false;  ///< see `SendingParkLeg`
    CommandExchange exchange_;   ///< for the texts that a client hands to this object
    AxisMotion axes_;

private:
    void NoteSent(std::string_view text);
    void NoteGotoSent();
    void StampGoto(GotoBy by);
    bool MayMoveWithoutGoto() const;
};

/// While it lives, this object sends a park, its second leg, or what takes back a park that came to nothing: they
/// follow also when no client is connected any more.
class SendingParkLeg {
public:
    explicit SendingParkLeg(TelescopeCore& core) : core_(core), outer_(std::exchange(core.sendsParkLeg_, true)) {}
    ~SendingParkLeg() { core_.sendsParkLeg_ = outer_; }
    SendingParkLeg(const SendingParkLeg&) = delete;
    SendingParkLeg& operator=(const SendingParkLeg&) = delete;

private:
    TelescopeCore& core_;
    const bool outer_;
};

/// What the private steps of one subject work on. Each subject keeps its steps in a class of its own, in its `.cpp`.
class TelescopeSteps {
public:
    explicit TelescopeSteps(Telescope& telescope);

protected:
    Sequence Talk(const CompletingProcedure& procedure) { return core_.Talk(procedure); }

    Telescope& telescope_;
    TelescopeCore& core_;
    Essentials& driver_;
    TelescopeNeeds& needs_;
    DriverState& state_;
    AxisMotion& axes_;
};

}  // namespace kestrane
