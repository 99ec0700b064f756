#!/bin/sh
. "$(dirname "$0")/lint.sh"

teach='Each wire command is written once, as a row of src/catalogue/wire_commands.h, which the simulated mount and
docs/wire-protocol.md are held to; a literal at a caller escapes all that. Name the row: CommandString(wire::GetRa.text,
false). An argument follows the text of its row: std::string(wire::TrackingRate.text) + "2".'

# The exchange and the catalogue own the texts; the simulated mount is the other side. The log, below the
# catalogue, knows the queries that it keeps quiet about.
callers='src/(link|catalogue|simulator|client|apps)/'
framed='src/(link|catalogue|simulator|client|apps|kernel/base)/'

# Calls whose first argument has a literal that no row's text stands in front of.
literal_commands() {
    awk '
        # The first argument of the call that begins behind the bracket at the start of `text`.
        function firstArgument(text,   at, depth, mark, inText) {
            for (at = 2; at <= length(text); at++) {
                mark = substr(text, at, 1)
                if (inText) {
                    if (mark == "\\") at++
                    else if (mark == "\"") inText = 0
                } else if (mark == "\"") inText = 1
                else if (mark ~ /[({[]/) depth++
                else if (mark ~ /[])}]/ && depth-- == 0) break
                else if (mark == "," && depth == 0) break
            }
            return substr(text, 2, at - 2)
        }
        function judge(   rest, argument) {
            rest = call
            while (match(rest, /(^|[^A-Za-z0-9_])(Command(String|Blind|Bool)(Internal|Light)?|Ask|AskDegrees|Transmit)[ ]*\(/)) {
                rest = substr(rest, RSTART + RLENGTH - 1)
                argument = firstArgument(rest)
                if (index(argument, "\"") && substr(argument, 1, index(argument, "\"")) !~ /\.text[^A-Za-z0-9_]/) print place
                rest = substr(rest, 2)
            }
        }
        {
            text = $0
            sub(/^[^:]*:[0-9]*:/, "", text)
            if (!open && text ~ /(^|[^A-Za-z0-9_])(Command(String|Blind|Bool)(Internal|Light)?|Ask|AskDegrees|Transmit)[ ]*\(/) {
                open = 1
                place = $0
                call = ""
            }
            if (open) {
                call = call " " text
                if (text ~ /;/ || text ~ /\{$/) { judge(); open = 0 }
            }
        }'
}

look() {
    {
        cpp_files src | except "$callers" | code | literal_commands
        cpp_files src | except "$framed" | code | find_code '"(#?:[A-Za-z$][^" ]*#|\*[A-Z][A-Z]+,?)"'
    } | sort -u
}

self_test() {
    for call in 'CommandString("GR", false);' 'CommandBlindInternal(":RT9#", true);' \
        'needs_.internalInstance().CommandBoolInternal("QUAY", false);' 'exchange.CommandBlind("#", true);' \
        'auto a = Ask("GD", true);' 'CommandString("*SLEW," + FormatUs(a, ""), false);' \
        'CommandBlindInternal(fast ? "FF" : "FS", false);' 'constexpr Row kRows[]{{":RT2#", 1}};' \
        'CommandBlindInternal(
        "RT2", false);' 'CommandBlind(std::string("Sr") + ra, false);' 'return Ask(Ask("GR").text + "", true);'; do
        bad src/telescope/a.cpp "$call"
        bad src/state/a.h "$call"
        good src/link/a.cpp "$call"
        good tests/link/a.cpp "$call"
        good src/telescope/a.cpp "// $call"
    done
    good src/telescope/a.cpp 'CommandString(wire::GetRa.text, false);'
    good src/telescope/a.cpp 'CommandBoolInternal(std::string(wire::CustomDecRate.text) + "0.0000", false);'
    good src/telescope/a.cpp 'CommandBlind(command, raw); Log("Ask", "GR");'
    good src/telescope/a.cpp 'std::string CommandString(std::string_view command, bool raw) { return "x"; }'
    good src/telescope/a.cpp 'Log("SendRaDecSequence: GR", CommandString(wire::GetRa.text, false));'
}

lint "$@"
