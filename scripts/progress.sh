# shellcheck shell=bash
# Shows the progress of a long step. Sourced by bash.
# A terminal shows one line that changes; a log gets a line every few seconds, with the time since
# the step began, even while the step prints nothing.

beat=3 # seconds

# with_progress LOG SHOW COMMAND...: sends the output of COMMAND to LOG and to SHOW, one of the
# functions below. Returns the status of COMMAND.
with_progress() {
    local log=$1 show=$2 status=0 out shower
    shift 2
    exec {out}> >(tee "$log" | "$show")
    shower=$!
    "$@" >&"$out" 2>&1 {out}>&- || status=$?
    exec {out}>&-
    wait "$shower" || true
    return "$status"
}

show_lines() { show_steps p; }
# Shows the files that ninja compiles and links, and their number out of how many.
show_compiling() {
    show_steps '/^\[[0-9]*\/[0-9]*\] /{
        s/Building CXX object //; s/CMakeFiles\/[^/]*\.dir\///; s/\.o$//; p; }'
}
# Shows the status lines of apt: per cent, and the package downloaded, unpacked or set up.
show_installing() { show_steps 's/^[dp][lm]status:[^:]*:\([0-9]*\)[^:]*:/\1% /p'; }

# show_steps SED_SCRIPT: shows the newest of the lines that the script prints
show_steps() {
    sed -un "$1" | {
        begin_showing
        while next_line; do
            [ -z "$line" ] || state=$line
            tell_state
        done
        end_showing
    }
}

# show_tests: shows from the output of `ctest -V` every finished test, and meanwhile the running ones
show_tests() {
    grep --line-buffered -E '^ +Start +[0-9]+: |^ *[0-9]+/[0-9]+ Test +#' | {
        declare -A running=()
        begin_showing
        while next_line; do
            [ -z "$line" ] || take_test_line
            state="running: ${!running[*]}"
            tell_state
        done
        state=$nothing
        end_showing
    }
}

take_test_line() {
    local ended='^ *([0-9]+/[0-9]+) Test +#[0-9]+: ([^ ]+) [. ]*(.*[^ ]) +([0-9.]+) sec'
    if [[ $line =~ ^\ +Start\ +[0-9]+:\ (.*) ]]; then
        running[${BASH_REMATCH[1]}]=1
    elif [[ $line =~ $ended ]]; then
        unset "running[${BASH_REMATCH[2]}]"
        tell "$(printf '[%s] %-8s %-36s %6s s' "${BASH_REMATCH[1]}" "${BASH_REMATCH[3]//\*/}" \
            "${BASH_REMATCH[2]}" "${BASH_REMATCH[4]}")"
    fi
}

nothing="nothing said so far"

# The functions below share these variables: start and shown (seconds), line and begun (a complete
# and an incomplete line), state (the current text), told (the last text printed), width (0 in a log).
begin_showing() {
    start=$SECONDS shown=$SECONDS line='' begun='' state=$nothing told=$nothing width=0
    if [ -t 1 ]; then width=$(tput cols 2>/dev/null || echo 80); fi
}

# Reads a line into `line`, or leaves it empty when a report is due before a line ends; fails at the
# end of the input. The rest of an incomplete line comes with the next call.
next_line() {
    local patience=$((shown + beat - SECONDS))
    if IFS= read -r -t "$((patience > 0 ? patience : 1))" line; then
        line=$begun$line begun=
    else
        [ $? -gt 128 ] || return 1
        begun+=$line line=
    fi
}

tell_state() {
    if [ "$width" -gt 0 ]; then
        printf '\r\033[K%s' "$(shorten "$(clock)  $state")"
    elif [ $((SECONDS - shown)) -ge "$beat" ]; then
        tell "$state"
    fi
}

# Prints a line that is not overwritten.
tell() {
    [ "$width" = 0 ] || printf '\r\033[K'
    printf '%s  %s\n' "$(clock)" "$1"
    shown=$SECONDS told=$1
}

end_showing() {
    if [ "$state" != "$nothing" ] && [ "$told" != "$state" ]; then
        tell "$state"
    elif [ "$width" -gt 0 ]; then
        printf '\r\033[K'
    fi
}

clock() { printf '%7s' "$(minutes $((SECONDS - start)))"; }
minutes() { printf '%d:%02d' $(($1 / 60)) $(($1 % 60)); }
shorten() { printf '%s' "${1:0:width-1}"; }
