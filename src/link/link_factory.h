#pragma once

#include <memory>

#include "kernel/base/counters.h"
#include "kernel/base/errors.h"
#include "kernel/base/log.h"
#include "link/class_tcp_comm.h"
#include "link/mount_link.h"
#include "platform/clock.h"
#include "platform/http.h"
#include "platform/serial_port.h"
#include "platform/system_services.h"
#include "settings/persist.h"

namespace kestrane {

/// Makes links to the mount, closed: the one of the process at its start, and others for a dialog that tries an
/// address. What it is given outlives it and its links.
struct LinkFactory {
    SerialPorts& ports;
    Http& http;
    ApplicationSettings& applicationSettings;
    MessageBoxes& messageBoxes;
    Clock& clock;
    Log& log;
    Counters& counters;
    AlarmFilter& alarmFilter;
    SwallowLedger& ledger;
    Persist& persist;

    std::unique_ptr<MountLink> MakeSerial() const;
    /// Without an address yet.
    std::unique_ptr<classTCPComm> MakeIp() const;
};

}  // namespace kestrane
