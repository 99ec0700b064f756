#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "forms/frm_hand_box.h"
#include "forms/frm_status.h"
#include "forms/hand_box_display.h"
#include "kernel/base/counters.h"
#include "kernel/base/errors.h"
#include "kernel/base/log.h"
#include "kernel/base/waits.h"
#include "kernel/companion.h"
#include "kernel/open_motion_file.h"
#include "link/mount_link.h"
#include "platform/message_pump.h"
#include "platform/serial_port.h"
#include "platform/system_services.h"
#include "settings/persist.h"
#include "state/client_connections.h"
#include "state/companion_channel.h"
#include "state/driver_state.h"
#include "state/essentials.h"
#include "state/mount_check.h"
#include "state/mount_queries.h"
#include "state/mount_rates.h"
#include "state/sequence.h"
#include "state/site_query.h"
#include "telescope/telescope.h"

namespace kestrane {

struct ConnectionManagerNeeds {
    Essentials driver;
    const std::unique_ptr<MountLink>& link;
    StopDoor& door;
    MessagePump& pump;
    const MountQueries& queries;
    MountRates& rates;
    SystemInfo& systemInfo;
    ApplicationSettings& applicationSettings;
    frmHandBox& handBox;
    frmStatus& statusWindow;
    HandBoxDisplay& panel;
    CompanionChannel& channel;
    Companion& companion;
    SerialPorts& serialPorts;
    std::function<Telescope&()> internalInstance;  ///< made when first needed
    std::function<void()> ensureUtil;
    std::function<void()> checkForUpdate;
    std::function<void()> stopWhatWasLeft;  ///< stops what an earlier driver has left moving, on the open link
    std::function<void()> endRuns;          ///< stops what would run on by itself, before the link is closed
    std::function<void()> unloadWindows;
    std::function<void()> endProcess;
};

/// Opens the one link for all clients, proves that a mount answers, counts clients of both kinds, keeps the link
/// open while any object lives, and ends the process when the last object is gone. Logic thread only.
class ConnectionManager final : public ClientConnections {
public:
    explicit ConnectionManager(ConnectionManagerNeeds needs)
        : needs_(std::move(needs)), driver_(needs_.driver), state_(driver_.state) {}

    // ClientConnections
    void OpenConnection(ClientKind kind) override;
    void CloseConnection(ClientKind kind) override;
    bool IsClientConnected(ClientKind kind) override;
    void UpdateClientsLabel() override;
    void ExitIfNoClients() override;

    /// Looks for a mount on a port, for the setup dialog. When the link is closed, the port is opened for the check and
    /// closed again; an open link that clients use stays open and keeps `timeoutMs` (0: unchanged). Does not pump, but
    /// stops get in between its exchanges.
    bool CheckConnection(std::int16_t port, std::int16_t timeoutMs, std::string& version);
    /// The same for the port of the settings.
    MountCheck CheckMount();
    /// Why the last connect failed, in a sentence for a person: the port, its device and the cause. Empty when it
    /// succeeded, or there was none.
    const std::string& ConnectFailure() const { return connectFailure_; }
    /// Reads the site from a mount, in the same frame. Degrees, longitude west positive, -180 to 180. A reply that
    /// cannot be read counts as no reply: 0 and false.
    bool GetMountLongLat(std::int16_t port, std::int16_t timeoutMs, double& longitude, double& latitude);
    /// Reads the site of the mount on the port of the settings and shows it on the hand box. Does not raise.
    SiteAnswer ReadMountSite(Notice notice, AfterSilence afterSilence = AfterSilence::AsksOn);
    /// How long a read of the link waits, by the settings: 1 to 60000 ms.
    std::int32_t ReadTimeout();
    /// Stops what moves of a mount on the port of the settings, in the same frame. False when the port cannot be
    /// opened.
    bool SendStop(OpenMotion open);
    /// Writes the site to a mount, in the same frame; texts in the forms of the wire.
    bool SetMountLongLat(std::int16_t port, std::int16_t timeoutMs, std::string_view longitude,
                         std::string_view latitude);

    /// Completes a connect that was made while no mount had answered, as soon as the poll has an accepted reply: posts
    /// that as a long call. For use after each poll step.
    void HealWhenDue();
    /// Whether a park that is on its way keeps the process from ending, so many milliseconds after its last client
    /// left: for 30 minutes at most. The last answer holds for `ExitIfNoClients`.
    bool AwaitsPark(std::int32_t withoutClientsMs);
    /// Ends the process that outlived its last client for a park, once that has ended or is given up. For use after
    /// each poll step.
    void ExitAfterPark();
    /// Zeroes the link counters; after a motor stall it stops all motion.
    void ResetCommCounters();
    /// Stops what would run on by itself, closes the link, unloads the windows, ends the process. Slews and parks go
    /// on.
    void ShutdownDriver();

private:
    static constexpr std::int32_t kLinkSpeed = 9600;  ///< baud

    /// What an `OpenConnection` passes from step to step.
    struct Opening {
        bool ip = false;
        bool quay = false;
        bool quayRest = false;
        bool elevated = false;
        std::string portText;
        Tick start{};
        int startAttempts = 0;
        bool opened = false;  ///< by the last set-up of the link
        bool companionFailureTold = false;
        bool linkSetUp = false;  ///< the set-up of the link has been done once
    };
    enum class PassResult { MountFound, NextPass, Failed };

    void OpenLink(ClientKind kind, bool ip, const std::string& address);
    bool FindMount(Opening& opening);
    PassResult TryOnce(Opening& opening);
    void ChooseCompanionPort(Opening& opening);
    bool SetUpLink(Opening& opening);
    std::int16_t PortOfSettings();
    std::int16_t ReadRetries();
    bool ProbeMount();
    bool HealIsDue() const;
    void HealConnect();
    bool StartedOrRetriesCompanion(Opening& opening);
    void MountFound();
    void ReadRateKey();
    void ReadMountForm();
    std::string WhyNoMount(std::int32_t port, bool opened, Tick start) const;
    [[noreturn]] void FailOpening(ClientKind kind, const Opening& opening);
    void CountClient(ClientKind kind);
    std::string Counts() const;
    /// Exchanges through the driver's own telescope object.
    Sequence Talk(const CompletingProcedure& procedure) {
        return {needs_.internalInstance().Commands(), needs_.door, procedure};
    }

    // port_checks.cpp
    bool LookForMount(std::int16_t port, std::int32_t timeoutMs, std::string& version, bool& opened);
    bool OpenForCheck(std::int16_t port, const std::function<void(MountLink&)>& setTimeout);
    bool OnLink(std::int16_t port, const std::function<void(MountLink&)>& setTimeout,
                const std::function<bool(MountLink&, bool openedHere)>& work);
    bool AskVersion(std::string& version);
    void ToggleFormatForSite(MountLink& link, std::int16_t timeoutMs);
    SiteAnswer AskDegrees(const TextCommand& question, double& degrees);
    SiteAnswer AskLongLat(std::int16_t port, std::int16_t timeoutMs, double& longitude, double& latitude,
                          AfterSilence afterSilence);

    ConnectionManagerNeeds needs_;
    Essentials driver_;
    DriverState& state_;
    std::string connectFailure_;
    bool healPosted_ = false;                  ///< `HealConnect` waits in the pump or runs
    std::uint32_t answersBefore_ = 0;          ///< what the mount had answered when it was found missing last
    std::optional<Tick> exitAwaitsParkSince_;  ///< when the last client went in mid-park
    bool parkIsGivenUp_ = false;               ///< the process has waited long enough for it
    bool ended_ = false;  ///< the driver was shut down, perhaps inside the pump of a call that still runs
    std::shared_ptr<int> token_ = std::make_shared<int>();  ///< as long as this lives, a posted call finds it
};

}  // namespace kestrane
