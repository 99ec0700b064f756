#!/bin/sh
. "$(dirname "$0")/lint.sh"

teach='A service of systemd has the line Restart=on-failure in its section [Service]: the next driver stops what one has
left moving that crashed or was killed, so it has to be started at once.'

look() {
    all_files | grep -E '^packaging/systemd/.*\.service$' | while read -r file; do
        if ! sed -n '/^\[Service\]/,/^\[/p' "$file" | grep -qx 'Restart=on-failure'; then
            echo "$file"
        fi
    done
}

self_test() {
    bad packaging/systemd/a.service '[Service]
ExecStart=/usr/bin/a'
    bad packaging/systemd/a.service '[Unit]
Restart=on-failure
[Service]
ExecStart=/usr/bin/a'
    bad packaging/systemd/a.service '[Service]
Restart=no'
    good packaging/systemd/a.service '[Service]
Restart=on-failure'
    good packaging/systemd/a.socket '[Socket]'
}

lint "$@"
