#!/usr/bin/env bash
# missing.sh PREFIX BUILD QUICK KEYCHAIN REVIEW CMAKE_ARGUMENT...: what is not there says so, and what to do. QUICK,
# KEYCHAIN and REVIEW are the states of the components of these names in PREFIX, "installed" or "missing".
. "$(dirname "$0")/common.sh"
prefix=$1 build=$2
declare -A state=([Quick]=$3 [Keychain]=$4 [Review]=$5)
shift 5
arguments=(-DCMAKE_PREFIX_PATH="$prefix" "$@")

# configure COMPONENTS VERSION: prints all that CMake says, in one line; its status is CMake's.
configure() {
    local status=0
    rm -rf "$build"
    cmake -S "$here/missing" -B "$build" -DCOMPONENTS="$1" -DVERSION="$2" "${arguments[@]}" >"$build.log" 2>&1 || status=$?
    tr -s ' \n' ' ' <"$build.log"
    return $status
}

refused() { # COMPONENTS VERSION TEXT
    local said
    said=$(configure "$1" "$2") && fail "find_package(Dorvane $2 REQUIRED $1) went through: $said"
    [[ $said == *"$3"* ]] || fail "find_package(Dorvane $2 REQUIRED $1) said: $said"
}

accepted() { # COMPONENTS VERSION TEXT
    local said
    said=$(configure "$1" "$2") || fail "find_package(Dorvane $2 REQUIRED $1) failed: $said"
    [[ $said == *"$3"* ]] || fail "find_package(Dorvane $2 REQUIRED $1) said: $said"
}

refused "COMPONENTS;Kwik" 1.4 "Dorvane has no component Kwik. Its components are Quick, Keychain and Review"
refused "" 2.0 'compatible with requested version'
refused "" 1.99 'compatible with requested version'
accepted "" 1.0 "Build files have been written"
for component in "${!state[@]}"; do
    if [ "${state[$component]}" = missing ]; then
        refused "COMPONENTS;$component" 1.4 "configure Dorvane with -DDORVANE_BUILD_${component^^}=ON and install it again."
        accepted "OPTIONAL_COMPONENTS;$component" 1.4 "$component: FALSE"
    else
        accepted "COMPONENTS;$component" 1.4 "$component: TRUE"
    fi
done

# Each is left out once.
rm -rf "$build.prefix"
cp -r "$prefix" "$build.prefix"
arguments[0]=-DCMAKE_PREFIX_PATH=$build.prefix
for component in "${!state[@]}"; do
    [ "${state[$component]}" = installed ] || continue
    rm "$build.prefix"/lib*/cmake/Dorvane/Dorvane"$component"Targets.cmake
    refused "COMPONENTS;$component" 1.4 "configure Dorvane with -DDORVANE_BUILD_${component^^}=ON and install it again."
done
