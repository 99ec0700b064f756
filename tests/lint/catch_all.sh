#!/bin/sh
. "$(dirname "$0")/lint.sh"

teach='A catch of everything hides mistakes of ours: a failed assertion, a std::logic_error, a bad_alloc would go by unseen.
It stands only where a fault must not cross a thread: in the message pump and where clients are served (src/alpaca).
Catch DriverError by reference instead; where a procedure carries on after a failing statement, use ResumeNext
(kernel/base/errors.h), which catches DriverError only and notes what it swallowed.'

allowed='src/(platform/pump_engine\.cpp|alpaca/)'

look() { cpp_files src | except "$allowed" | code_without_text | find_code '@catch[ ]*\([ ]*\.\.\.[ ]*\)'; }

self_test() {
    for text in 'try { Go(); } catch (...) {}' '} catch(...) {' '    catch ( ... )'; do
        bad src/telescope/a.cpp "$text"
        bad src/platform/posix/a.cpp "$text"
        good src/platform/pump_engine.cpp "$text"
        good src/alpaca/a.cpp "$text"
        bad src/http/a.cpp "$text"
        good src/telescope/a.cpp "// $text"
    done
    good src/telescope/a.cpp 'try { Go(); } catch (const DriverError& error) {}'
}

lint "$@"
