#include "kernel/startup.h"

#include "kernel/base/application_info.h"

namespace kestrane {
namespace {

/// How a device class is registered in the platform's store.
struct DeviceIdentity {
    std::string_view deviceType;
    std::string_view driverId;
    std::string_view description;
};

constexpr DeviceIdentity kTelescope{"Telescope", "KestraneV2.Telescope",
                                    "'Kestrane VTR V2 Mount"};  // intentional: the leading apostrophe
constexpr DeviceIdentity kFocuser{"Focuser", "KestraneV2.Focuser", "Kestrane VTR V2 Focuser"};

void RegisterDevice(Profile& profile, const DeviceIdentity& identity) {
    profile.DeviceType(identity.deviceType);
    profile.Register(identity.driverId, identity.description);
}

}  // namespace

void RefuseStandAloneStart(MessageBoxes& messageBoxes) {
    messageBoxes.Show("This is an ASCOM driver. It cannot be run stand-alone", application::kTitle,
                      MessageIcon::Critical);
}

void Startup::Run() {
    DriverState& state = driver_.state;
    state.g_sMountRateType = "unknown";
    state.g_bConnected = state.g_bFocuserConnected = false;
    state.g_bDebugLog = driver_.persist.ReadFlag(setting::chkEnableDebugLog);
    if (state.g_bDebugLog) {
        driver_.log.OpenLog();
    }
    ListPorts();
    CreateLink();
    CreateProfile();
    EnsureUtil();
    state.g_bUseOldButtonBehavior = driver_.persist.ReadFlag(setting::UseOldButtonBehavior);
}

/// Listing gives a new adapter its number, so that the first one is COM1 before anybody opens it.
void Startup::ListPorts() {
    const SerialPortList list = needs_.platform.serialPorts.ListPorts();
    if (list.ports.empty()) {
        driver_.log.LogMessage("Ports", LogLevel::Info, "No serial port has a number yet");
    }
    for (const SerialPortEntry& port : list.ports) {
        driver_.log.LogMessage("Ports", LogLevel::Info,
                               port.name + " is " + port.device + (port.present ? "" : ", which is not there now"));
    }
    for (const std::string& trouble : list.troubles) {
        driver_.log.LogMessage("Ports", LogLevel::Warning, trouble);
    }
}

void Startup::CreateLink() {
    ResumeNext errors{driver_.ledger, "CreateLink"};
    std::string ip = "0";
    errors.Assign(ip, [&] { return driver_.persist.Read(setting::chkIPAddress); });
    if (ip == "0") {
        errors.Step([&] { needs_.link = needs_.links.MakeSerial(); });
        return;
    }
    errors.Step([&] {
        std::unique_ptr<classTCPComm> adapter = needs_.links.MakeIp();
        classTCPComm& link = *adapter;
        needs_.link = std::move(adapter);
        link.IpAddress(driver_.persist.Read(setting::txtIpAddress));
    });
    errors.Step([&] { needs_.showMountInfo(); });
}

void Startup::CreateProfile() {
    if (!profile_ && needs_.platform.profileStore.Available()) {
        profile_ = std::make_unique<Profile>(needs_.platform.profileStore);
    }
}

void Startup::EnsureUtil() {
    utilCreated_ = utilCreated_ || needs_.platform.utility.Available();
}

bool Startup::UtilAvailable() {
    EnsureUtil();
    return utilCreated_;
}

bool Startup::Refuse(std::string_view message) {
    needs_.messageBoxes.Show(message, application::kTitle, MessageIcon::Critical);
    needs_.platform.processes.EndThisProcess();
    return false;
}

bool Startup::RegisterTelescope() {
    if (!UtilAvailable()) {
        return Refuse("Failed to create ASCOM.Utilities.Util... exiting driver");
    }
    CreateProfile();
    if (!profile_) {
        return Refuse("Failed to create ASCOM.Utilities.Profile... exiting driver");
    }
    RegisterDevice(*profile_, kTelescope);
    return true;
}

bool Startup::RegisterFocuser() {
    if (!UtilAvailable()) {
        return Refuse("KSV2 ASCOM Focuser: Unable to create ASCOM.Utilities.Util for g_Util!");
    }
    CreateProfile();
    if (profile_) {
        RegisterDevice(*profile_, kFocuser);
    }
    return true;
}

void Startup::EnsureDriverHelper() {
    driverHelperCreated_ = true;
}

}  // namespace kestrane
