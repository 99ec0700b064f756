#!/bin/sh
. "$(dirname "$0")/lint.sh"

teach='Each wire command is written once, as a row of src/catalogue/wire_commands.h, which the simulated mount and
docs/wire-protocol.md are held to; a text of its own escapes all that. Send the row with its argument by a Sequence:
mount.CommandBoolInternal(wire::SetTargetRa, ra).'

# The exchange and the catalogue own the texts; the simulated mount is the other side. The log, below the
# catalogue, knows the queries that it keeps quiet about.
owners='src/(link|catalogue|simulator|client|apps|kernel/base)/|src/kernel/port_checks.cpp'

look() {
    cpp_files src | except "$owners" | code |
        find_code '->Transmit\(|(Command(Blind|Bool|String)(Internal|Light)?|Transmit)\((std::string\()?"|wire::[A-Za-z]+\.text|"(#?:[A-Za-z$][^" ]*#|\*[A-Z][A-Z]+,?)"'
}

self_test() {
    for call in 'CommandString("GR", false);' 'CommandBlindInternal(":RT9#", true);' \
        'needs_.internalInstance().CommandBoolInternal("QUAY", false);' 'exchange.CommandBlind("#", true);' \
        'CommandString("*SLEW," + FormatUs(a, ""), false);' 'constexpr Row kRows[]{{":RT2#", 1}};' \
        'CommandBlind(std::string("Sr") + ra, false);' 'Send(std::string(wire::GetRa.text));'; do
        bad src/telescope/a.cpp "$call"
        bad src/state/a.h "$call"
        good src/link/a.cpp "$call"
        good tests/link/a.cpp "$call"
        good src/telescope/a.cpp "// $call"
    done
    bad src/state/a.cpp 'needs_.link->Transmit(wire::Stop.With("").OnTheWire());'
    good src/telescope/a.cpp 'mount.CommandStringInternal(wire::GetRa);'
    good src/telescope/a.cpp 'CommandBlind(command, raw); Log("Ask", "GR");'
}

lint "$@"
