#!/usr/bin/env bash
# Installs a build and uses it as a client does: run.sh BUILD_DIR
# By the CMake package with either library, by pkg-config, and through the shared library's symbols.
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

# The tree may be moved as a whole after installation.
mv "$staging" "$work/moved"
libdir=${libdir/#$staging/$work/moved}
export PKG_CONFIG_PATH=$libdir/pkgconfig
read -ra cflags <<<"$(pkg-config --cflags kelvo)"
read -ra libs <<<"$(pkg-config --libs kelvo)"
quietly "$compiler" "${flags[@]}" "${cflags[@]}" "$here/consumer/main.cpp" -o "$work/by_pkg_config" \
    "${libs[@]}"
export LD_LIBRARY_PATH=$libdir${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}
check_output "$work/by_pkg_config"

symbols=$(python3 "$here/exported_symbols.py" "$libdir/libkelvo_sdk.so") || fail "$symbols"
echo "installed, used by three programs; $symbols"
