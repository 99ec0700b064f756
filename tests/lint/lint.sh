# What the lints share; each of them reads this file. A lint sets
#
#     teach        what is wrong, why, and what to write instead; printed under the findings
#     look         a function that prints one line for each finding; it runs at the top of the sources
#     self_test    a function of `bad` and `good` calls: samples that must and must not be found
#
# and ends with `lint "$@"`. It is called as `NAME.sh ROOT`, or as `NAME.sh --self-test`, which proves on samples in a
# temporary folder that the lint can fail. Exit status 1 with findings, 77 when a tool it needs is not there.
set -eu
# The samples below are judged byte by byte, in any locale of the machine.
LC_ALL=C
export LC_ALL
here=$(cd "$(dirname "$0")" && pwd)

# all_files: every file of the project below the current folder, one a line; what git ignores is none of them.
all_files() {
    if [ -e .git ] && git ls-files >/dev/null 2>&1; then
        git ls-files --cached --others --exclude-standard | sort -u | while read -r file; do
            if [ -f "$file" ]; then
                echo "$file"
            fi
        done
    else
        find . \( -name .git -o -path ./build \) -prune -o -type f -print | sed 's,^\./,,' | sort
    fi
}

# cpp_files [FOLDER...]: the C++ files of these folders, or all of them.
cpp_files() {
    pattern=
    for folder in "$@"; do
        pattern="$pattern${pattern:+|}$folder"
    done
    all_files | grep -E "^(${pattern:-.*})(/|\$)" | grep -E '\.(cpp|h)$' || true
}

# except PATTERN: drops the files whose path matches the extended regular expression from its start on.
except() { grep -vE "^($1)" || true; }

# code / code_without_text: the files named on the input as lines "file:line:code", comments taken out; the second one
# empties the text literals too.
code() { xargs -r awk -f "$here/code.awk"; }
code_without_text() { xargs -r awk -v blank=1 -f "$here/code.awk"; }

# find_code PATTERN: the lines of such an input whose code matches the extended regular expression; "@" in front
# of a word stands for "no letter, digit or underscore".
find_code() {
    pattern=$(printf '%s' "$1" | sed 's/@/(^|[^A-Za-z0-9_])/g')
    awk -v pattern="$pattern" '{
        text = $0
        sub(/^[^:]*:[0-9]*:/, "", text)
        if (text ~ pattern) print
    }'
}

sample_root=
failures=0

# sample FILE TEXT: what `look` prints for a project that holds this one file.
sample() {
    rm -rf "$sample_root/tree"
    mkdir -p "$sample_root/tree/$(dirname "$1")"
    printf '%s\n' "$2" >"$sample_root/tree/$1"
    (cd "$sample_root/tree" && look)
}

bad() {
    if [ -z "$(sample "$1" "$2")" ]; then
        echo "Not found in $1: $2"
        failures=$((failures + 1))
    fi
}

good() {
    found=$(sample "$1" "$2")
    if [ -n "$found" ]; then
        echo "Found, though it is allowed: $found"
        failures=$((failures + 1))
    fi
}

lint() {
    if [ "${1:-}" = --self-test ]; then
        sample_root=$(mktemp -d)
        trap 'rm -rf "$sample_root"' EXIT
        self_test
        [ "$failures" -eq 0 ]
        exit
    fi
    cd "${1:-$here/../..}"
    findings=$(look)
    if [ -n "$findings" ]; then
        printf '%s\n\n%s\n' "$findings" "$teach"
        exit 1
    fi
}
