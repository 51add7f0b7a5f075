#!/usr/bin/env bash
# The installer and the portable zip of one target, checked as a user meets them, in a new Wine prefix
# (the 32-bit program under the root's 32-bit Wine, the 64-bit one under wine64) with nothing of the build
# in reach, on the X display given (xvfb-run):
#  - a silent install of an earlier version, then of this one over it: each time the Start-menu shortcut
#    and the uninstall key are there, and the installed program shows its login dialog and writes its start
#    line into log\ beside itself; the earlier version's own files are gone after the upgrade, its log stays;
#  - a silent install while the program runs gives up with exit code 3, or installs once it is closed;
#  - the uninstaller leaves nothing: no program folder, shortcut or uninstall key;
#  - the portable zip, unpacked into a folder of the prefix, starts and writes its log beside itself.
#
#   scripts/windows/check-installed.sh i686|x86_64 VERSION SETUP EARLIER-SETUP EARLIER-VERSION PORTABLE-ZIP
#
# EARLIER-SETUP installs EARLIER-VERSION: the same program with a file that VERSION no longer has
# ("obsolete.txt"). Prints what it checked, one line each; fails at the first check that does not pass.
set -euo pipefail
# shellcheck source=scripts/windows/checks.sh
source "$(dirname "$0")/checks.sh"
[[ $# == 6 ]] || { sed -n 's/^#   //p' "$0" >&2; exit 2; }
version=$2 setup=$3 earlier_setup=$4 earlier_version=$5 zip=$6
key='HKCU\Software\Microsoft\Windows\CurrentVersion\Uninstall\ombrivane'

check_begin "$1"
label="win$([[ $arch == i686 ]] && echo 32 || echo 64)"
installed=$programs/ombrivane
program="$programs_win\\ombrivane\\ombrivane.exe"
setup=$(into_prefix "$setup")
earlier_setup=$(into_prefix "$earlier_setup")

say() { echo "$label: $*"; }

installed_version() {
    wine_run wine reg query "$key" /v DisplayVersion 2>/dev/null | tr -d '\r' | awk '$1 == "DisplayVersion" { print $3 }'
}

# Installs silently with SETUP and checks what a user finds afterwards.
install_silently() {
    local setup=$1 version=$2 status=0
    wine_run wine "$setup" /S || status=$?
    [[ $status == 0 ]] || fail "$setup /S exited with $status"
    [[ -f $installed/ombrivane.exe ]] || fail "$setup /S installed no $installed/ombrivane.exe"
    [[ -f $start_menu/$product.lnk ]] || fail "$setup /S made no Start-menu shortcut $start_menu/$product.lnk"
    [[ ! -e $drive_c/users/Public/Desktop/$product.lnk && -z $(find "$drive_c/users" -path '*/Desktop/*' -name "$product.lnk") ]] ||
        fail "a desktop shortcut, which is off unless chosen"
    [[ $(installed_version) == "$version" ]] || fail "the uninstall key names version '$(installed_version)', not $version"
}

# Starts the installed program and stops it once its login dialog and start line are there.
start_installed() {
    start_program "$program" "$installed/log/vorlog*.log" >/dev/null
    stop_programs
}

install_silently "$earlier_setup" "$earlier_version"
[[ -f $installed/obsolete.txt ]] || fail "the earlier version's obsolete.txt was not installed"
start_installed
say "silent install into $programs_win\\ombrivane (version $earlier_version): Start-menu shortcut \"$product.lnk\"," \
    "uninstall key under HKCU; the installed program showed its login dialog and wrote \"ombrivane start\" into log\\"

install_silently "$setup" "$version"
[[ ! -e $installed/obsolete.txt ]] || fail "the upgrade left the earlier version's obsolete.txt"
ls "$installed"/log/vorlog*.log >/dev/null 2>&1 || fail "the upgrade removed the log"
start_installed
say "silent upgrade to $version over $earlier_version: the earlier version's own file gone, its log kept;" \
    "login dialog and start line again"

start_program "$program" "$installed/log/vorlog*.log" >/dev/null
started=$SECONDS
status=0
wine_run wine "$setup" /S /WAIT=5 || status=$?
[[ $status == 3 ]] || fail "a silent install while the program runs exited with $status, not 3"
[[ -n $(product_windows) ]] || fail "the program did not survive the refused install"
say "silent install while the program runs: exit code 3 after $((SECONDS - started)) s (/WAIT=5), program untouched"

(
    sleep 3
    wine_run wine taskkill /F /IM ombrivane.exe >/dev/null 2>&1
) &
closer=$!
started=$SECONDS
status=0
wine_run wine "$setup" /S /WAIT=60 || status=$?
wait "$closer"
[[ $status == 0 ]] || fail "a silent install that waits for the program to be closed exited with $status"
[[ $((SECONDS - started)) -ge 3 ]] || fail "the install did not wait for the program to be closed"
[[ $(installed_version) == "$version" ]] || fail "the waiting install left version '$(installed_version)'"
say "silent install while the program runs, closed after 3 s: waited, installed (exit code 0 after $((SECONDS - started)) s)"
stop_programs

# The uninstaller runs from a copy of itself and removes the folder in the background.
wine_run wine "$programs_win\\ombrivane\\uninstall.exe" /S
for _ in $(seq 60); do
    [[ -e $installed || -e $start_menu/$product.lnk ]] || break
    sleep 0.5
done
[[ ! -e $installed ]] || fail "the uninstaller left: $(find "$installed")"
[[ ! -e $start_menu/$product.lnk ]] || fail "the uninstaller left the Start-menu shortcut"
! wine_run wine reg query "$key" >/dev/null 2>&1 || fail "the uninstaller left the key $key"
say "uninstall: program folder (logs included), shortcut and uninstall key gone"

mkdir -p "$drive_c/portable"
unzip -q "$zip" -d "$drive_c/portable"
folder=$(basename "$zip" -portable.zip)
[[ -f $drive_c/portable/$folder/ombrivane.exe ]] || fail "$zip holds no $folder/ombrivane.exe"
start_program "C:\\portable\\$folder\\ombrivane.exe" "$drive_c/portable/$folder/log/vorlog*.log" >/dev/null
stop_programs
say "portable zip unpacked into C:\\portable: login dialog, \"ombrivane start\" in $folder\\log\\"
