#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "forms/frm_hand_box.h"
#include "forms/frm_status.h"
#include "forms/hand_box_display.h"
#include "kernel/base/counters.h"
#include "kernel/base/errors.h"
#include "kernel/base/log.h"
#include "platform/system_services.h"
#include "settings/persist.h"
#include "state/companion_channel.h"
#include "state/driver_state.h"
#include "state/essentials.h"
#include "state/event_journal.h"
#include "state/sequence.h"
#include "state/telescope_actions.h"

namespace kestrane {

struct MountQueriesNeeds {
    Essentials driver;
    StopDoor& door;
    Astronomy& astronomy;
    frmHandBox& handBox;
    frmStatus& statusWindow;
    HandBoxDisplay& panel;
    EventJournal& journal;
    CompanionChannel& channel;
    /// Reads one byte off the line, or an empty text at the read limit.
    std::function<std::string()> receiveOne;
    /// The driver's own telescope object; null while there is none.
    std::function<TelescopeActions*()> telescope;
};

/// How often each coordinate was read or computed; wraps.
struct CoordinateReads {
    std::uint32_t ra = 0;
    std::uint32_t dec = 0;
    std::uint32_t alt = 0;
    std::uint32_t az = 0;
};

/// How often the mount has answered well, and how often a question of the poll went unanswered although it should not;
/// both wrap.
struct QuestionCounts {
    std::uint32_t answered = 0;
    std::uint32_t unanswered = 0;
};

/// When each coordinate was accepted last; nothing before the first time. A computed azimuth is as old as what it was
/// computed from. Readings of more than ten minutes ago are kept as ten minutes old.
struct CoordinateTimes {
    std::optional<Tick> ra, dec, az;
};

/// The driver's picture of the mount: one procedure for each thing that the mount can be asked, each a whole round of
/// send, check, recover, keep and show. A reply of the wrong form means that the exchanges are out of step; only the
/// form shows it, since replies carry no name. Nothing here raises or pumps. A query returns whether the mount answered
/// and the reply was accepted.
class MountQueries {
public:
    static constexpr std::int32_t kCoordinateIntervalMs = 1000;
    static constexpr std::int32_t kSlowIntervalMs = 5000;
    static constexpr std::int32_t kSideIntervalMs = 4000;
    static constexpr std::int32_t kTimeZoneIntervalMs = 30000;

    explicit MountQueries(MountQueriesNeeds needs)
        : needs_(std::move(needs)), driver_(needs_.driver), state_(driver_.state) {}

    bool QueryRa();
    bool QueryDec();
    bool QueryAlt();
    bool QueryAz();
    bool QueryLst();
    /// Firmware that has a meridian delay is asked for that first. When the user wants the clock kept, one that is two
    /// seconds or more off the PC's is set; over the companion, the companion is asked to do it. Intentional: when the
    /// user does not want it, the result is false and nothing is shown.
    bool QueryTime();
    bool QueryTimeZone();
    bool QuerySideOfMount();
    bool QueryGos();

    /// Between these two, after a query that went unanswered no further one begins: each costs a silent line seconds,
    /// and what is left is asked on the next tick.
    void TickBegins();
    void TickEnds() { inTick_ = false; }
    /// Whether that has happened since `TickBegins`.
    bool TickIsSilent() const { return inTick_ && silent_; }

    /// Whether more than `interval` ms have passed since `stamp`.
    bool IsDue(Tick stamp, std::int32_t interval) const;
    /// Sets `stamp` to `interval` ms before now, so that its query is due a moment later.
    void MakeDue(Tick& stamp, std::int32_t interval) const;
    /// Sets the stamps as when the hand box is loaded: slow queries are due at once, fast ones a second later.
    void ResetQueryTimes();

    /// Sidereal time now, hours: carried on from the last one read from the mount, or computed when the user wants
    /// that.
    double GetLst();
    /// Whether the sidereal time has been read from the mount yet.
    bool LstKnown() const { return lstKnown_; }
    /// Sidereal time for the plan of a slew, hours: as above, but where it was never read from the mount it is computed
    /// from the PC's clock and a longitude in degrees, east positive.
    double PlanLst(double longitude);
    /// Side of the pier for the plan of a slew. Asks again when the last query got no side, which the plan must not
    /// guess: then the side that the mount told last since the link was opened counts, then `hourAngle`, in hours.
    std::int16_t PlanSide(double hourAngle);
    /// To be called when a link is opened: another mount may be at its end.
    void ForgetToldSide() { lastToldSide_.reset(); }
    void UpdateHourAngle();
    /// Shows the mount's local time, carried on from the last one read.
    void UpdateMountTimeDisplay();
    /// Shows `g_dTimeZone` with the usual sign: local time minus UTC.
    void ShowTimeZone();
    /// Keeps a meridian delay (hours) that the mount has told twice, and shows it.
    void TakeOverMeridianDelay(double hours);
    /// The mount has told a meridian delay that is the known one.
    void NoteMeridianDelayAgrees();
    void UpdateCounterweightState();
    /// Computes altitude and azimuth from RA, Dec and sidereal time.
    void CalcAltAz();

    /// Whether the mount reports exactly RA 0 and Dec 90, and both were read since the link was opened: a value that
    /// was never read looks the same.
    bool IsAtPowerOnPosition() const;
    /// For use after a declination was read. A mount that reports exactly RA 0 and Dec 90 was never given its position.
    /// The hand box is filled on the first such report and on every second one after it; an open confirmation of
    /// an unpark stops that until the position changes.
    void CheckInitialPosition();

    /// A query went unanswered: the third in a row declares communications lost and blanks the display.
    void NoteNoResponse();
    /// A question that is no query of the picture went unanswered: it counts for `LineIsSilent`.
    void NoteSilentQuestion() { NoteUnanswered(SilenceIs::News); }
    /// A question that says nothing about the mount went unanswered: it ends the tick, and counts for nothing else.
    void NoteSilentTick() { silent_ = true; }
    /// The mount answered well: a query, or an exchange that is none.
    void NoteAnswered();
    QuestionCounts Questions() const { return questions_; }
    std::uint32_t Answers() const { return questions_.answered; }
    /// Whether the last three questions to the mount or more, of any kind, got no reply at all. Clients hear that
    /// communications are lost also when values that are computed meanwhile count as answers.
    bool LineIsSilent() const { return unanswered_ == kLostAfter; }
    /// Shows the low power alarm over the position.
    void ShowLowPower();
    /// Reads byte by byte until the line is silent.
    void ClearReceiveBuffer();

    /// Lets the caller tell a coordinate that has not moved from one that was not read.
    CoordinateReads Reads() const { return reads_; }
    CoordinateTimes ReadAt() const { return readAt_; }
    /// Texts of the last answered position, for the slew flash.
    const std::string& LastRaText() const { return lastRaText_; }
    const std::string& LastDecText() const { return lastDecText_; }
    const std::string& LastAltText() const { return lastAltText_; }
    const std::string& LastAzText() const { return lastAzText_; }

private:
    static constexpr std::int16_t kLostAfter = 3;    // unanswered questions in a row
    static constexpr std::int16_t kSilentAfter = 3;  // unanswered queries of one kind in a row
    static constexpr std::string_view kIgnored = "Ignoring Invalid format response...";

    bool KeepRa(const std::string& reply);
    bool KeepDec(double dec);
    void RecoverSlippedExchange(std::string_view origin, std::string_view text);
    void LogNoResponse(std::string_view origin, std::string_view what);
    void LogIgnored(std::string_view origin);
    void NoteSilence(std::int16_t& silences, Tick& stamp);
    /// What waits on a line that needs a resync when a question is about to go out.
    enum class Leftovers { Cleared, Kept };
    /// A query that has been silent for long says nothing about the line any more.
    enum class SilenceIs { News, Known };
    static SilenceIs SilenceOf(std::int16_t silences) {
        return silences == kSilentAfter ? SilenceIs::Known : SilenceIs::News;
    }
    std::string Ask(const TextCommand& question, Leftovers leftovers = Leftovers::Cleared,
                    SilenceIs silence = SilenceIs::News);
    Sequence Talk(const CompletingProcedure& procedure);
    void QueryMeridianDelay();
    double SecondsFromPcTime(double mountTime);
    void KeepTime(const std::string& kept, double secondsOff);
    void ShowTime(const std::string& text);
    void ResendTime();
    void CorrectTimeZone();
    bool MountIsAskedForAltAz();
    void NoteQuerySuccess();
    void NoteUnanswered(SilenceIs silence);
    bool MayAsk() const;
    bool Begins(Tick& stamp, Label& shown);
    bool PositionLabelsShown() const;
    bool SideIsToldByMount() const;
    /// Whether the plan of a slew uses the sidereal time of the mount.
    bool PlanUsesLstOfMount() const;
    void ShowAlt(double altitude);
    void ShowAz(double azimuth);
    void BlankPosition();

    MountQueriesNeeds needs_;
    Essentials driver_;
    DriverState& state_;
    // Bases of their own, written only together with the value: a query without an answer must not shift it.
    Tick lstBase_;                 ///< when `g_dLst` was read
    Tick mountTimeBase_;           ///< when `g_dMountTime` was read
    bool lstKnown_ = false;        ///< `g_dLst` was read at all
    bool mountTimeKnown_ = false;  ///< `g_dMountTime` was read at all
    bool fillingHandBox_ = false;  ///< `CheckInitialPosition` is filling the hand box
    std::string shownTime_;        ///< the mount's local time as the hand box shows it
    bool inTick_ = false;          ///< a poll step runs
    bool silent_ = false;          ///< a question of this poll step went unanswered
    bool sideTold_ = false;        ///< the last query of the side got one
    std::optional<std::int16_t> lastToldSide_;
    CoordinateReads reads_;
    CoordinateTimes readAt_;
    std::int16_t unanswered_ = 0;  ///< questions in a row without a reply, up to `kLostAfter`
    std::int16_t silences_ = 0;    ///< questions without a reply since the last good one, up to `kLostAfter`
    QuestionCounts questions_;
    std::int16_t statusSilences_ = 0;  ///< status queries in a row without an answer
    std::int16_t delaySilences_ = 0;   ///< the same of the meridian delay
    Tick meridianDelayAsked_;          ///< its stamp
    std::string lastRaText_, lastDecText_, lastAltText_, lastAzText_;
};

}  // namespace kestrane
