#include "ui/setup/setup_checks.h"

#include "catalogue/wire_commands.h"
#include "kernel/base/application_info.h"
#include "kernel/base/conversions.h"
#include "settings/site_text.h"
#include "state/mount_replies.h"
#include "state/position_text.h"
#include "ui/port_list.h"

namespace kestrane {
namespace {

constexpr std::string_view kTaken = "1";

/// The reply without its end; empty when there is none.
std::string Ask(MountLink& link, const OutgoingCommand<ReplyForm::Text>& question) {
    link.Transmit(question.OnTheWire());
    std::string reply = link.ReceiveTerminated(wire::kReplyEnd);
    return reply.substr(0, reply.find(wire::kReplyEnd));
}

/// An answer without seconds shows that the mount is in its short format: it is toggled and asked again.
bool AskDegrees(MountLink& link, const TextCommand& question, double& degrees, Log& log) {
    std::string reply = Ask(link, question);
    if (IsShortAngle(reply)) {
        link.Transmit(wire::ToggleFormat.With("").OnTheWire());
        reply = Ask(link, question);
    }
    return ParseProtocolDegrees(reply, degrees, log);
}

bool Tell(MountLink& link, const CharacterCommand& command, const std::string& value) {
    link.Transmit(command.With(value).OnTheWire());
    return link.ReceiveCounted(1) == kTaken;
}

}  // namespace

SetupChecks::SetupChecks(SetupNeeds& needs, SetupSite& site, SetupValidation& validation)
    : needs_(needs), form_(needs.form), site_(site), validation_(validation) {
    form_.btnCheckMount.OnClick([this] { CheckMount(); });
    form_.btnGetLongLat.OnClick([this] { GetLongLat(); });
    form_.btnSendLongitudeLatitude.OnClick([this] { SendLongLat(); });
}

/// The kind of the link of the process was chosen at its start.
bool SetupChecks::UsesLinkOfProcess() const {
    return needs_.link && !needs_.link->IsOverIp() && !form_.chkIPAddress.Checked();
}

std::unique_ptr<MountLink> SetupChecks::MakeLink() const {
    if (form_.chkIPAddress.Checked()) {
        std::unique_ptr<classTCPComm> link = needs_.links.MakeIp();
        link->IpAddress(form_.txtIpAddress.Text());
        link->UseQuayRestApi(form_.chkQuayRestApi.Checked());
        return link;
    }
    return needs_.portCheck.MakeLink(form_.cbxPort.Text());
}

bool SetupChecks::OnLinkOfWindow(const std::function<bool(MountLink&)>& work) {
    return OnOwnLink(*MakeLink(), needs_.readTimeout(), needs_.driver.waits, work);
}

void SetupChecks::CheckMount() {
    std::string version;
    const bool found = form_.chkIPAddress.Checked()
                           ? OnLinkOfWindow([&](MountLink& link) { return AskVersion(link, version); })
                           : needs_.portCheck.Find(form_.cbxPort.Text(), version);
    Say(CheckResultText(found, version));
}

void SetupChecks::GetLongLat() {
    double westLongitude = 0.0;
    double latitude = 0.0;
    if (AskPosition(westLongitude, latitude)) {
        site_.ShowPosition(latitude, -westLongitude);
    } else {
        Say("Failed to get Longitude/Latitude from mount on " + PlaceOfMount());
    }
}

bool SetupChecks::AskPosition(double& westLongitude, double& latitude) {
    if (UsesLinkOfProcess()) {
        return needs_.getMountLongLat(PortNumberOf(form_.cbxPort.Text()), CheckTimeout(needs_.readTimeout()),
                                      westLongitude, latitude);
    }
    Log& log = needs_.driver.log;
    const bool read = OnLinkOfWindow([&](MountLink& link) {
        return AskDegrees(link, wire::GetLongitude, westLongitude, log) &&
               AskDegrees(link, wire::GetLatitude, latitude, log);
    });
    westLongitude = NormalizeDegrees180(westLongitude);
    return read;
}

/// Fields that are no position are not sent.
void SetupChecks::SendLongLat() {
    bool sent = false;
    if (validation_.PositionIsGood()) {
        Log& log = needs_.driver.log;
        const int decimals = needs_.driver.state.g_nPrecisionLatLong;
        const double east = NormalizeDegrees180(SiteTextDegrees(site_.LongitudeText(), "W", log));
        const double north = SiteTextDegrees(site_.LatitudeText(), "S", log);
        sent = SendPosition(WireLongitude(east, decimals), WireLatitude(north, decimals));
    }
    if (!sent) {
        Say("Failed to send Longitude/Latitude to mount on " + PlaceOfMount());
    }
}

/// A value that the mount rejects does not keep the other one from it.
bool SetupChecks::SendPosition(const std::string& longitude, const std::string& latitude) {
    if (UsesLinkOfProcess()) {
        return needs_.setMountLongLat(PortNumberOf(form_.cbxPort.Text()), CheckTimeout(needs_.readTimeout()), longitude,
                                      latitude);
    }
    return OnLinkOfWindow([&](MountLink& link) {
        const bool longitudeTaken = Tell(link, wire::SetLongitudeRaw, longitude);
        const bool latitudeTaken = Tell(link, wire::SetLatitudeRaw, latitude);
        return longitudeTaken && latitudeTaken;
    });
}

std::string SetupChecks::PlaceOfMount() const {
    return form_.chkIPAddress.Checked() ? form_.txtIpAddress.Text() : form_.cbxPort.Text();
}

void SetupChecks::Say(const std::string& text) {
    needs_.messageBoxes.Show(text, application::kTitle, MessageIcon::Information);
}

}  // namespace kestrane
