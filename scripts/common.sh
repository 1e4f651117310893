# Shared by the scripts of this folder: sourced, never run.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

# The tools whose version decides what they say.
CLANG_FORMAT=${CLANG_FORMAT:-clang-format-14}
CLANG_TIDY=${CLANG_TIDY:-clang-tidy-14}
CLANGXX=${CLANGXX:-clang++-14}

JOBS=${JOBS:-$(nproc)}

# Sources of ours. Found on the disk and not through git, so that an unpacked archive works too.
our_sources() {
    find include src tools examples benchmarks tests -name '*.h' -o -name '*.cpp' | LC_ALL=C sort
}

# use_ccache: lets CMake (3.17 and later) take ccache wherever it is installed. Neither the folder in which the
# compiler runs nor that of the project counts, so that a second build tree or a second clone compiles nothing again.
use_ccache() {
    if command -v ccache >/dev/null; then
        export CMAKE_CXX_COMPILER_LAUNCHER=ccache CCACHE_NOHASHDIR=1 CCACHE_BASEDIR="$PWD"
    fi
}

minutes_and_seconds() {
    printf '%d:%02d' $(($1 / 60)) $(($1 % 60))
}
