#!/usr/bin/env bash
# dependencies.sh LIBRARY [QT_MODULE...]: what a shipped application takes in with the library. Of Qt only Core
# and Network and the modules named, of ours only the core, and no other library than these.
set -euo pipefail
modules=$(IFS='|' && echo "Core|Network${2:+|${*:2}}")
allowed='^(libdorvane|libQt6('$modules')|libicu(uc|i18n|data)|libcrypto|libz|libxml2|libstdc\+\+|libm|libgcc_s|libc|ld-linux[-a-z0-9_]*)\.so(\.|$)'

needed=$(readelf --dynamic --wide "$1" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
[ -n "$needed" ] || {
    echo "$1 needs nothing?" >&2
    exit 1
}
if more=$(grep -vE "$allowed" <<<"$needed"); then
    echo "$1 links libraries that a shipped application does not need:" $more >&2
    exit 1
fi
# What those bring along: neither a user interface nor D-Bus through Qt.
if through=$(ldd "$1" | grep -oE 'libQt6[A-Za-z]+' | grep -vxE "libQt6($modules)"); then
    echo "$1 loads other Qt modules:" $through >&2
    exit 1
fi
