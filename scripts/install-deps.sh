#!/usr/bin/env bash
# Installs the Debian 12 packages that are missing: those to build and run the client, and with --test
# those the test suite needs as well (a real OpenSSH server, python3-asyncssh for the scripted misbehaving
# SFTP server, clang for the fuzz target); with --screenshots the virtual X server that
# scripts/screenshots.sh pictures the program in; with --windows what scripts/windows.sh cross-builds,
# tests and packs the Windows program with (mingw-w64, the source packages' tools, wine64, debootstrap for
# the 32-bit Wine root, NSIS, zip, and xdotool, xwd and netpbm to drive and picture the installed program).
set -euo pipefail

packages=(cmake ninja-build g++ pkg-config qtbase5-dev qttranslations5-l10n libssh2-1-dev fonts-noto-cjk)
for option in "$@"; do
    case "$option" in
    --test) packages+=(openssh-server openssh-client python3-asyncssh clang libclang-rt-14-dev) ;;
    --screenshots) packages+=(xvfb xauth) ;;
    --windows) packages+=(g++-mingw-w64-i686-posix g++-mingw-w64-x86-64-posix dpkg-dev make perl python3 wine64 nsis
        file xvfb xauth x11-utils debootstrap zip unzip xdotool x11-apps netpbm) ;;
    esac
done

missing=()
for package in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" || missing+=("$package")
done
[[ ${#missing[@]} -eq 0 ]] && exit 0

sudo=()
[[ $(id -u) -ne 0 ]] && sudo=(sudo)
echo "Installing: ${missing[*]}"
"${sudo[@]}" apt-get update -qq
DEBIAN_FRONTEND=noninteractive "${sudo[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
