#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace kestrane {

/// Mount models; the number is what the setting `MountType` stores.
enum class Mount_Type : std::int16_t {
    ALDER = 0,
    BIRCH = 1,
    CEDAR = 2,
    DOGWOOD = 3,
    ELM = 4,
    FIR = 5,
    GINKGO = 6,
    HAZEL = 7,
    IROKO = 8,
    JUNIPER = 9,
    KAURI = 10,
    LARCH = 11,
};

/// Controller generations; the number is what the setting `Controller` stores.
enum class Controller_Type : std::int16_t { VTRKC1 = 0, VTRKC2 = 1, VTRKC3 = 2, VTRKC4 = 3, VTRKC5 = 4 };

/// The catalogue of mounts. Names are compared exactly, upper and lower case included.
class KsMount {
public:
    Mount_Type mountType = Mount_Type::ALDER;
    Controller_Type ControllerType = Controller_Type::VTRKC1;
    std::string Firmware;
    std::string ControllerName;  ///< of the controller in use: "VTRKC4"; empty while none has been applied

    /// Display name of an enumerator value; -1 means the object's own `mountType` and is replaced by it. "Unknown"
    /// outside 0 to 11.
    std::string_view GetMountType(std::int16_t& nMountType) const;
    /// Display name of the object's own `mountType`.
    std::string_view Name() const;
    /// Highest custom slew rate of the model, a multiple of the sidereal rate; the lowest is 1.
    std::int32_t MaxCustomSlewRate() const { return mountType == Mount_Type::FIR ? 900 : 1200; }
    /// The enumerator of a display name; `ALDER` for an unknown one.
    static Mount_Type FindMountType(std::string_view sType);
    /// The display name at an index of the list that a user sees; empty outside 0 to 11.
    static std::string_view GetMountListEntry(std::int16_t nIndex);
    /// The list index of a display name; 0 for an unknown one.
    static std::int16_t FindMountListEntry(std::string_view sMountName);
    /// The list index of an enumerator value; 0 for an unknown one.
    std::int16_t GetNewMountIndex(std::int16_t nMountType) const;

    /// Sends a command to the mount that has no reply, as the driver's own commands are sent.
    using SendCommand = std::function<void(std::string_view command, bool raw)>;
    void SetSendCommand(SendCommand send) { send_ = std::move(send); }
    /// Sends `KsCommand` as it is, framed by the caller; True, whatever the outcome. Call `SetSendCommand` first.
    bool SendNoResponse(std::string_view KsCommand) const;
    /// Returns true and does nothing else: kept for its callers.
    bool WaitResponse(std::string_view sResponse, std::int32_t nTimoutInMSecs) const;
    /// Returns true and does nothing else: kept for its callers.
    bool SetGMTOffset(std::int16_t nHours, std::int16_t nMin, std::int16_t nSec) const;

private:
    SendCommand send_;
};

}  // namespace kestrane
