# shellcheck shell=bash
# Finds the tree and sets up its builds, for all scripts. Sourced by bash.
set -euo pipefail

# shellcheck disable=SC2034
called_from=$PWD # scripts/install resolves a relative folder against this one
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"
mkdir -p build

source scripts/progress.sh
source scripts/packages.sh

# One compiler cache serves all clones and users: paths are relative to the root of the clone, and
# compiler messages, which the cache stores too, are in a fixed language.
export CCACHE_BASEDIR=$root CCACHE_NOHASHDIR=1 LANG=C.UTF-8
unset LC_ALL LC_CTYPE LC_MESSAGES

say() { printf '\n== %s\n' "$*"; }
give_up() { # STATUS MESSAGE
    printf '%s\n' "$2" >&2
    exit "$1"
}

# configure PRESET [cmake arguments]
configure() {
    local preset=$1
    shift
    with_progress "build/$preset.configure.log" show_lines \
        cmake --preset "$preset" -DCMAKE_CXX_COMPILER_LAUNCHER=ccache "$@" && return 0
    cat "build/$preset.configure.log"
    return 1
}

# build PRESET [cmake arguments]: prints the errors, not the files that compiled
build() {
    local preset=$1
    shift
    with_progress "build/$preset.build.log" show_compiling \
        cmake --build --preset "$preset" "$@" && return 0
    grep -vE '^\[[0-9]+/[0-9]+\] ' "build/$preset.build.log" | head -n 60 || true
    return 1
}
