#!/usr/bin/env bash
# Installs a build and renders a picture with a program that uses the package: render.sh BUILD_DIR
set -euo pipefail

build=$(cd "$1" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d "$build/install_render.XXXXXX")
trap 'rm -rf "$work"' EXIT
staging=$work/staging

source "$here/lib.sh"

sanitize=$(cached KELVO_SANITIZE)
flags=(-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
[ -z "$sanitize" ] || flags+=("-fsanitize=$sanitize" -fno-omit-frame-pointer)

quietly cmake --install "$build" --prefix "$staging"
quietly cmake -S "$here/render_host" -B "$work/host" -G "$(cached CMAKE_GENERATOR)" \
    -DCMAKE_PREFIX_PATH="$staging" -DCMAKE_CXX_COMPILER="$(cached CMAKE_CXX_COMPILER)" \
    -DCMAKE_CXX_FLAGS="${flags[*]}"
quietly cmake --build "$work/host"
printed=$("$work/host/render_host" "$work/sky.png") || fail "render_host ends with status $?"
[ "$printed" = "0.25 0.5 0.75" ] || fail "render_host printed: $printed"
[ -s "$work/sky.png" ] || fail "there is no picture"
[ ! -e "$staging/include/render/impl" ] || fail "headers of the implementation are installed"
echo "installed, and a picture rendered"
