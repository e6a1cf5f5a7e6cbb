# shellcheck shell=bash disable=SC2034
# Lists the Debian packages that a bare Debian 12 lacks, and installs them. Sourced by bash.

build_packages=(g++ cmake ninja-build ccache libassimp-dev zlib1g-dev libcli11-dev
    nlohmann-json3-dev libedit-dev libzstd-dev libembree-dev libopenimageio-dev)
# The Python package, its tests and its wheel.
python_packages=(pybind11-dev python3-dev python3-numpy python3-pytest python3-hypothesis mypy
    python3-venv python3-pip python3-wheel python3-setuptools python3-skbuild)
# Notebooks, and the kernel that runs them.
notebook_packages=(python3-notebook python3-ipykernel)
# Several processes that render a picture.
farm_packages=(python3-distributed)
job_packages=(assimp-testmodels)
# llvm has the symbolizer, which names the functions in sanitizer reports; without names the
# suppressions for leaks of other libraries do not match.
test_packages=(clang libclang-rt-14-dev llvm clang-format git python3 pkg-config libgtest-dev
    librsvg2-bin graphviz binutils chromium abigail-tools "${python_packages[@]}"
    "${notebook_packages[@]}" "${farm_packages[@]}")
fuzz_packages=(clang libclang-rt-14-dev llvm)
abi_packages=(clang abigail-tools git python3)
bench_packages=(libbenchmark-dev)
peer_packages=(libcoin-dev libopenscenegraph-dev)
tidy_packages=(clang clang-tidy git python3 libgtest-dev)
mutant_packages=(lld)
cycles_packages=(blender python3 python3-numpy)
portable_packages=(g++-aarch64-linux-gnu g++-s390x-linux-gnu qemu-user-static)

# missing_packages NAME...: sets `missing` to the packages that are not installed
missing_packages() {
    local package
    missing=()
    for package in "$@"; do
        [ "$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null)" = installed ] ||
            missing+=("$package")
    done
}

# need_packages NAME...: installs the missing packages without questions; is fast when none is
# missing.
need_packages() {
    local missing
    missing_packages "$@"
    [ ${#missing[@]} -gt 0 ] || return 0
    may_install "${missing[@]}" || return 1
    say "Installing ${missing[*]}"
    apt_install "${missing[@]}" && return 0
    # The package lists may be absent or old.
    apt_get update && apt_install "${missing[@]}" && return 0
    grep -vE '^(dl|pm)status:' build/apt.log | tail -n 20
    return 1
}

may_install() {
    local lack=
    command -v apt-get >/dev/null || lack="this machine has no apt-get"
    [ "$(id -u)" = 0 ] || command -v sudo >/dev/null || lack="this needs root or sudo"
    [ -n "$lack" ] || return 0
    printf 'Cannot install %s: %s.\n' "$*" "$lack" >&2
    return 1
}

apt_install() { apt_get install --no-install-recommends "$@"; }

# Deletes downloaded packages after their installation, and waits while another apt is running.
apt_get() {
    local as_root=()
    [ "$(id -u)" = 0 ] || as_root=(sudo)
    with_progress build/apt.log show_installing \
        "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -y -q \
        -o APT::Status-Fd=1 -o APT::Keep-Downloaded-Packages=false -o DPkg::Lock::Timeout=300 "$@"
}
