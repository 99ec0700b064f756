#pragma once

#include <cstdint>

#include "state/driver_state.h"

namespace kestrane {

// What moves, as a table. `Motion` is the only writer of these members of `DriverState`; one row is one event and one
// function of the class, under the same name.
//
//   S   g_bSlewing              K   g_bParking     nA  g_nAborts            G  g_bGuidingNorth, g_bGuidingSouth,
//   M   g_bMountSlewing         AK  g_bAbortPark   nB  g_nSlewsBegun           g_bGuidingEast, g_bGuidingWest
//   A   g_bAbortSlew            Pd  g_bParked      nT  g_nSlewsTaken        B  g_bSecondLegBarred
//   P2  g_bSafeSlewPending      Kq  g_bParkAsked                            Gs g_bGotoSent
//   C   g_bSlewCompletePending  W   g_bStandAwaited  Ax  g_bAxisMotionBegun Ga g_bGotoRuns
//                                                  nTr g_nTrackingChoices   O  g_bOwnSlew
//                                                  sd  g_nSameDistance      Mv g_bMoveSent
//
//   1 set, 0 cleared, + counted, = kept. Letters look at the flags as they were before the event:
//   a  0 where AK is set, else kept           s  1 where S is set, else kept     c  + where S or P2 is set
//   u  1 where the status text is usable      k  1 where K or Kq is set, else    n  + where the position is new, or
//      (`g_bGosActive`), else kept               kept                               P2 is clear
//   m  as M                                   q  + where K or Kq is set
//   r  as reported                            p  0 where P2 is set, else kept    g  1 where S, K or Gs is set, else
//   h  kept where a slew is reported, else 0  e  1 where Ga or P2 is set,           kept
//                                                else kept
//   1d, 0d the flag of the given direction alone
//
//                               S  M  A  P2 C  K  Kq AK Pd nA nB nT Ax nTr sd G  B  Gs Ga W  O  Mv
//   FirstObjectBegins           0  =  0  =  1  =  =  =  0  =  =  =  =  =   =  =  =  =  =  =  0  =
//   Disconnected                0  0  0  0  =  =  =  =  =  =  =  =  =  =   =  =  =  =  =  =  0  =
//   SlewBegins                  1  1  0  =  0  a  =  0  =  =  =  =  0  =   0  =  =  =  =  0  1  =
//   NewSlewBegins               1  1  0  0  0  a  =  0  =  =  +  =  0  =   0  =  0  =  =  0  1  =
//   SlewIsToBeSent              =  =  =  =  0  =  =  =  =  =  =  =  =  =   =  =  =  =  =  =  =  =
//   SlewTaken                   1  1  0  =  0  a  =  0  =  =  =  +  0  =   0  =  p  1  1  0  1  0
//   GotoSent                    =  =  =  =  =  =  =  =  =  =  =  =  =  =   =  =  =  1  =  0  =  =
//   GotoTaken                   =  =  =  =  =  =  =  =  =  =  =  =  =  =   =  =  =  1  1  =  =  0
//   MoveSent                    =  =  =  =  =  =  =  =  =  =  =  =  =  =   =  =  =  =  =  0  =  1
//   MoveEnded                   =  =  =  =  =  =  =  =  =  =  =  =  =  =   =  =  =  =  =  =  =  0
//   SlewRefused                 0  0  =  0  =  =  =  =  =  =  =  =  =  =   =  =  =  =  =  =  0  =
//   SecondLegPlanned            =  =  =  1  =  =  =  =  =  =  =  =  =  =   =  =  =  =  =  =  =  =
//   SecondLegDropped            =  =  =  0  =  =  =  =  =  =  =  =  =  =   =  =  =  =  =  =  =  =
//   SecondLegTaken              =  =  =  0  =  =  =  =  =  =  =  =  =  =   =  =  =  =  =  =  =  =
//   SecondLegBarred             =  =  =  0  =  =  =  =  =  =  =  =  =  =   =  =  1  =  =  =  =  =
//   SecondLegWatchedByDistance  1  =  =  =  =  =  =  =  =  =  =  =  =  =   =  =  =  =  =  =  1  =
//   SecondLegWatchedByStatus    =  1  =  =  =  =  =  =  =  =  =  =  =  =   =  =  =  =  =  =  1  =
//   SupervisionBegins           1  u  =  =  =  =  =  =  =  =  =  =  =  =   =  =  =  =  =  =  =  =
//   SupervisionFollowsStatus    m  =  =  =  =  =  =  =  =  =  =  =  =  =   =  =  =  =  =  =  =  =
//   MountReportsSlewing         =  r  =  =  =  =  =  =  =  =  =  =  =  =   =  =  =  r  r  h  =  =
//   DistanceChanged             =  =  =  =  =  =  =  =  =  =  =  =  =  =   0  =  =  =  =  =  =  =
//   DistanceStayed              =  =  =  =  =  =  =  =  =  =  =  =  =  =   n  =  =  =  =  =  =  =
//   SeenToStandAtTarget         =  =  =  =  =  =  =  =  =  =  =  =  =  =   =  =  =  0  0  =  =  =
//   SeenToStandShort            =  =  =  =  =  =  =  =  =  =  =  =  =  =   =  =  =  =  0  =  =  =
//   SlewEnds                    0  0  0  0  =  =  =  =  =  =  =  =  =  =   0  =  =  =  =  =  =  =
//   SlewCompleteDue             =  =  =  =  1  =  =  =  =  =  =  =  =  =   =  =  =  =  =  =  =  =
//   SlewCompleteTaken           =  =  =  =  0  =  =  =  =  =  =  =  =  =   =  =  =  =  =  =  0  =
//   StopAskedFor                =  =  =  =  =  =  =  =  =  +  =  =  =  =   =  =  =  =  =  =  =  =
//   StopSent                    =  =  =  =  =  =  =  =  =  =  =  =  =  =   =  =  e  =  0  g  =  0
//   Stopped                     =  =  s  0  =  =  =  k  =  +  =  =  =  =   =  =  =  =  =  g  =  =
//   AxisTakesOver               0  0  0  0  =  =  =  k  =  +  =  =  =  =   =  =  =  =  =  =  0  =
//   AxisMotionBegins            =  =  =  =  =  =  =  =  =  =  =  =  1  =   =  =  =  =  =  =  =  =
//   AxisMotionsEnd              =  =  =  =  =  =  =  =  =  =  =  =  0  =   =  =  =  =  =  =  =  =
//   TrackingChosen              =  =  =  0  =  =  =  =  =  c  =  =  0  +   =  =  =  =  =  =  =  =
//   ParkAskedFor                =  =  =  =  =  =  1  0  =  =  =  =  =  =   =  =  =  =  =  =  =  =
//   ParkMoveBegins              1  u  0  0  0  1  =  =  0  =  +  =  =  =   0  =  =  =  =  =  =  =
//   ParkMoveEnds                0  0  0  =  =  =  =  =  =  =  =  =  =  =   =  =  =  =  =  =  =  =
//   ParkTakesOver               0  0  0  0  0  0  =  =  =  =  +  =  =  =   0  =  =  =  =  =  0  =
//   ParkAborted                 =  =  =  =  =  =  =  k  =  =  =  =  =  =   =  =  =  =  =  =  =  =
//   ParkStopAskedFor            =  =  =  =  =  =  =  k  =  q  =  =  =  =   =  =  =  =  =  =  =  =
//   ParkLeft                    =  =  =  =  0  0  0  k  =  =  =  =  =  =   =  =  =  =  =  =  =  =
//   ParkBegins                  =  =  =  =  =  1  0  =  =  =  =  =  =  =   =  =  =  =  =  =  =  =
//   ParkEnds                    =  =  =  =  =  0  0  =  =  =  =  =  =  =   =  =  =  =  =  =  =  =
//   MountReportsParked          =  =  =  =  =  =  =  =  r  =  =  =  =  =   =  =  =  =  =  =  =  =
//   GuidePulseBegins            =  =  =  =  =  =  =  =  =  =  =  =  =  =   =  1d =  =  =  =  =  =
//   GuidePulseEnds              =  =  =  =  =  =  =  =  =  =  =  =  =  =   =  0d =  =  =  =  =  =
//   the link is lost            =  =  =  =  =  =  =  =  =  =  =  =  =  =   =  =  =  =  =  =  =  =
//   the link comes back         =  =  =  =  =  =  =  =  =  =  =  =  =  =   =  =  =  =  =  =  =  =
//
// The last two are events without a function. Intentional: a mount that cannot be heard may go on moving, so the state
// of the link says nothing about what moves. A slew is ended by its supervision (see `DistanceStayed` for a silent
// line) or by a stop. A park is cancelled by `Stopped`, like a slew.
//
// Not in the table, with writers of their own: whether the mount tracks and at which rates (`g_bTracking` and the
// rates), where the legs go (`g_dFirstLegRa`, `g_dFirstLegDec`, `g_dSafeSlewRa`, `g_dSafeSlewDec`), the ticks of
// settling and supervision (`g_tickSettleEnd`, `g_tickLastSlewCheck`), the last goto, with the state of the line then
// (`g_tickLastGoto`, `g_nSilencesAtGoto`, `g_nLinkLossesAtGoto`), the last stop of a motion (`g_bMotionStopped`,
// `g_tickMotionStopped`), the position of a park and the move ahead of it (`g_nParkIndex`, `g_nParkStarted`,
// `g_bSlewingEast`, `g_bLeavingCwUp`), the distances to the target, `g_bRestoreRatePending`. The rates of each object's
// axes are its own (`AxisMotion`), as is whether their end was heard (`AxisMotions`).

class MotionPermit;

enum class GuideDirection { North, South, East, West };

/// The only writer of what moves: one function for each event of the table above. It writes and does nothing else: it
/// talks to nobody, logs nothing, raises nothing and never pumps. Logic thread only.
class Motion {
public:
    /// `state` outlives this object.
    explicit Motion(DriverState& state) : state_(state) {}
    Motion(const Motion&) = delete;
    Motion& operator=(const Motion&) = delete;

    // --- process and link ---------------------------------------------------------------------------------------

    /// The first object of the process: the step that follows a slew is due, since it reads the side of the mount.
    void FirstObjectBegins();
    /// The last client has gone: nobody waits for the end of a slew.
    void Disconnected();

    // --- slews --------------------------------------------------------------------------------------------------

    /// A slew is asked for. What follows the end of an earlier slew must not stop this one. An aborted park ends here
    /// at the latest, and AK is cleared with it: left set, AK would end this slew after its first leg.
    void SlewBegins();
    /// The same for a slew that takes the place of any other, and of the second leg that an earlier one has still to
    /// come, whether or not this slew is planned itself. Returns its number. The last slew wins: a call that waited for
    /// an earlier slew and sees another number sends nothing more, since nobody has planned a safe way from the target
    /// of the other slew to its own. It returns without an error, even when the mount refused the later slew.
    std::uint32_t NewSlewBegins(const MotionPermit& permit);
    /// The commands of a slew or of a leg are about to go out.
    void SlewIsToBeSent();
    /// The mount has accepted a slew or a leg.
    void SlewTaken();
    /// A command that starts a goto goes out, whoever sends it: Gs stays up until the driver has seen the end of that
    /// goto. A garbled or lost answer, a supervision that ends short of the target or without hearing the mount, and
    /// `MoveAxis` all leave it up, since the mount may still be under way then. What was stopped before, which may be
    /// no more than a test move, is not to stand any more.
    void GotoSent();
    /// A goto that a client has sent by itself: the driver does not see its answer, so it counts as accepted.
    void GotoTaken();
    /// The mount has refused a slew, a leg or a half of the target, or could not be asked: nothing moves. No second leg
    /// stays pending, of this slew or of an earlier one: only the supervision of a running slew starts a second leg, so
    /// a client that waits for the end would wait for ever.
    void SlewRefused();

    void SecondLegPlanned();
    /// The second leg is not needed, or its slew has ended.
    void SecondLegDropped();
    /// The supervision starts the second leg. Called before its commands go out: a call that gets in meanwhile must not
    /// start it again.
    void SecondLegTaken();
    /// The second leg must not be sent any more: what has happened in the first leg may have left the mount anywhere.
    void SecondLegBarred();
    /// After the start of a second leg, even of one that the mount has refused: the supervision finds its end.
    void SecondLegWatchedByDistance();
    /// The same by the status text; S follows.
    void SecondLegWatchedByStatus();

    /// A call waits for the end of a slew.
    void SupervisionBegins();
    /// S follows the status text: a motion that the mount began by itself counts as a slew too.
    void SupervisionFollowsStatus();
    /// By the status text. A mount that reports that it stands has no goto under way.
    void MountReportsSlewing(bool slewing);
    /// The distance to the target has changed since the last pass.
    void DistanceChanged();
    /// The distance has not changed. Returns whether that counts as stillness. Silence does not count while a second
    /// leg waits: a mount that cannot be heard may be moving, and a second leg that starts in the middle of the first
    /// one cuts off the way round that the first one is for. The end of a single leg moves nothing, so there silence
    /// counts.
    bool DistanceStayed(bool positionIsNew);
    /// The supervision has heard the mount stand still at the target.
    void SeenToStandAtTarget();
    /// The same short of it, or the poll after a goto that nothing supervises.
    void SeenToStandShort();
    /// The slew is over, by arrival or by a stop. AK stays: it shows a park that waits how it ended.
    void SlewEnds();
    void SlewCompleteDue();
    void SlewCompleteTaken();

    // --- stops and axes -----------------------------------------------------------------------------------------

    /// A stop is a count, not only a flag: the end of the slew and the next slew clear A, so a wait that looks a moment
    /// later would see nothing. It is counted even before the stop goes out, for a call that waits and has sent nothing
    /// yet.
    void StopAskedFor();
    /// A stop of all motion goes out, whoever sends it: a stop, a write of the tracking, a client's own text. It cuts
    /// the leg that is under way, so the second one never follows. A mount that stands is stopped by it as little as by
    /// the end of a test move. W goes up where a goto may be under way, and stays up until the mount reports that it
    /// stands.
    void StopSent();
    /// A move without a time goes out, by a client's own text or for a test. Nobody supervises it; it goes on until a
    /// stop of all motion, or a goto, takes its place. What was stopped before is not to stand any more.
    void MoveSent();
    /// The last of what goes out is a stop of all motion or a park.
    void MoveEnded();
    /// The mount is being stopped: a slew and a park under way are aborted, and the second leg never follows. W goes up
    /// as for the stop itself.
    void Stopped();
    /// `MoveAxis` takes over the mount, which ends a slew without stopping it. It counts like a stop, so that no call
    /// that waits for that slew goes on to its next leg. A park is aborted, since nobody would look for its end any
    /// more.
    void AxisTakesOver();
    void AxisMotionBegins();
    /// No axis of any object runs any more. While one runs, the end of a slew restores no tracking rate: that would end
    /// the motion of the axis.
    void AxisMotionsEnd();
    /// Somebody has written the tracking or its rate, which stops the mount. Returns whether that ended a slew. The
    /// second leg would start from where the first was cut and could lead past the counterweights, and a call that
    /// waits would send its target again: so it counts as a stop. S stays until the mount is seen to stand still.
    bool TrackingChosen();

    // --- park and guiding ---------------------------------------------------------------------------------------

    /// A park is asked for: what aborted an earlier one does not abort it. Kq stays up while its first commands go out:
    /// K would make the supervision look for its end.
    void ParkAskedFor();
    /// A park moves the mount by itself before its goto. It is a slew that counts as asked for.
    void ParkMoveBegins();
    void ParkMoveEnds();
    /// The park stops the mount and whatever slewed it. A call that waits for its slew gives way as to a later slew. It
    /// ends an earlier park, of which this one is another try. A parked mount is still parked.
    void ParkTakesOver();
    /// The park is to end; nothing is stopped by that.
    void ParkAborted();
    /// The same by what gets in between two exchanges of the park, like a stop: it is counted like one, so that nothing
    /// of the park goes out any more.
    void ParkStopAskedFor();
    /// Somebody takes the mount from the park. AK tells a park that waits.
    void ParkLeft();
    void ParkBegins();
    /// Leaves AK: it shows a park that waits how it ended. The next slew clears it.
    void ParkEnds();
    /// By the mount's status text; where it has none, by its position or by the settings.
    void MountReportsParked(bool parked);
    void GuidePulseBegins(GuideDirection direction);
    void GuidePulseEnds(GuideDirection direction);

private:
    void SetGuiding(GuideDirection direction, bool guiding);
    void AwaitStand();

    DriverState& state_;
};

}  // namespace kestrane
