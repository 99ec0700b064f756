#!/bin/sh
. "$(dirname "$0")/lint.sh"

teach='The project explains itself: whoever reads a file has this checkout and nothing else. References to numbered chapters
of other documents, to tickets and to places on one machine lead nowhere. Say the rule itself in the words of the
system, name the file of this project that holds it, and write paths relative to the checkout. Packages come through the
ordinary package tools, so no host of a registry is named.'

# Bracketed letters keep this file, and the samples below, from being found themselves.
words='(^|[^A-Za-z])[P]arts? ([0-9]|[IVX]+[^A-Za-z])|[Ss]pecificatio[n]|(^|[^A-Za-z])[Tt]he [s]pec([^A-Za-z_]|$)|[s]pec\.md|(^|[^A-Za-z])[Ii]ssues? #?[0-9]|DEVELOPER[S]\.md'
places='(^|[^A-Za-z0-9_./-])/[w]ork(/|[^A-Za-z0-9_/-]|$)'
hosts='[d]eb\.debian\.org|[p]ypi\.(org|io)|[p]ythonhosted\.org|[n]pmjs\.(org|com)|[c]rates\.io|[p]roxy\.golang\.org|[r]ubygems\.org|[m]aven\.org|[c]onan\.io|[a]rtifactory|[d]ocker\.io|[g]hcr\.io|[q]uay\.io'

look() { all_files | except '.*\.yaml$' | tr '\n' '\0' | xargs -0 -r grep -HnIE "$words|$places|$hosts" || true; }

self_test() {
    # Put together here, so that they do not stand in this file.
    part=Par; spec=spe; issue=issu; work=/wor; developers=DEVELOPER
    for text in "as ${part}t 3.1 says" "${part}ts 2 and 4" "of the ${spec}cification" "The ${spec}c" "see the ${spec}c." \
        "${spec}c.md" "${issue}e 2" "${issue}es #14" "${developers}S.md" "cd ${work}k/main" "\"${work}k\"" \
        "https://py""pi.org" "http://deb.""debian.org/debian" "http://registry.npm""js.org"; do
        bad src/kernel/a.cpp "// $text"
        bad README.md "$text"
        bad docs/page.html "$text"
        good definitions/alpaca.yaml "$text"
    done
    good src/kernel/a.cpp '// part of the path; parts; a partial 3; inspect; specific; the spectrum of Party 3'
    good src/kernel/a.cpp '// build/works, work/, the issue of 3 texts'
}

lint "$@"
