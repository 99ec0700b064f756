#!/bin/sh
. "$(dirname "$0")/lint.sh"

teach='A settings key is written once, with all that is known of it, in src/settings/setting_keys.h, and kAllSettings at the
end of that file lists every key once: the tests walk the list, so a key that is not in it is never tested.'

look() {
    cpp_files src/settings | grep '/setting_keys\.h$' | code_without_text | awk '{
        text = $0
        sub(/^[^:]*:[0-9]*:/, "", text)
        if (match(text, /SettingKey [A-Za-z0-9_]+\{/)) {
            name = substr(text, RSTART + 11, RLENGTH - 12)
            where[name] = $0
        } else if (match(text, /^ *setting::[A-Za-z0-9_]+,/)) {
            name = substr(text, RSTART, RLENGTH - 1)
            sub(/^ *setting::/, "", name)
            if (listed[name]++) print $0 "  listed twice"
        }
    }
    END {
        for (name in where) {
            if (!(name in listed)) print where[name] "  not in kAllSettings"
        }
    }'
}

self_test() {
    keys='inline constexpr SettingKey Port{"Port", "COM1"};
inline constexpr SettingKey Retry{"Retry", "2"};'
    file=src/settings/setting_keys.h
    good $file "$keys
inline constexpr std::array kAllSettings{
    setting::Port,
    setting::Retry,
};"
    bad $file "$keys
inline constexpr std::array kAllSettings{
    setting::Port,
};"
    bad $file "$keys
inline constexpr std::array kAllSettings{
    setting::Port,
    // setting::Retry,
};"
    bad $file "$keys
inline constexpr std::array kAllSettings{
    setting::Port,
    setting::Retry,
    setting::Port,
};"
    good src/settings/persist.h "$keys"
}

lint "$@"
