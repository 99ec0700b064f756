#!/bin/sh
. "$(dirname "$0")/lint.sh"

teach='Numbers of the protocol, the settings and the log look the same in every locale of the machine, with a point.
These calls follow the locale, so a desktop that writes "1,5" would send "1,5" to the mount. Write instead: Val_US or
Val_Global for text to number, FormatUs, NumberText or the other forms of kernel/base/text.h and
kernel/base/conversions.h for number to text; std::to_string and integer printf forms are good for integers only;
for words, a loop over std::string_view.'

# These two hold the forms themselves. The programs and the command-line client talk to persons. The list of processes
# takes words apart, no numbers.
allowed='src/(kernel/base/conversions\.cpp|kernel/base/text\.cpp|apps/|client/|platform/posix/posix_processes\.cpp)'

functions='@(strto(d|f|ld)|atof|sto(d|f|ld)|setlocale|localeconv|imbue|w?[io]?stringstream|std::locale|put_money|put_time)@'
characters='@(std::|::)?(is(alpha|alnum|space|upper|lower|punct|print|digit)|to(upper|lower))\('

# A text made of a double by std::to_string, as far as the words tell.
doubles='@to_string\(([^;]*[^A-Za-z_0-9])?([0-9]+\.[0-9]|static_cast<(double|float)>|g_d[A-Z])'

# printf and its kin with a floating form or without a literal format.
printf_doubles() {
    awk '
        function judge(   call, format) {
            if (match(call_text, /(^|[^A-Za-z0-9_])v?s?n?f?d?printf[ ]*\(/)) {
                call = substr(call_text, RSTART)
                if (!match(call, /"([^"\\]|\\.)*"/)) { print place; return }
                format = substr(call, RSTART, RLENGTH)
                gsub(/%%/, "", format)
                if (format ~ /%[-+ #0-9.*]*[lL]?[aAeEfFgG]/ || format ~ /%[^"a-zA-Z%]*'\''/) print place
            }
        }
        {
            text = $0
            sub(/^[^:]*:[0-9]*:/, "", text)
            if (!open && text ~ /(^|[^A-Za-z0-9_])v?s?n?f?d?printf[ ]*\(/) { open = 1; place = $0; call_text = "" }
            if (open) {
                call_text = call_text " " text
                if (text ~ /;/) { judge(); open = 0 }
            }
        }'
}

look() {
    cpp_files src | except "$allowed" | code_without_text | find_code "$functions|$characters|$doubles"
    cpp_files src | except "$allowed" | code | printf_doubles
}

self_test() {
    for call in 'double a = std::strtod(text, nullptr);' 'auto a = atof(text);' 'auto a = std::stod(text);' \
        'float a = std::stof(text);' 'std::setlocale(LC_ALL, "");' 'std::locale here{""};' 'std::stringstream s;' \
        'std::ostringstream s;' 'auto a = std::to_string(1.5);' 'auto a = std::to_string(state.g_dRa);' \
        'auto a = std::to_string(static_cast<double>(n));' 'std::snprintf(b, 9, "%5.2f", x);' \
        'if (std::isspace(c)) {}' 'printf(format, x);'; do
        bad src/telescope/a.cpp "$call"
        good src/apps/a.cpp "$call"
        good src/kernel/base/conversions.cpp "$call"
        good src/telescope/a.cpp "// $call"
    done
    bad src/telescope/a.cpp 'std::snprintf(b, 9,
        "%5g", x);'
    good src/telescope/a.cpp 'auto a = std::to_string(count);'
    good src/telescope/a.cpp 'std::snprintf(b, 9, "%02d 100%% f", n);'
    good src/telescope/a.cpp 'Log("strtod(1)");'
    good src/telescope/a.cpp 'RestoreLocale(); bool history = isspaceship(c);'
}

lint "$@"
