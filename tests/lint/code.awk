# Prints C++ files as "file:line:code", without comments. With -v blank=1 also without the text of literals ("" stays).
# Knows "//", block comments, escapes, character literals, digit separators and raw literals.
function emit(text) { out = out text }
FNR == 1 { inComment = 0; inRaw = 0 }
{
    rest = $0
    out = ""
    while (rest != "" || inRaw) {
        if (inComment) {
            if (!(at = index(rest, "*/"))) break
            rest = substr(rest, at + 2)
            inComment = 0
        } else if (inRaw) {
            if (!(at = index(rest, rawEnd))) { if (!blank) emit(rest); break }
            emit((blank ? "" : substr(rest, 1, at - 1)) "\"")
            rest = substr(rest, at + length(rawEnd))
            inRaw = 0
        } else if (!match(rest, /["'\/]/)) {
            emit(rest)
            rest = ""
        } else {
            at = RSTART
            mark = substr(rest, at, 1)
            before = substr(rest, 1, at - 1)
            emit(before)
            rest = substr(rest, at)
            if (mark == "/") {
                if (substr(rest, 2, 1) == "/") break
                if (substr(rest, 2, 1) == "*") { inComment = 1; rest = substr(rest, 3); continue }
                emit("/")
                rest = substr(rest, 2)
            } else if (mark == "\"" && before ~ /(^|[^A-Za-z0-9_])(u8|u|U|L)?R$/ && index(rest, "(")) {
                rawEnd = ")" substr(rest, 2, index(rest, "(") - 2) "\""
                emit("\"")
                rest = substr(rest, index(rest, "(") + 1)
                inRaw = 1
            } else if (mark == "\"" && match(rest, /^"([^"\\]|\\.)*"/)) {
                emit(blank ? "\"\"" : substr(rest, 1, RLENGTH))
                rest = substr(rest, RLENGTH + 1)
            } else if (mark == "'" && match(rest, /^'([^'\\]|\\[^'][^']*|\\')'/)) {
                emit(blank ? "' '" : substr(rest, 1, RLENGTH))
                rest = substr(rest, RLENGTH + 1)
            } else {
                emit(mark)
                rest = substr(rest, 2)
            }
        }
    }
    if (out !~ /^[ \t]*$/) print FILENAME ":" FNR ":" out
}
