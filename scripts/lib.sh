# Shared by the scripts: where the tree is, and what a bare Debian 12 lacks. Sourced by bash.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

say() { printf '\n== %s\n' "$*"; }

# Installs the Debian packages that are not there yet; asks for nothing, and costs next to nothing
# when all are there.
need_packages() {
    local missing=() package
    for package in "$@"; do
        [ "$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null)" = installed ] ||
            missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0
    local as_root=()
    [ "$(id -u)" = 0 ] || as_root=(sudo)
    say "Installing ${missing[*]}"
    export DEBIAN_FRONTEND=noninteractive
    local install=("${as_root[@]}" apt-get install -y -q --no-install-recommends "${missing[@]}")
    "${install[@]}" >/dev/null 2>&1 && return 0
    "${as_root[@]}" apt-get update -q
    "${install[@]}"
}

build_packages=(g++ cmake ninja-build ccache libassimp-dev libcli11-dev
    nlohmann-json3-dev libedit-dev)
job_packages=(assimp-testmodels)
test_packages=(clang libclang-rt-14-dev clang-format git python3 pkg-config libgtest-dev
    libbenchmark-dev libxml2-utils librsvg2-bin graphviz binutils
    chromium)
bench_packages=(libbenchmark-dev)

# configure PRESET [cmake arguments]
configure() {
    local preset=$1
    shift
    cmake --preset "$preset" -DCMAKE_CXX_COMPILER_LAUNCHER=ccache "$@" >"build/$preset.configure.log" 2>&1 || {
        cat "build/$preset.configure.log"
        return 1
    }
}
mkdir -p build
