#include "link/link_factory.h"

#include "link/class_serial.h"

namespace kestrane {

std::unique_ptr<MountLink> LinkFactory::MakeSerial() const {
    return std::make_unique<classSerial>(SerialNeeds{
        .ports = ports,
        .clock = clock,
        .log = log,
        .counters = counters,
        .alarmFilter = alarmFilter,
        .ledger = ledger,
        .persist = persist,
    });
}

std::unique_ptr<classTCPComm> LinkFactory::MakeIp() const {
    return std::make_unique<classTCPComm>(TcpNeeds{
        .http = http,
        .log = log,
        .counters = counters,
        .alarmFilter = alarmFilter,
        .persist = persist,
        .applicationSettings = applicationSettings,
        .messageBoxes = messageBoxes,
    });
}

}  // namespace kestrane
