# For the scripts that a person waits for, sourced by them: what takes long says its step, a count and the time.

steps_root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
steps_logs=$steps_root/build/log

# The compiler cache and the clip lie in the user's cache, or below build/ for a user who has none.
if [ -z "${XDG_CACHE_HOME:-}${HOME:-}" ] || ! mkdir -p "${XDG_CACHE_HOME:-$HOME/.cache}" 2>/dev/null ||
    [ ! -w "${XDG_CACHE_HOME:-$HOME/.cache}" ]; then
    export XDG_CACHE_HOME=$steps_root/build/cache CCACHE_DIR=$steps_root/build/cache/ccache
fi

# step NAME COMMAND [ARGUMENT]...
# Runs a command whose output goes to build/log/NAME.log. A terminal shows one line, rewritten each second; elsewhere
# there is a line at the beginning, each eight seconds and at the end. What ends within a second says nothing. When the
# command fails, the end of its output is shown. The result is the command's; Ctrl-C ends the script with 130.
step() {
    local name=$1 result
    shift
    mkdir -p "$steps_logs" 2>/dev/null || true
    (
        result=0 interrupted=
        trap 'interrupted=130' INT
        "$@" </dev/null 2>&1 || result=$?
        echo "$name ended with ${interrupted:-$result}"
    ) | (trap 'stopping=", stopping"' INT; watch_step "$name" "$steps_logs/${name// /-}.log") || {
        result=$?
        [ $result -ne 130 ] || exit 130
        return $result
    }
}

# Addresses of a randomised layout can lie where ThreadSanitizer keeps its own memory.
fixed_layout() {
    if setarch -R true 2>/dev/null; then
        setarch -R "$@"
    else
        "$@"
    fi
}

# build_preset PRESET [ARGUMENT OF cmake --build]...
# Configures build/PRESET where that is not done, and compiles it.
build_preset() {
    local preset=$1 folder=$steps_root/build/$1
    shift
    if [ ! -f "$folder/build.ninja" ] || [ "$steps_root/CMakePresets.json" -nt "$folder/CMakeCache.txt" ]; then
        (cd "$steps_root" && step "configure $preset" cmake --preset "$preset") || return
    fi
    step "compile $preset" fixed_layout cmake --build "$folder" "$@"
}

# Reads what a step prints, until its last line. Counts: ninja's [3/7], and apt's status lines and steps.
watch_step() {
    local name=$1 log=$2 line= part= doing= stopping= total= unpacked=0 set_up=0 failed= result= shown=0 next=1 kept=()
    exec 4>/dev/null
    { exec 4>"$log"; } 2>/dev/null || log=
    SECONDS=0
    while :; do
        if IFS= read -r -t 1 part; then
            line+=$part part=
            read_step_line
            line=
        elif [ $? -gt 128 ]; then
            line+=$part part=
        else
            break
        fi
        [ -z "$result" ] || break
        [ $SECONDS -lt $next ] || show_step
    done
    end_step
}

read_step_line() {
    case $line in
        *"$name ended with "[0-9]*) result=${line##* }; return ;;
        dlstatus:*)
            [[ $line =~ ^dlstatus:[0-9]*:([0-9]*).*file\ ([0-9]+\ of\ [0-9]+) ]] &&
                doing="downloading ${BASH_REMATCH[2]}, ${BASH_REMATCH[1]} %"
            return
            ;;
        pmstatus:*:"Unpacking "*) doing="unpacking $((++unpacked)) of $total"; return ;;
        pmstatus:*:"Installed "*) doing="setting up $((++set_up)) of $total"; return ;;
        pmstatus:* | pmerror:*) return ;;
    esac
    { echo "$line" >&4; } 2>/dev/null || log=
    case $line in
        *" newly installed, "*) total=${line#*upgraded, }; total=${total%% newly*} ;;
        "["*/*"] "*) doing=${line#"["}; doing=${doing%%]*}; doing=${doing/\// of }; [ -n "$failed" ] || kept=(); return ;;
        "Get:"* | "Hit:"* | "Unpacking "* | "Selecting "* | "Preparing "* | "Setting up "*) return ;;
        "unpacking "*) doing=unpacking; return ;;
        "FAILED: "*) failed=yes ;;
    esac
    # What follows the first failure counts more than what other jobs print afterwards.
    if [ ${#kept[@]} -lt 60 ]; then
        kept+=("$line")
    elif [ -z "$failed" ]; then
        kept=("${kept[@]:1}" "$line")
    fi
}

show_step() {
    local text
    text="$name: ${doing:+$doing, }$((SECONDS / 60)):$(printf %02d $((SECONDS % 60)))$stopping"
    shown=$((shown + 1))
    if [ -t 2 ]; then
        printf '\r%-70.70s' "$text" >&2
        next=$((SECONDS + 1))
    else
        echo "$text" >&2
        next=$((SECONDS + 8))
    fi
}

end_step() {
    if [ $shown -gt 0 ]; then
        show_step
        [ ! -t 2 ] || echo >&2
    fi
    case ${result:-130} in
        0) ;;
        130) echo "$name: interrupted" >&2 ;;
        *)
            printf '%s\n' "${kept[@]}" >&2
            echo "$name: failed with $result${log:+; all that it printed is in $log}" >&2
            ;;
    esac
    return "${result:-130}"
}
