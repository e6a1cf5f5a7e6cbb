#!/usr/bin/env bash
# Installs a build, builds the example plug-in and a program against the package, moves the plug-in
# elsewhere and uses it there: plugin.sh BUILD_DIR
set -euo pipefail

build=$(cd "$1" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d "$build/install_plugin.XXXXXX")
trap 'rm -rf "$work"' EXIT
staging=$work/staging

source "$here/lib.sh"

sanitize=$(cached KELVO_SANITIZE)
flags=(-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
[ -z "$sanitize" ] || flags+=("-fsanitize=$sanitize" -fno-omit-frame-pointer)
# build_against SOURCE NAME: builds into work/NAME
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

# The loader finds definitions relative to the shared object. Files installed without a path to the
# library use the program's.
mkdir "$work/moved"
mv "$work/springs/lib/kelvo/plugins/"* "$work/moved"
host=$work/host/plugin_host
# check_output EXPECTED COMMAND...
check_output() {
    local expected=$1 printed
    shift
    printed=$("$@") || fail "$* ends with status $?"
    [ "$printed" = "$expected" ] || fail "$* printed: $printed"
}
# check_refusal STATUS EXPECTED COMMAND...: compares the standard error stream
check_refusal() {
    local expected=$2 status=0 ends=$1 told
    shift 2
    told=$("$@" 2>&1 >/dev/null) || status=$?
    [ "$status" = "$ends" ] || fail "$* ends with status $status and told: $told"
    [ "$told" = "$expected" ] || fail "$* told: $told"
}
# At 0 s the value is twice the first jump; a second later, that times exp(-0.5) cos(sqrt(10)).
expected="springs: 3 types
at 0 s: -1.506, at 1 s: 0.91324, label: Spring"
check_output "$expected" "$host" "$work/moved/springs.so"
check_output "$expected" "$host" "$work/moved"
check_output "$expected" env KELVO_PLUGIN_PATH="$work/moved" "$host"
check_output "$expected" env KELVO_PLUGIN_PATH="$work/moved" "$host" springs

# Builds the same host with the flags of pkg-config alone.
libdir=$(dirname "$(find "$staging" -name kelvo-plugins.pc)")
read -ra by_pkg_config <<<"$(PKG_CONFIG_PATH=$libdir pkg-config --cflags --libs kelvo-plugins)"
quietly "$(cached CMAKE_CXX_COMPILER)" "${flags[@]}" "$here/plugin_host/main.cpp" \
    -o "$work/host_by_pkg_config" "${by_pkg_config[@]}"
check_output "$expected" env -u LD_LIBRARY_PATH "$work/host_by_pkg_config" "$work/moved"

# Runs the tool where it was installed, and after moving the tree.
cp -r "$staging" "$work/elsewhere"
cat >"$work/springs.kns" <<'TEXT'
kelvo scene 1

node jitter "jitter1" {
    Real strength = 2
}
node spring "spring1" {
    Real time = 1
    Real offset = 1 <- jitter1.value
}
TEXT
for kelvo in "$staging/bin/kelvo" "$work/elsewhere/bin/kelvo"; do
    eval=("$kelvo" eval "$work/springs.kns" jitter1.value)
    check_output -1.506 "${eval[@]}" --plugin "$work/moved/springs.so"
    check_output -1.506 env KELVO_PLUGIN_PATH="$work/moved" "${eval[@]}" --plugin springs
    check_output -1.506 env KELVO_PLUGIN_PATH="$work/none:$work/moved" "${eval[@]}"
    check_output "spring  Spring  : motion
jitter  Jitter  : motion" "$kelvo" --plugin "$work/moved" types --library springs --base motion
done
KELVO_PLUGIN_PATH=$work/moved "$kelvo" eval "$work/springs.kns" spring1.value | grep -q '^0\.91323976' ||
    fail "the tool evaluates the chain to something else"
check_refusal 1 "kelvo: $work/springs.kns:8:24: node 'spring1': The node 'jitter1' has no output \
'value'." "$kelvo" eval "$work/springs.kns" spring1.value

# Without its definitions the plug-in is refused, and the program goes on.
mkdir "$work/alone"
cp "$work/moved/springs.so" "$work/alone"
message="plug-in '$work/alone/springs.so': cannot read its definitions \
'$work/alone/springs.knd': No such file or directory"
check_refusal 1 "$message" "$host" "$work/alone/springs.so"
check_refusal 1 "kelvo: $message" "$kelvo" types --plugin "$work/alone/springs.so"

# The host and the tool also refuse a plug-in built for another version of the interface.
header=$staging/include/kelvo/sdk/library_entry.h
version=$(sed -n 's/.*libraryInterfaceVersion = \([0-9]*\);/\1/p' "$header")
sed -i "s/libraryInterfaceVersion = $version;/libraryInterfaceVersion = $((version + 1));/" "$header"
build_against "$example" newer
message="plug-in '$work/newer/springs.so': it was built for version $((version + 1)) of the library \
interface, this program has version $version"
check_refusal 1 "$message" "$host" "$work/newer/springs.so"
check_refusal 1 "kelvo: $message" "$kelvo" eval "$work/springs.kns" jitter1.value \
    --plugin "$work/newer/springs.so"
echo "plug-in of $lines lines built, moved and used"
