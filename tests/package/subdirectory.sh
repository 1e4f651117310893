#!/usr/bin/env bash
# subdirectory.sh SOURCE BUILD CMAKE_ARGUMENT...: an application that builds our sources with its own.
. "$(dirname "$0")/common.sh"
source=$1 build=$2
shift 2
build_project "$here/subdirectory" "$build" -DDORVANE_SOURCE_DIR="$source" "$@"
expect_texts "$build/consumer"

# A guest adds nothing to what its host installs, and no tests, tool or examples to what it builds.
rm -rf "$build/installed"
quietly cmake --install "$build" --prefix "$build/installed"
[ "$(cd "$build/installed" && find . -type f)" = ./bin/consumer ] || fail "$(find "$build/installed" -type f)"
