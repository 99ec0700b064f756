#include "platform/posix/posix_serial_ports.h"

#include <cerrno>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "platform/port_names.h"
#include "platform/posix/posix_serial_port.h"

namespace kestrane {
namespace {

/// The group that owns a device.
std::string GroupOf(const std::filesystem::path& device) {
    struct stat status = {};
    const group* owner = ::stat(device.c_str(), &status) == 0 ? ::getgrgid(status.st_gid) : nullptr;
    return owner == nullptr ? "dialout" : owner->gr_name;
}

std::string UserName() {
    const passwd* user = ::getpwuid(::geteuid());
    return user == nullptr ? "USER" : user->pw_name;
}

}  // namespace

PosixSerialPorts::PosixSerialPorts(Folders& folders, std::filesystem::path deviceFolder,
                                   std::function<bool()> letReadsIn)
    : folders_(folders), deviceFolder_(std::move(deviceFolder)), letReadsIn_(std::move(letReadsIn)) {}

SerialPortList PosixSerialPorts::ListPorts() {
    return PortLinks(LinkFolder(), deviceFolder_).List();
}

std::string PosixSerialPorts::Describe(std::int32_t port) {
    const std::string name = PortName(port);
    std::error_code error;
    const std::filesystem::path device = std::filesystem::read_symlink(LinkFolder() / name, error);
    return error ? name : name + " (" + device.string() + ")";
}

std::string PosixSerialPorts::WhyNotOpened(std::int32_t port, int error) {
    const std::filesystem::path link = LinkFolder() / PortName(port);
    std::error_code ignored;
    switch (error) {
        case ENOENT:
        case ENXIO:
        case ENODEV:
            return std::filesystem::is_symlink(link, ignored) ? "there is no such device; is it plugged in?"
                                                              : "no device has this number";
        case EACCES:
        case EPERM:
            return "this user may not use it; join the group " + GroupOf(link) + " (sudo adduser " + UserName() + " " +
                   GroupOf(link) + ") and log in again";
        case EWOULDBLOCK:
        case EBUSY:
            return "it is in use by another program";
        case ENOTTY:
            return "it is no serial line";
        default:
            return std::generic_category().message(error);
    }
}

std::unique_ptr<SerialPort> PosixSerialPorts::CreatePort() {
    return std::make_unique<PosixSerialPort>(LinkFolder(), PosixSerialPort::kWriteLimit, letReadsIn_);
}

std::filesystem::path PosixSerialPorts::LinkFolder() {
    return folders_.CommonAppData() / "Kestrane" / "Ports";
}

}  // namespace kestrane
