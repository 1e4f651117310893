# Shared by the tests of this folder: sourced, never run.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)

fail() {
    printf '%s\n' "$*" >&2
    exit 1
}

# quietly COMMAND...: shows what it printed only when it fails.
quietly() {
    local output
    output=$("$@" 2>&1) || fail "$* failed:"$'\n'"$output"
}

# in_new_home COMMAND...: with a home folder of its own, and of the environment only what finds programs.
in_new_home() {
    local home status=0
    home=$(mktemp -d)
    env -i PATH="$PATH" HOME="$home" LC_ALL=C.UTF-8 QT_QPA_PLATFORM=offscreen "$@" || status=$?
    rm -rf "$home"
    return $status
}

# expect_texts PROGRAM: it serves its packaged French, and the base text of what French has not.
expect_texts() {
    local texts
    texts=$(in_new_home "$1" "$here/consumer/strings")
    [ "$texts" = $'fr\nbonjour du paquet\ngoodbye from the package' ] || fail "$1 printed:"$'\n'"$texts"
}

# build_project SOURCE BUILD CMAKE_ARGUMENT...
build_project() {
    local source=$1 build=$2
    shift 2
    rm -f "$build/CMakeCache.txt"
    quietly cmake -S "$source" -B "$build" "$@"
    quietly cmake --build "$build" -j "$(nproc)"
}
