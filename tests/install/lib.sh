# Shared functions for the scripts of this folder, which set `build` and `work`.

fail() {
    echo "FAILED: $*" >&2
    exit 1
}
# cached NAME: prints a value from the build's cache
cached() { sed -n "s/^$1:[A-Z]*=//p" "$build/CMakeCache.txt"; }
# quietly COMMAND...: shows the output of the command only when it fails
quietly() { "$@" >"$work/log" 2>&1 || { cat "$work/log"; fail "$*"; }; }
