#!/bin/sh
. "$(dirname "$0")/lint.sh"

teach='Outside libraries stay at the edge, where one folder can replace them: SQLite behind src/settings; Boost, OpenSSL, ERFA
and Qt in http, alpaca, the views, the real services of platform/posix and the programs. Elsewhere write against the
interfaces of src/platform (SerialPorts, HttpRequest, Astronomy) or those of src/settings, and extend them where
something is missing.'

edge='src/(platform/posix|http|alpaca|views|apps|client)/'
include='^[ \t]*#[ \t]*include[ \t]*[<"]'

look() {
    cpp_files src | except 'src/settings/' | code | find_code "${include}sqlite3"
    cpp_files src | except "$edge" | code | find_code "${include}(boost/|openssl/|erfa|Q[A-Z]|Qt[A-Z])"
}

self_test() {
    bad src/kernel/a.cpp '#include <sqlite3.h>'
    bad src/alpaca/a.cpp '#include <sqlite3.h>'
    good src/settings/a.cpp '#include <sqlite3.h>'
    for header in boost/asio/ip/tcp.hpp openssl/ssl.h erfa.h QWidget QtCore/QObject; do
        for folder in kernel settings platform link simulator; do
            bad "src/$folder/a.h" "#include <$header>"
        done
        bad src/kernel/a.cpp "  #  include \"$header\""
        for folder in platform/posix http alpaca views/web views/desktop apps client; do
            good "src/$folder/a.h" "#include <$header>"
        done
    done
    good src/kernel/a.cpp '// #include <boost/asio.hpp>'
    good src/kernel/a.cpp '#include <queue>'
}

lint "$@"
