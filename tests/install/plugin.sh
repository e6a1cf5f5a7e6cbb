#!/usr/bin/env bash
# Installs a build, builds the example plug-in and a program against the package, moves the plug-in
# elsewhere and uses it there: plugin.sh BUILD_DIR
set -euo pipefail

build=$(cd "$1" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d "$build/install_plugin.XXXXXX")
trap 'rm -rf "$work"' EXIT
staging=$work/staging

fail() {
    echo "FAILED: $*" >&2
    exit 1
}
# cached NAME: a value from the build's cache
cached() { sed -n "s/^$1:[A-Z]*=//p" "$build/CMakeCache.txt"; }
# quietly COMMAND...: shows what it printed only when it fails
quietly() { "$@" >"$work/log" 2>&1 || { cat "$work/log"; fail "$*"; }; }

sanitize=$(cached KELVO_SANITIZE)
flags=(-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
[ -z "$sanitize" ] || flags+=("-fsanitize=$sanitize" -fno-omit-frame-pointer)
# build_against SOURCE NAME: into work/NAME
build_against() {
    quietly cmake -S "$1" -B "$work/$2" -G "$(cached CMAKE_GENERATOR)" \
        -DCMAKE_PREFIX_PATH="$staging" -DCMAKE_INSTALL_PREFIX="$work/springs" \
        -DCMAKE_CXX_COMPILER="$(cached CMAKE_CXX_COMPILER)" -DCMAKE_CXX_FLAGS="${flags[*]}"
    quietly cmake --build "$work/$2"
}

quietly cmake --install "$build" --prefix "$staging"
example=$here/../../examples/plugin
lines=$(cat "$example"/* | wc -l)
[ "$lines" -lt 150 ] || fail "the example has $lines lines"
build_against "$example" plugin
build_against "$here/plugin_host" host
quietly cmake --install "$work/plugin"

# Definitions are found from the shared object, wherever both lie. What was installed without a path
# to the library uses the program's.
mkdir "$work/moved"
mv "$work/springs/lib/kelvo/plugins/"* "$work/moved"
host=$work/host/plugin_host
expected="springs: 3 types
at 0 s: EXPECTED"
check_output() { # COMMAND...
    local printed
    printed=$("$@") || fail "$* ends with status $?"
    [ "$printed" = "$expected" ] || fail "$* printed: $printed"
}
check_output "$host" "$work/moved/springs.so"
check_output "$host" "$work/moved"
check_output env KELVO_PLUGIN_PATH="$work/moved" "$host"
check_output env KELVO_PLUGIN_PATH="$work/moved" "$host" springs

# Without its definitions it is refused, and the program goes on.
mkdir "$work/alone"
cp "$work/moved/springs.so" "$work/alone"
printed=$("$host" "$work/alone/springs.so" 2>&1) || fail "the program ends with status $?"
[ "$printed" = "plug-in '$work/alone/springs.so': cannot read its definitions \
'$work/alone/springs.knd': No such file or directory" ] || fail "printed: $printed"
echo "plug-in of $lines lines built, moved and used"
