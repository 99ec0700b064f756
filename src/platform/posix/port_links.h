#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "platform/serial_port.h"

namespace kestrane {

/// The numbers of serial ports as a folder of symbolic links: "COMn" names the device of port n. The numbers are kept
/// nowhere else; a person may make, change and remove the links too.
///
/// Several processes may list at once. Each device walks the numbers from 1 up and takes the first that the file
/// system lets it have, so that two processes meet at the same link and neither makes a second one.
class PortLinks {
public:
    /// The folder in which the system gives each connected serial device a name by what it is, not by the order of
    /// plugging. It is missing while there is no such device.
    static constexpr std::string_view kSystemDevices = "/dev/serial/by-id";

    /// The highest number, since they are kept in 16 bits.
    static constexpr std::int32_t kLastNumber = 32767;

    /// `linkFolder` is made together with the first link.
    explicit PortLinks(std::filesystem::path linkFolder, std::filesystem::path deviceFolder = kSystemDevices);

    /// Gives each device that no link names the lowest free number, then returns all links. A name other than "COM" and
    /// a number from 1 to `kLastNumber` without leading zeros is skipped, and so is anything that is no symbolic link;
    /// it stays as it is, and its name is not used. Links are never changed or removed.
    SerialPortList List();

private:
    struct Link {
        SerialPortEntry entry;
        /// The paths that the link leads through, up to the device itself if it is there.
        std::vector<std::filesystem::path> names;
    };

    std::vector<Link> ReadLinks(SerialPortList& list) const;
    std::vector<std::filesystem::path> Devices(SerialPortList& list) const;
    void GiveNumber(const std::filesystem::path& device, SerialPortList& list) const;

    static Link ReadLink(const std::filesystem::path& path, std::int32_t number);
    static bool Names(const Link& link, const std::filesystem::path& device);

    const std::filesystem::path linkFolder_;
    const std::filesystem::path deviceFolder_;
};

}  // namespace kestrane
