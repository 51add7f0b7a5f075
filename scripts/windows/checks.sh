# shellcheck shell=bash
# What the checks of the installed program share (sourced): a Wine prefix of their own for one target, in
# which nothing of the build is in reach, and the windows of the program on the X display they were given.
#
#   source scripts/windows/checks.sh; check_begin i686|x86_64
#
# check_begin makes the prefix in a new scratch folder and sets: arch, prefix, drive_c (its C: drive seen
# from here), programs (the per-user programs folder seen from here), programs_win (the same for Windows)
# and start_menu (the user's Start-menu programs seen from here).
# shellcheck disable=SC2034 # the variables are the callers'.

product=Veltra-客户端工具
checks_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)

# Wine's program (wine, wineserver) for the check's target and prefix, with nothing else in reach.
wine_run() { WINEPREFIX=$prefix "$checks_dir/wine-for.sh" "$arch" "$@"; }

check_begin() {
    arch=$1
    scratch=$(mktemp -d)
    prefix=$scratch/prefix
    trap check_end EXIT
    wine_run wine cmd /c exit 0
    drive_c=$prefix/drive_c
    local home user=""
    for home in "$drive_c"/users/*/; do
        [[ $home == */Public/ ]] || user=$(basename "$home")
    done
    programs=$drive_c/users/$user/AppData/Local/Programs
    programs_win="C:\\users\\$user\\AppData\\Local\\Programs"
    start_menu="$drive_c/users/$user/AppData/Roaming/Microsoft/Windows/Start Menu/Programs"
}

check_end() {
    wine_run wineserver -k 2>/dev/null || true
    rm -rf "$scratch"
}

fail() {
    echo "FAILED: $*" >&2
    exit 1
}

# Copies FILE into the prefix and prints its Windows path; the installers and zips run from there.
into_prefix() {
    cp "$1" "$drive_c/"
    echo "C:\\$(basename "$1")"
}

# The visible windows titled as the product, one id a line.
product_windows() { xdotool search --onlyvisible --name "^$product\$" 2>/dev/null || true; }

# Waits up to SECONDS for a visible product window other than the ids given, and prints its id.
wait_for_window() {
    local seconds=$1 id other
    shift
    for _ in $(seq $((seconds * 2))); do
        for id in $(product_windows); do
            for other in "$@"; do
                [[ $id == "$other" ]] && continue 2
            done
            echo "$id"
            return 0
        done
        sleep 0.5
    done
    return 1
}

# WIDTHxHEIGHT of the window ID as the X server has it.
window_size() {
    xwininfo -id "$1" | awk '/^ *Width:/ { w = $2 } /^ *Height:/ { h = $2 } END { print w "x" h }'
}

# How many "ombrivane start" lines the logs LOG (a glob) hold.
start_lines() {
    # shellcheck disable=SC2086 # the log's name is a glob
    cat $1 2>/dev/null | grep -c "ombrivane start" || true
}

# Starts the program of the Windows path PROGRAM in the background, waits for its login dialog and for a
# new line "ombrivane start" in LOG (a glob, seen from here); prints the dialog's id.
start_program() {
    local program=$1 log=$2 dialog before
    before=$(start_lines "$log")
    wine_run wine "$program" >/dev/null 2>&1 &
    dialog=$(wait_for_window 90) || fail "no login dialog of $program within 90 s"
    for _ in $(seq 40); do
        [[ $(start_lines "$log") -gt $before ]] && break
        sleep 0.5
    done
    [[ $(start_lines "$log") -gt $before ]] || fail "no new \"ombrivane start\" line in $log"
    echo "$dialog"
}

# Signs in with the code the login dialog DIALOG shows (Ctrl+Return) and prints the main window's id: the
# one window left once the login dialog and the wait dialog are gone.
sign_in() {
    local dialog=$1 windows
    xdotool windowfocus --sync "$dialog" 2>/dev/null || true
    xdotool key --clearmodifiers ctrl+Return
    for _ in $(seq 120); do
        windows=$(product_windows)
        if [[ -n $windows && $windows != *$'\n'* && $windows != "$dialog" ]]; then
            echo "$windows"
            return 0
        fi
        sleep 0.5
    done
    fail "no main window alone within 60 s of Ctrl+Return in the login dialog"
}

stop_programs() {
    wine_run wineserver -k 2>/dev/null || true
    # A program started while the server still ends would meet it.
    wine_run wineserver -w
    for _ in $(seq 20); do
        [[ -z $(product_windows) ]] && return 0
        sleep 0.5
    done
    fail "the program's windows stayed after its end"
}

# Screen scale: Wine's DPI, read by programs started afterwards.
set_dpi() {
    wine_run wine reg add 'HKCU\Control Panel\Desktop' /v LogPixels /t REG_DWORD /d "$1" /f >/dev/null
}
