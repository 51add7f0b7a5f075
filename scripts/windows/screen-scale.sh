#!/usr/bin/env bash
# The installed program at several screen scales (Wine's DPI), in a new Wine prefix on the X display given
# (xvfb-run, big enough for the largest window): installs SETUP silently, then at each DPI starts the
# program, signs in with the code its login dialog shows (Ctrl+Return) and
#  - measure: prints the login dialog's and the main window's sizes and their ratios to the sizes at the
#    first DPI given (96); fails when a ratio is more than 3 % off the scale (DPI / first DPI);
#  - pictures: saves the login dialog and the storage, task and download pages (Ctrl+1, Ctrl+2, Ctrl+3) as
#    FOLDER/login-PERCENT.png, storage-…, tasks-…, downloads-….
#
#   scripts/windows/screen-scale.sh measure i686|x86_64 SETUP DPI...
#   scripts/windows/screen-scale.sh pictures i686|x86_64 SETUP FOLDER DPI...
set -euo pipefail
# shellcheck source=scripts/windows/checks.sh
source "$(dirname "$0")/checks.sh"
mode=${1:-}
case "$mode" in
measure) [[ $# -ge 4 ]] || { sed -n 's/^#   //p' "$0" >&2; exit 2; } ;;
pictures) [[ $# -ge 5 ]] || { sed -n 's/^#   //p' "$0" >&2; exit 2; } ;;
*) sed -n 's/^#   //p' "$0" >&2; exit 2 ;;
esac
target=$2 setup=$3
shift 3
if [[ $mode == pictures ]]; then
    pictures=$1
    shift
    mkdir -p "$pictures"
fi
dpis=("$@")

# The window ID as a PNG file, once two grabs in a row agree (the window has finished drawing).
picture() {
    local id=$1 file=$2 previous=""
    for _ in $(seq 20); do
        sleep 0.5
        xwd -silent -id "$id" | xwdtopnm 2>/dev/null | pnmtopng >"$file.new"
        if [[ -n $previous ]] && cmp -s "$file.new" "$previous"; then
            break
        fi
        mv "$file.new" "$file.previous"
        previous=$file.previous
    done
    mv "$file.new" "$file"
    rm -f "$file.previous"
}

# Shows the page of the main window MAIN that Ctrl+KEY opens, and pictures it.
picture_page() {
    local main=$1 key=$2 file=$3
    xdotool windowfocus --sync "$main" 2>/dev/null || true
    xdotool key --clearmodifiers "ctrl+$key"
    picture "$main" "$file"
}

# RATIO of MEASURED to BASE (WIDTHxHEIGHT each), the width's and the height's, and whether both are
# within 3 % of EXPECTED.
ratio() {
    awk -v m="$1" -v b="$2" -v e="$3" 'BEGIN {
        split(m, mm, "x"); split(b, bb, "x")
        w = mm[1] / bb[1]; h = mm[2] / bb[2]
        ok = (w / e > 0.97 && w / e < 1.03 && h / e > 0.97 && h / e < 1.03)
        printf "%.3f x %.3f%s", w, h, ok ? "" : " OFF"
    }'
}

check_begin "$target"
setup=$(into_prefix "$setup")
wine_run wine "$setup" /S
program="$programs_win\\ombrivane\\ombrivane.exe"
log="$programs/ombrivane/log/vorlog*.log"
label="win$([[ $arch == i686 ]] && echo 32 || echo 64)"

base_login="" base_main="" off=0
for dpi in "${dpis[@]}"; do
    percent=$((dpi * 100 / 96))
    set_dpi "$dpi"
    dialog=$(start_program "$program" "$log")
    login=$(window_size "$dialog")
    [[ $mode == pictures ]] && picture "$dialog" "$pictures/login-$percent.png"
    main=$(sign_in "$dialog")
    main_size=$(window_size "$main")
    if [[ $mode == pictures ]]; then
        picture_page "$main" 1 "$pictures/storage-$percent.png"
        picture_page "$main" 2 "$pictures/tasks-$percent.png"
        picture_page "$main" 3 "$pictures/downloads-$percent.png"
        echo "$label at $dpi DPI ($percent %): login dialog $login, main window $main_size: $pictures/{login,storage,tasks,downloads}-$percent.png"
    else
        [[ -n $base_login ]] || { base_login=$login base_main=$main_size; }
        expected=$(awk -v d="$dpi" -v b="${dpis[0]}" 'BEGIN { print d / b }')
        login_ratio=$(ratio "$login" "$base_login" "$expected")
        main_ratio=$(ratio "$main_size" "$base_main" "$expected")
        [[ $login_ratio$main_ratio == *OFF* ]] && off=1
        printf '%s at %3d DPI (expected %.2f): login dialog %-9s (%s), main window %-9s (%s)\n' \
            "$label" "$dpi" "$expected" "$login" "$login_ratio" "$main_size" "$main_ratio"
    fi
    stop_programs
done
[[ $off == 0 ]] || fail "a window's size is more than 3 % off the screen scale (OFF above)"
