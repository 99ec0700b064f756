#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "forms/frm_hand_box.h"
#include "platform/system_services.h"
#include "state/driver_state.h"
#include "state/essentials.h"
#include "state/mount_commands.h"
#include "state/sequence.h"

namespace kestrane {

/// Whether the mount is reached through the companion, which a reply has proved.
inline bool CompanionIsProved(const DriverState& state) {
    return state.g_bQuayLink;
}

/// Whether slews and parks are handed over to it.
inline bool CompanionTakesSlews(const DriverState& state) {
    return state.g_bQuayLink && state.g_bQuayHandlesSlews;
}

/// What the companion corrects by a model of its own, each on or off.
enum class Correction { Pointing, TrackingRate };

struct CompanionChannelNeeds {
    Essentials driver;
    StopDoor& door;
    ApplicationSettings& applicationSettings;
    frmHandBox& handBox;
    std::function<MountCommands&()> commands;  ///< the driver's own exchange
    std::function<bool()> linkIsOverIp;
};

/// The companion application as it stands between driver and mount: whether it is there, and the commands that it
/// understands beside those of a mount. Its wrap belongs to the exchange. Unless stated otherwise nothing here raises
/// or pumps. Logic thread only.
///
/// It is asked for as soon as a link is open, and each minute until it has answered; then it counts as there until the
/// next link is opened, also when it falls silent.
class CompanionChannel {
public:
    explicit CompanionChannel(CompanionChannelNeeds needs)
        : needs_(std::move(needs)), driver_(needs_.driver), state_(driver_.state) {}

    bool IsProved() const { return CompanionIsProved(state_); }
    bool TakesSlews() const { return CompanionTakesSlews(state_); }
    /// Whether the settings ask for it now.
    bool IsAskedFor();

    // --- proof ------------------------------------------------------------------------------------------------------

    /// A mount was found on a link that was just opened: nothing is known about the companion.
    void LinkIsNew() { state_.g_bQuayLink = false; }
    /// Notes what the settings ask for, and looks for it. The first of the periodic checks comes 15 s later.
    void LookForIt();
    /// Asks whether the companion is between driver and mount; does nothing once that is proved.
    void CheckQuay();
    /// The same each minute while it is wanted and not proved; for the poll. False when it has asked, and nothing
    /// answered.
    bool PeriodicQuayCheck();

    // --- the mount's address on the hand box ------------------------------------------------------------------------

    /// Writes the caption of the mount's frame; a port is also stored in the settings.
    void ShowMountInfo(std::string_view port);
    /// The same before a link is opened. Intentional: its text differs in a blank. May raise.
    void ShowMountAddress();

    // --- commands ---------------------------------------------------------------------------------------------------

    /// Hours and degrees. Gives the companion's answer, of which nothing is expected; nothing when a stop came first.
    std::optional<std::string> Slew(double rightAscension, double declination);
    /// The same in degrees.
    std::optional<std::string> SlewAltAz(double altitude, double azimuth);

    /// Another park begins.
    void ParkBegins() { parkIsItsOwn_ = false; }
    /// Parks at one of the numbered positions, 0 to 5.
    void Park(Sequence& mount, std::int16_t index);
    /// Parks where these texts say: degrees, with a point.
    void ParkAltAz(Sequence& mount, std::string_view altitude, std::string_view azimuth);
    /// Whether the companion tells the mount that it is parked: after a park at a numbered position, which it has
    /// answered. After any other one nobody does but the driver.
    bool EndsPark() const { return IsProved() && parkIsItsOwn_; }

    /// The way of a park with the counterweight up is that of the driver: the companion must not slew in its own way.
    void DisableSafeSlew();
    /// The same for the second leg: nothing where the companion has answered that it is off.
    void KeepSafeSlewOff();
    /// It may do so again.
    void EnableSafeSlew();
    /// The same where that is still owed: a park can end in many ways, some of which send nothing. A few tries, and a
    /// stop gets in between them; a warning where it stays owed. For use in the procedure of each slew, which such a
    /// stop ends, and at the end of the process.
    void EnableSafeSlewIfOwed();

    bool DoesRefraction();
    /// Has the companion compare the mount's clock, and set it where the text of the setting is "1". One that does not
    /// take this is not asked again.
    void SyncTime(const std::string& kept);
    /// Has it set time and zone.
    void SyncTimeZone();
    void SetPointingCorrection(std::string_view arguments);
    /// Whether it makes that correction, as it answers; also asked where it is not proved.
    bool Corrects(Correction correction);
    void SwitchCorrection(Correction correction, bool on);

private:
    Sequence Talk(const CompletingProcedure& procedure) { return {needs_.commands(), needs_.door, procedure}; }
    std::optional<std::string> SendSlew(const TextCommand& command, const std::string& target);
    std::string AddressOverIp();
    std::string MountInfoCaption(std::string_view port);

    CompanionChannelNeeds needs_;
    Essentials driver_;
    DriverState& state_;
    bool parkIsItsOwn_ = false;   ///< the last park was handed over by its number, and answered
    bool safeSlewIsOff_ = false;  ///< and the companion has not answered yet that it is on again
    bool offIsAnswered_ = false;  ///< the companion has answered that it is off
};

}  // namespace kestrane
