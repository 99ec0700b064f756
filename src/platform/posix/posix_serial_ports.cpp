#include "platform/posix/posix_serial_ports.h"

#include <utility>

#include "platform/posix/posix_serial_port.h"

namespace kestrane {

PosixSerialPorts::PosixSerialPorts(Folders& folders, std::filesystem::path deviceFolder,
                                   std::function<void()> letReadsIn)
    : folders_(folders), deviceFolder_(std::move(deviceFolder)), letReadsIn_(std::move(letReadsIn)) {}

SerialPortList PosixSerialPorts::ListPorts() {
    return PortLinks(LinkFolder(), deviceFolder_).List();
}

std::unique_ptr<SerialPort> PosixSerialPorts::CreatePort() {
    return std::make_unique<PosixSerialPort>(LinkFolder(), PosixSerialPort::kWriteLimit, letReadsIn_);
}

std::filesystem::path PosixSerialPorts::LinkFolder() {
    return folders_.CommonAppData() / "Kestrane" / "Ports";
}

}  // namespace kestrane
