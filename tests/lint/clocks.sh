#!/bin/sh
. "$(dirname "$0")/lint.sh"

teach='The driver reads time and sleeps through Clock (src/platform/clock.h) and its waits (kernel/base/waits.h) only, and
timers come from the message pump: so a test runs an hour in a moment, the same each time. A real clock or sleep stands
in src/platform/posix alone (the programs and the command-line client, which have no Clock, keep their own). The server
uses the timers of Asio, without reading a clock.'

allowed='src/(platform/posix|client|apps)/'

calls='_clock::now@|@(gettimeofday|clock_gettime|clock_nanosleep|nanosleep|usleep|sleep_for|sleep_until|timer_settime|timerfd_create|localtime(_r)?|gmtime(_r)?|mktime|strftime|wait_for|wait_until)[ ]*\('
short='(^|[^A-Za-z0-9_.>:])(std::|::)?(time|sleep|clock)[ ]*\(([ ]*(nullptr|NULL|0|&)|[0-9]|[ ]*\))'

look() { cpp_files src | except "$allowed" | code_without_text | find_code "$calls|$short"; }

self_test() {
    for call in 'auto now = std::chrono::steady_clock::now();' 'auto t = std::time(nullptr);' 'auto t = time(0);' \
        'std::this_thread::sleep_for(5ms);' 'usleep(10);' '::sleep(1);' 'nanosleep(&a, &b);' \
        'clock_gettime(CLOCK_MONOTONIC, &now);' 'gettimeofday(&now, nullptr);' 'localtime_r(&t, &broken);' \
        'wake.wait_for(lock, 1ms);' 'Pump pump{std::chrono::steady_clock::now};'; do
        bad src/telescope/a.cpp "$call"
        bad src/http/a.cpp "$call"
        good src/platform/posix/a.cpp "$call"
        good src/apps/a.cpp "$call"
        good src/telescope/a.cpp "/* $call */"
    done
    good src/http/a.cpp 'timer.expires_after(std::chrono::seconds(5));'
    good src/telescope/a.cpp 'needs_.clock.Sleep(10); WaitForMilliseconds(5); Runtime(0); x.time(0);'
}

lint "$@"
