#!/usr/bin/env bash
# rules-can-fail.sh COMPILER: shows each rule something that breaks it, one fault at a time.
set -euo pipefail
compiler=$1
here=$(cd "$(dirname "$0")" && pwd)
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
status=0

clean_tree() {
    rm -rf "${tree:?}"/*
    mkdir -p "$tree"/{include/Dorvane,src/low,src/high,src/above,examples}
    echo '#pragma once' | tee "$tree"/{src/low/Low.h,src/high/High.h,include/Dorvane/DVPublic.h} >/dev/null
    echo '#include "Low.h"' >"$tree/src/high/High.cpp"
    echo '#include <Dorvane/DVPublic.h>' | tee "$tree"/{examples/main.cpp,src/above/Above.cpp} >/dev/null
    echo '#pragma once' >"$tree/src/above/Above.h"
}

expect() { # accepts|rejects WHAT COMMAND...
    local expected=$1 what=$2 actual=accepts
    shift 2
    "$@" >/dev/null 2>&1 || actual=rejects
    if [ "$actual" != "$expected" ]; then
        echo "$(basename "$1") $actual $what" >&2
        status=1
    fi
}

floors=("$here/floors.sh" "$tree" low high -- above)
headers=("$here/headers.sh" "$compiler" "$tree/include")
library() { # SOURCE OPTION...: a shared library made of one line
    local source=$1
    shift
    "$compiler" -x c++ -shared -fPIC -o "$tree/lib.so" - "$@" <<<"$source"
}

clean_tree
expect accepts "a clean tree" "${floors[@]}"
expect accepts "a clean header" "${headers[@]}"

echo '#include "High.h"' >"$tree/src/low/Low.cpp"
expect rejects "an include that goes up" "${floors[@]}"
clean_tree
echo '#pragma once' >"$tree/src/high/Low.h"
expect rejects "one header name on two floors" "${floors[@]}"
clean_tree
echo '#include "Low.h"' >>"$tree/include/Dorvane/DVPublic.h"
expect rejects "a public header that includes a private one" "${floors[@]}"
clean_tree
echo '#include "Low.h"' >>"$tree/src/above/Above.cpp"
expect rejects "a private header in a library above the floors" "${floors[@]}"
expect accepts "a private header of the floor that a library above the floors may see" "${floors[@]::5}" above:low
expect rejects "a private header of another floor than that" "${floors[@]::5}" above:high
clean_tree
echo '#include "Above.h"' >>"$tree/src/high/High.cpp"
expect rejects "a floor that includes a library above it" "${floors[@]}"
clean_tree
echo '#  include <QtCore/QString>' >>"$tree/src/low/Low.h"
expect rejects "an include with a Qt module" "${floors[@]}"

clean_tree
echo 'inline std::string dv_name();' >>"$tree/include/Dorvane/DVPublic.h"
expect rejects "a header that needs another one first" "${headers[@]}"

library 'extern "C" void abort(); void dv_ours() { abort(); }'
expect accepts "our own names" "$here/exports.sh" "$tree/lib.so"
expect accepts "a library without dependencies of note" "$here/dependencies.sh" "$tree/lib.so"
library 'void dv_ours() {} extern "C" void inflate() {}'
expect rejects "a foreign name" "$here/exports.sh" "$tree/lib.so"
printf '%s\n' 'dv_ours()' 'dv_theirs(int)' >"$tree/listed"
library 'void dv_ours() {} void dv_theirs(int) {}'
expect accepts "the listed names" "$here/exports.sh" "$tree/lib.so" "$tree/listed"
library 'void dv_ours() {} void dv_theirs(long) {}'
expect rejects "a name whose parameters changed" "$here/exports.sh" "$tree/lib.so" "$tree/listed"
library 'void dv_ours() {} void dv_theirs(int) {} void dv_more() {}'
expect rejects "a name that is not listed" "$here/exports.sh" "$tree/lib.so" "$tree/listed"
printf '%s\n' 'dv_more()' >"$tree/private"
expect rejects "a name of the private list without the release" "$here/exports.sh" "$tree/lib.so" "$tree/listed" "$tree/private" dv_release
library 'extern "C" int dv_release; int dv_release; void dv_ours() {} void dv_theirs(int) {} void dv_more() {}'
expect accepts "a name of the private list" "$here/exports.sh" "$tree/lib.so" "$tree/listed" "$tree/private" dv_release

# private: LIBRARY_SOURCE REVIEW_SOURCE [LINK_OPTION...]: asks whether their border holds.
private() {
    local source=$1 review=$2
    shift 2
    library "extern \"C\" int dv_release; int dv_release = 1; $source" "$@"
    cp "$tree/lib.so" "$tree/core.so"
    library "extern \"C\" int dv_release; void DV_inside(); void DV_other(); $review" "-Wl,$tree/core.so"
    "$here/private-exports.sh" "$tree/core.so" "$tree/lib.so" "$tree/promised" "$tree/private" dv_release
}
echo 'dv_promised()' >"$tree/promised"
echo 'DV_inside()' >"$tree/private"
inside='void DV_inside() {}'
uses='int *release = &dv_release; void review() { DV_inside(); }'
expect accepts "a private name that is used" private "$inside" "$uses"
expect rejects "a private name that nobody uses" private "$inside" 'int *release = &dv_release;'
expect rejects "a library that runs with any release" private "$inside" 'void review() { DV_inside(); }'
expect rejects "calls of its own through a table" private "$inside void DV_caller() { DV_inside(); }" "$uses"
expect accepts "calls of its own that are bound" private "$inside void DV_caller() { DV_inside(); }" "$uses" -Wl,-Bsymbolic-functions
echo 'DV_inside()' >"$tree/promised"
expect rejects "a name that is promised and private" private "$inside" "$uses"
echo 'DV_data' >"$tree/private"
expect rejects "private data" private 'int DV_data = 1;' 'int *release = &dv_release; extern int DV_data; int *data = &DV_data;'
library 'void dv_ours() {}' -Wl,--no-as-needed -ldl -lrt -lpthread -lresolv
expect rejects "a dependency that is not on the list" "$here/dependencies.sh" "$tree/lib.so"

exit $status
