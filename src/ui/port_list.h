#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "forms/controls.h"
#include "platform/serial_port.h"
#include "settings/persist.h"

/// The list of serial ports of the setup windows, and the check of one of them.
namespace kestrane {

/// Fills the list with the ports that have a number and selects the one of the settings. That one is offered also when
/// it has no device: OK must not change it by itself.
void FillPorts(ComboBox& list, SerialPorts& ports, Persist& persist);

/// The number in the name of a port: 4 for "COM4"; 0 when it holds none.
std::int16_t PortNumberOf(std::string_view name);

/// A limit of reads in milliseconds as far as the checks of a port take it.
std::int16_t CheckTimeout(std::int32_t milliseconds);

/// What a check of a port tells the person: the version of the mount that was found.
std::string CheckResultText(bool found, std::string version);

}  // namespace kestrane
