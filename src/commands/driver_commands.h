#pragma once

#include <functional>
#include <span>
#include <string>
#include <string_view>

#include "forms/frm_hand_box.h"
#include "kernel/base/counters.h"
#include "kernel/base/errors.h"
#include "kernel/base/log.h"
#include "platform/clock.h"
#include "settings/persist.h"
#include "state/companion_channel.h"
#include "state/essentials.h"
#include "state/event_journal.h"
#include "state/mount_check.h"
#include "state/sequence.h"
#include "telescope/telescope.h"

namespace kestrane {

/// What the verbs need from their surroundings. All of it outlives the commands.
struct DriverCommandsNeeds {
    Essentials driver;
    StopDoor& door;
    EventJournal& journal;
    CompanionChannel& channel;
    frmHandBox& handBox;                           ///< several verbs do what a person does there
    std::function<void()> fillHandBox;             ///< its lists and boxes, where no connect has filled them
    std::function<void()> maximize;                ///< shows it
    std::function<void()> minimize;                ///< puts it into the tray
    std::function<void()> resetErrorCounts;        ///< the same as the button of the hand box
    std::function<Telescope*()> internalInstance;  ///< null while there is none
    std::function<void(bool)> enableDebugLog;      ///< the same as the box of the hand box
    std::function<std::string()> connectFailure;   ///< why the last connect failed; empty when it did not
    std::function<MountCheck()> checkMount;        ///< asks the mount on the port of the settings for its version
};

/// One run of a verb: the object through which it came.
struct Verb {
    DriverCommandsNeeds& needs;
    Telescope& object;
};

/// A verb of the driver: the reply that is sent when its action fails, and the action. The action gets the text after
/// the first comma and returns the reply. Without a preset reply, a failed action is answered like an unknown verb.
struct DriverVerb {
    std::string_view name;
    std::string_view presetReply;
    std::string (*run)(Verb verb, std::string_view arguments);
};

/// The table of verbs.
std::span<const DriverVerb> DriverVerbs();

/// The commands to the driver itself, which clients send as texts that begin with "RAW,". Logic thread only.
class DriverCommands {
public:
    explicit DriverCommands(DriverCommandsNeeds needs) : needs_(std::move(needs)), driver_(needs_.driver) {}

    /// Runs the text after "RAW,": a verb and, after its first comma, its arguments; upper and lower case differ. The
    /// reply is "1", "1," and a value, or "0," and a message. Raises nothing: when an action fails, the preset reply is
    /// sent.
    std::string Execute(Telescope& object, std::string_view command);

private:
    DriverCommandsNeeds needs_;
    Essentials driver_;
};

}  // namespace kestrane
