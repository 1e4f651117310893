#!/usr/bin/env bash
# wording.sh ROOT: comments and pages stand on their own. They cite public standards, and never a paper
# or a folder that a reader of this repository does not have.
set -euo pipefail
cd "$1"
unknown='\b[P]art [0-9]\.[0-9]|\b[s]pec(ification)?\.md\b|\b[t]he spec(ification)?\b|[d]esign\.md|[s]tyle\.md|\.\./[s]hared|/[w]ork/|\b[t]his (session|workplace)\b|\b[i]ssue #?[0-9]'
if grep -rnIiE --exclude-dir=.git --exclude-dir=.cache --exclude-dir='build*' --exclude-dir=out "$unknown" .; then
    echo "These lines speak of something that is not here." >&2
    exit 1
fi
