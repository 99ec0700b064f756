#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "kernel/base/counters.h"
#include "settings/persist.h"
#include "state/poll_loop.h"
#include "support/virtual_platform.h"

namespace kestrane {

/// A mount at the far side of the exchange: gives the replies that it was told, an empty text to everything else, and
/// records what it was asked.
class ScriptedCommands final : public MountCommands {
public:
    explicit ScriptedCommands(DriverState& state) : state_(state) {}

    std::map<std::string, std::string> replies;             ///< to each such command
    std::map<std::string, std::deque<std::string>> inTurn;  ///< to the next ones first
    std::vector<std::string> sent;                          ///< "<clear>" for a clear, "!" before a blind command

    int Times(std::string_view command) const;

private:
    void CommandBlind(const OutgoingCommand<ReplyForm::None>& command) override { sent.push_back("!" + command.text); }
    void CommandBlindInternal(const OutgoingCommand<ReplyForm::None>& command) override { CommandBlind(command); }
    void CommandBlindLight(const OutgoingCommand<ReplyForm::None>& command) override { CommandBlind(command); }
    void CommandClear() override { CommandClearInternal(); }
    void CommandClearInternal() override;
    bool CommandBoolInternal(const OutgoingCommand<ReplyForm::Character>& command) override {
        return Answer(command.text) == "1";
    }
    CharacterReply CommandCharacterInternal(const OutgoingCommand<ReplyForm::Character>& command) override {
        const std::string reply = Answer(command.text);
        return reply == "1" ? CharacterReply::Good : reply.empty() ? CharacterReply::None : CharacterReply::Refused;
    }
    std::string CommandString(const OutgoingCommand<ReplyForm::Text>& command) override { return Answer(command.text); }
    std::string CommandStringInternal(const OutgoingCommand<ReplyForm::Text>& command) override {
        return Answer(command.text);
    }
    std::string CommandStringOnce(const OutgoingCommand<ReplyForm::Text>& command) override {
        return Answer(command.text);
    }
    std::string DriverCommandInternal(std::string_view verb) override { return Answer("RAW," + std::string(verb)); }

    std::string Answer(std::string_view command);

    DriverState& state_;
};

/// The telescope as the poll sees it; records what was asked of it.
class RecordingTelescope final : public TelescopeActions {
public:
    RecordingTelescope(DriverState& state, Motion& motion, ScriptedCommands& commands)
        : state_(state), motion_(motion), commands_(commands) {}

    std::vector<std::string> calls;
    bool secondLegFails = false;
    bool latitudeSilent = false;
    std::function<void()> duringSecondLeg;  ///< what enters while the leg is being started

    MountCommands& Commands() override { return commands_; }
    void ParseGOS(std::string_view status) override;
    void InitUI() override { calls.emplace_back("InitUI"); }
    void HandleParkComplete() override {
        calls.emplace_back("HandleParkComplete");
        motion_.ParkEnds();
    }
    void StopAgain(StopForm form) override {
        calls.emplace_back(form == StopForm::Pair ? "StopAgain pair" : "StopAgain");
    }
    void StartSecondLeg(double rightAscension, double declination) override;
    SiteAnswer ReadSiteLatitude() override;
    /// Calls that begin with `call`.
    int Times(std::string_view call) const;

private:
    DriverState& state_;
    Motion& motion_;
    ScriptedCommands& commands_;
};

/// The hand box's presenter; records what was asked of it.
class RecordingPanel final : public HandBoxDisplay {
public:
    std::vector<std::string> calls;
    bool slewFlashFails = false;

    void UserShow() override {}
    void UpdateControls() override {}
    void UpdateRateLimits() override {}
    void ShowMountFeatures() override { calls.emplace_back("ShowMountFeatures"); }
    void SetParkStatus(std::string_view text, std::string_view origin) override;
    void SetParkToolTip(std::string_view) override {}
    void ShowTrackingRate(std::int16_t rate, RateCorrection correction) override;
    void EnableRateControls() override {}
    void SetMeridianDelayUI(double hours) override { calls.push_back("SetMeridianDelayUI " + std::to_string(hours)); }
    void ShowMountSite(double, double, Notice) override {}
    void ShowCurrentSite() override {}
    void ShowNoMountSite(Notice) override {}
    void UpdateErrorCounts() override {}
    void SlewFlashDisplay() override;
    void SetUiGuideIndicator(std::int32_t, bool) override {}
};

/// The picture of the mount with everything around it played: virtual time, a scripted mount, recorded windows. The
/// hand box is loaded, one client is there, nothing is due before a second has passed.
class StateFixture : public testing::Test {
protected:
    explicit StateFixture(Tick firstTick = VirtualClock::kZero);

    bool Logged(std::string_view line) const { return Times(line) > 0; }
    int Times(std::string_view line) const;
    /// The same, for a part of a line.
    bool LoggedPart(std::string_view part) const;
    void Pass(std::int32_t milliseconds) { machine.clock.Sleep(milliseconds); }

    VirtualPlatform machine;
    DriverState state;
    Motion motion{state};
    SwallowLedger ledger;
    Log log{state, machine.clock};
    Counters counters{state, log};
    frmHandBox handBox{machine.pump};
    frmStatus statusWindow{machine.pump};
    frmAskAbortSlew askAbortSlew;
    Persist persist{PersistNeeds{state, log, machine.clock, machine.folders, machine.messageBoxes, ledger}};
    RecordingPanel panel;
    ScriptedCommands mount{state};
    RecordingTelescope telescope{state, motion, mount};
    TelescopeActions* telescopeThere = &telescope;
    int drains = 0;  ///< reads of a single byte that found the line silent
    int quayChecks = 0;
    bool quayAnswers = true;
    std::function<void()> duringQuayCheck;
    Waits waits{machine.clock, machine.pump};
    StopDoor door{waits, log, state};
    const Essentials essentials{state, persist, log, machine.clock, waits, ledger, counters};
    EventJournal journal{EventJournalNeeds{
        .driver = essentials,
        .motion = motion,
        .panel = panel,
    }};
    CompanionChannel channel{CompanionChannelNeeds{
        .driver = essentials,
        .door = door,
        .applicationSettings = machine.applicationSettings,
        .handBox = handBox,
        .commands = [this]() -> MountCommands& { return mount; },
        .linkIsOverIp = [] { return false; },
    }};
    MountQueries queries{MountQueriesNeeds{
        .driver = essentials,
        .door = door,
        .astronomy = machine.astronomy,
        .handBox = handBox,
        .statusWindow = statusWindow,
        .panel = panel,
        .journal = journal,
        .channel = channel,
        .receiveOne =
            [this] {
                ++drains;
                return std::string();
            },
        .telescope = [this] { return telescopeThere; },
    }};
    PollLoop poll{PollLoopNeeds{
        .driver = essentials,
        .motion = motion,
        .door = door,
        .sounds = machine.sounds,
        .handBox = handBox,
        .askAbortSlew = askAbortSlew,
        .panel = panel,
        .queries = queries,
        .telescope = [this] { return telescopeThere; },
        .periodicQuayCheck =
            [this] {
                ++quayChecks;
                if (duringQuayCheck) {
                    duringQuayCheck();
                }
                return quayAnswers;
            },
        .restoreTrackingRate =
            [this](std::int16_t rate) { panel.calls.push_back("RestoreTrackingRate " + std::to_string(rate)); },
    }};
    std::vector<std::string> logged;  ///< "origin|level|message"
};

}  // namespace kestrane
