#!/usr/bin/env bash
# Installs a build and uses it as a client does: run.sh BUILD_DIR. Uses the CMake package with
# either library, pkg-config, the headers and the exported symbols.
set -euo pipefail

build=$(cd "$1" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d "$build/install_consumer.XXXXXX")
trap 'rm -rf "$work"' EXIT
staging=$work/staging

source "$here/lib.sh"

compiler=$(cached CMAKE_CXX_COMPILER)
sanitize=$(cached KELVO_SANITIZE)
flags=(-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
[ -z "$sanitize" ] || flags+=("-fsanitize=$sanitize" -fno-omit-frame-pointer)

quietly cmake --install "$build" --prefix "$staging"
libdir=$(dirname "$(find "$staging" -name libkelvo_sdk.so)")

check_output() { # PROGRAM
    local printed
    printed=$("$1") || fail "$1 ends with status $?"
    [ "$printed" = "lamp1: 0.5, nodes alive: 1" ] || fail "$1 printed: $printed"
}

quietly cmake -S "$here/consumer" -B "$work/consumer" -G "$(cached CMAKE_GENERATOR)" \
    -DCMAKE_PREFIX_PATH="$staging" \
    -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_CXX_FLAGS="${flags[*]}"
quietly cmake --build "$work/consumer"
check_output "$work/consumer/consumer_sdk"
check_output "$work/consumer/consumer_sdk_static"
needs_shared() { # PROGRAM
    readelf -d "$1" >"$work/needed"
    grep -q 'NEEDED.*libkelvo_sdk\.so' "$work/needed"
}
needs_shared "$work/consumer/consumer_sdk" || fail "Kelvo::sdk is not the shared library"
if needs_shared "$work/consumer/consumer_sdk_static"; then fail "Kelvo::sdk_static is not static"; fi

# The tree may be moved as a whole after the installation.
mv "$staging" "$work/moved"
libdir=${libdir/#$staging/$work/moved}
headers=$(python3 "$here/headers.py" "$work/moved/include" "$compiler") || fail "$headers"

# Builds with the flags of pkg-config alone: programs find the shared library without help.
export PKG_CONFIG_PATH=$libdir/pkgconfig
unset LD_LIBRARY_PATH
build_by_pkg_config() { # PROGRAM PKG_CONFIG_ARGUMENTS...
    local program=$1 arguments
    shift
    read -ra arguments <<<"$(pkg-config --cflags --libs "$@")"
    quietly "$compiler" "${flags[@]}" "$here/consumer/main.cpp" -o "$program" "${arguments[@]}"
    check_output "$program"
}
build_by_pkg_config "$work/by_pkg_config" kelvo
needs_shared "$work/by_pkg_config" || fail "pkg-config kelvo does not give the shared library"
build_by_pkg_config "$work/static_by_pkg_config" kelvo-static
if needs_shared "$work/static_by_pkg_config"; then fail "pkg-config kelvo-static gives the shared"; fi
# Sanitizers need the shared C library, so a static program is built only without them.
if [ -z "$sanitize" ]; then
    flags+=(-static)
    build_by_pkg_config "$work/wholly_static" --static kelvo
fi

# In the folders that the system searches, pkg-config gives no path.
quietly env DESTDIR="$work/root" cmake --install "$build" --prefix /usr
packaged=$(find "$work/root/usr" -name kelvo.pc)
[ -n "$packaged" ] || fail "no kelvo.pc in $work/root/usr"
if grep -q rpath "$packaged"; then fail "a path to the system's libraries goes into programs"; fi

symbols=$(python3 "$here/exported_symbols.py" "$libdir/libkelvo_sdk.so" ${sanitize:+--all-types}) ||
    fail "$symbols"
echo "installed, $headers, used by programs of five sorts; $symbols"
