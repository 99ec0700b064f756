#!/bin/sh
. "$(dirname "$0")/lint.sh"

teach='All C++ files have the one form of .clang-format, so that no change is about white space. Run

    git ls-files "*.cpp" "*.h" | xargs clang-format -i

and put a table that reads better by hand between // clang-format off and // clang-format on.'

# The form depends on the version of the tool; the project uses 14.
tool=
for candidate in clang-format-14 clang-format; do
    if [ -z "$tool" ] && "$candidate" --version 2>/dev/null | grep -q 'version 14\.'; then
        tool=$candidate
    fi
done
if [ -z "$tool" ]; then
    echo "clang-format 14 is not installed; skipped."
    exit 77
fi

look() { cpp_files | tr '\n' '\0' | xargs -0 -r "$tool" "--style=file:$here/../../.clang-format" --dry-run -Werror 2>&1 | grep 'error:' || true; }

self_test() {
    bad src/kernel/a.cpp 'int   a = 1;'
    bad tests/kernel/a.h 'void Go( ) {Run();}'
    good src/kernel/a.cpp 'int a = 1;'
    good docs/a.md 'int   a = 1;'
}

lint "$@"
