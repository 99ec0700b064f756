#include "kernel/driver.h"

#include <algorithm>

#include "kernel/base/conversions.h"
#include "kernel/base/os_info.h"
#include "kernel/base/text.h"

namespace kestrane {
namespace {

constexpr std::int32_t kPollIntervalMs = 150;
constexpr std::size_t kComLetters = 3;

}  // namespace

std::unique_ptr<Driver> Main(const Platform& platform, bool startedByClient) {
    if (!startedByClient) {
        RefuseStandAloneStart(platform.messageBoxes);
        return nullptr;
    }
    return std::make_unique<Driver>(platform);
}

Driver::Driver(Platform platform)
    : platform_(platform),
      log(state, platform_.clock),
      counters(state, log),
      alarmFilter(counters),
      waits(platform_.clock, platform_.pump),
      handBox(platform_.pump),
      persist(PersistNeeds{state, log, platform_.clock, platform_.folders, platform_.messageBoxes, ledger}),
      queries(MountQueriesNeeds{
          .state = state,
          .log = log,
          .counters = counters,
          .clock = platform_.clock,
          .astronomy = platform_.astronomy,
          .ledger = ledger,
          .handBox = handBox,
          .statusWindow = statusWindow,
          .receiveOne = [this] { return link ? link->ReceiveCounted(1) : std::string{}; },
          .telescope = [this]() -> TelescopeActions* { return internalInstance_.get(); },
      }),
      poll(PollLoopNeeds{
          .state = state,
          .persist = persist,
          .log = log,
          .clock = platform_.clock,
          .ledger = ledger,
          .handBox = handBox,
          .queries = queries,
          .telescope = [this]() -> TelescopeActions* { return internalInstance_.get(); },
          .periodicQuayCheck = [this] { connections.PeriodicQuayCheck(); },
          .slewFlashDisplay = [this] { SlewFlashDisplay(); },
      }),
      companion(platform_.registry, platform_.processes, waits),
      connections(ConnectionManagerNeeds{
          .state = state,
          .persist = persist,
          .link = link,
          .log = log,
          .counters = counters,
          .waits = waits,
          .clock = platform_.clock,
          .ledger = ledger,
          .systemInfo = platform_.systemInfo,
          .applicationSettings = platform_.applicationSettings,
          .handBox = handBox,
          .statusWindow = statusWindow,
          .companion = companion,
          .internalInstance = [this]() -> Telescope& { return InternalInstance(); },
          .ensureUtil = [this] { startup.EnsureUtil(); },
          .updateErrorCounts = [this] { UpdateErrorCounts(); },
          .updateMountRates = [this](const std::string& key) { state.g_sMountRateType = key; },
          .getLongLatFromMount = [this] { GetLongLatFromMount(); },
          .checkForUpdate = [] {},
          .unloadWindows =
              [this] {
                  handBox.Unload();
                  initialSetup.Unload();
                  setupFocuser.Unload();
                  logWindow.Unload();
              },
          .endProcess = [this] { platform_.processes.EndThisProcess(); },
      }),
      startup(StartupNeeds{
          .platform = platform_,
          .state = state,
          .persist = persist,
          .log = log,
          .counters = counters,
          .alarmFilter = alarmFilter,
          .ledger = ledger,
          .link = link,
          .showMountInfo = [this] { connections.ShowMountInfo(""); },
      }) {
    log.SetFacts(FactsOfLog());
    counters.SetView(this);
    alarmFilter.SetActions(this);
    handBox.OnLoad([this] { OnHandBoxLoad(); });
    handBox.tmrQueryRaDecAltAz.OnTick([this] { poll.OnTimer(); });
    handBox.tmrSlewFlashUI.OnTick([this] { SlewFlashDisplay(); });
    startup.Run();
}

Driver::~Driver() {
    counters.SetView(nullptr);
    alarmFilter.SetActions(nullptr);
}

TelescopeNeeds Driver::NeedsOfTelescope() {
    return TelescopeNeeds{
        .state = state,
        .persist = persist,
        .link = link,
        .log = log,
        .counters = counters,
        .waits = waits,
        .clock = platform_.clock,
        .ledger = ledger,
        .handBox = handBox,
        .statusWindow = statusWindow,
        .mount = mount,
        .queries = queries,
        .poll = poll,
        .connections = connections,
        .registration = startup,
        .internalInstance = [this] { return internalInstance_.get(); },
    };
}

Telescope& Driver::InternalInstance() {
    if (!internalInstance_) {
        internalInstance_ = std::make_unique<Telescope>(NeedsOfTelescope());
        internalInstance_->Class_Initialize();
    }
    return *internalInstance_;
}

TelescopeObject Driver::CreateTelescope() {
    InternalInstance();
    TelescopeObject object{new Telescope(NeedsOfTelescope())};
    object->Class_Initialize();
    return object;
}

FocuserObject Driver::CreateFocuser() {
    FocuserObject object{new Focuser(FocuserNeeds{
        .state = state,
        .persist = persist,
        .link = link,
        .log = log,
        .ledger = ledger,
        .connections = connections,
        .registration = startup,
        .runFirstConnection = [this] { InternalInstance().InitUI(); },
    })};
    object->Class_Initialize();
    return object;
}

void Driver::OnHandBoxLoad() {
    queries.ResetQueryTimes();
    handBox.tmrQueryRaDecAltAz.Interval(kPollIntervalMs);
    handBox.chkUseRCAL.Checked(persist.ReadFlag(setting::chkUseRCAL));
    handBox.chkCalcAzAlt.Checked(persist.ReadFlag(setting::chkCalcAzAlt));
    handBox.chkCalcLST.Checked(persist.ReadFlag(setting::chkCalcLST));
}

/// Reads the site of the mount into the boxes of the actual site.
void Driver::GetLongLatFromMount() {
    const std::string port = persist.Read(setting::Port);
    double longitude = 0.0;
    double latitude = 0.0;
    std::int16_t number = 0;
    TryParseInteger(port.substr(std::min(kComLetters, port.size())), number);
    if (connections.GetMountLongLat(number, 0, longitude, latitude)) {
        handBox.txtActualLatitude.Text(DegreesToDMS(latitude, "*", ":", "", 0));
        handBox.txtActualLongitude.Text(DegreesToDMS(longitude, "*", ":", "", 0));
    }
}

/// Shows that a slew runs: the position in one phase, the words of the abort in the other.
void Driver::SlewFlashDisplay() {
    const bool flash = state.g_bSlewing && !state.g_bFlashShowing;
    state.g_bFlashShowing = flash;
    handBox.lblRA.Text(!flash ? queries.LastRaText() : state.g_bParking ? "PARKING" : "SLEWING");
    handBox.lblDEC.Text(!flash ? queries.LastDecText() : "CLICK");
    handBox.lblAlt.Text(!flash ? queries.LastAltText() : "THIS TO");
    handBox.lblAz.Text(!flash ? queries.LastAzText() : "ABORT");
    if (!state.g_bSlewing) {
        handBox.tmrSlewFlashUI.Enabled(false);
    }
}

void Driver::UpdateErrorCounts() {
    if (state.g_bQuayLink) {
        // The companion owns the line.
        state.g_nRetransmits = state.g_nReceiveCountedErrors = state.g_nReceiveTerminatedErrors = 0;
    }
    handBox.lblRetransmits.Text(std::to_string(state.g_nRetransmits));
    handBox.lblReceiveStringErrors.Text(
        std::to_string(state.g_nReceiveTerminatedErrors + state.g_nReceiveCountedErrors));
    statusWindow.lblCommErrors.Text(std::to_string(state.g_nRetransmits + state.g_nReceiveCountedErrors +
                                                   state.g_nReceiveTerminatedErrors + state.g_nMotorStalls +
                                                   state.g_nServoFaults + state.g_nLowPower));
}

void Driver::ShowLowPower() {
    queries.ShowLowPower();
}

LogFileFacts Driver::FactsOfLog() {
    return LogFileFacts{
        .logFileDir = [this] { return persist.Read(setting::LogFileDir); },
        .controller = [this] { return persist.Read(setting::Controller); },
        .mountTypeName =
            [this] {
                auto type = static_cast<std::int16_t>(RoundHalfEven(Val_Global(persist.Read(setting::MountType), log)));
                return std::string(mount.GetMountType(type));
            },
        .osName = [this] { return GetOsName(platform_.systemInfo); },
        .isAdmin = [this] { return IsAdmin(platform_.systemInfo); },
        .commonAppData = [this] { return platform_.folders.CommonAppData(); },
    };
}

}  // namespace kestrane
