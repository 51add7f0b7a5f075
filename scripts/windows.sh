#!/usr/bin/env bash
# The Windows program, from a clean clone: installs what is missing, builds (or takes from the cache) Qt,
# OpenSSL and libssh2 cross-built for 32-bit and 64-bit Windows, builds the program and its tests for both,
# runs the tests under wine64 (the 64-bit build: no 32-bit program runs on this machine), packs both
# installers into dist/ and checks that the 64-bit one installs, and that the installed program starts.
#
#   bash scripts/windows.sh
#
# OMBRIVANE_WIN_CACHE names the cache (default /var/cache/ombrivane-win). Needs root for apt-get and for
# the SFTP test's server.
set -euo pipefail
cd "$(dirname "$0")/.."
source=$PWD
started=$SECONDS
product=Veltra-客户端工具
version=$(sed -n 's/^project(ombrivane VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
summary=()

step() { printf '\n== %s (%d s)\n' "$*" $((SECONDS - started)); }
triple_of() { echo "$1-w64-mingw32"; }
bits_of() { [[ $1 == i686 ]] && echo 32 || echo 64; }

# The DLLs that the given programs and plugins import, and those they import in turn, found in the folders
# of SEARCH (separated by colons); the system's own DLLs are in none of them and stay out.
dll_closure() {
    local folders
    IFS=: read -r -a folders <<<"$1"
    shift
    local -A seen=()
    local queue=("$@") file name folder
    while [[ ${#queue[@]} -gt 0 ]]; do
        file=${queue[0]}
        queue=("${queue[@]:1}")
        while read -r name; do
            [[ -n ${seen[${name,,}]:-} ]] && continue
            seen[${name,,}]=1
            for folder in "${folders[@]}"; do
                if [[ -f $folder/$name ]]; then
                    echo "$folder/$name"
                    queue+=("$folder/$name")
                    break
                fi
            done
        done < <("$objdump" -p "$file" | sed -n 's/^\s*DLL Name: //p')
    done
}

# dist/ombrivane-VERSION-winBITS/: the program, the Qt it loads, libssh2, OpenSSL and the compiler's runtime.
stage() {
    local arch=$1 build=build-win-$1 triple bits stage_dir
    triple=$(triple_of "$arch")
    bits=$(bits_of "$arch")
    stage_dir=dist/ombrivane-$version-win$bits
    local objdump=$triple-objdump # read by dll_closure
    rm -rf "$stage_dir" && mkdir -p "$stage_dir"/{platforms,styles,imageformats,translations}
    cp "$build/ombrivane.exe" "$stage_dir/"
    cp "$QT/plugins/platforms/qwindows.dll" "$stage_dir/platforms/"
    cp "$QT/plugins/styles/qwindowsvistastyle.dll" "$stage_dir/styles/"
    cp "$QT/plugins/imageformats/qgif.dll" "$stage_dir/imageformats/" # the wait animation
    cp /usr/share/qt5/translations/qtbase_zh_CN.qm "$stage_dir/translations/"
    local runtime
    runtime=/usr/lib/gcc/$triple/$("$triple-g++-posix" -dumpversion)
    dll_closure "$QT/bin:$LIBSSH2/bin:$OPENSSL/bin:$runtime:/usr/$triple/lib" \
        "$stage_dir/ombrivane.exe" "$stage_dir"/{platforms,styles,imageformats}/*.dll |
        xargs -r cp -t "$stage_dir/"
    "$triple-strip" --strip-unneeded "$stage_dir"/*.exe "$stage_dir"/*.dll "$stage_dir"/*/*.dll
    summary+=("$stage_dir/ombrivane.exe: $(file -b "$stage_dir/ombrivane.exe" | sed 's/ (stripped.*//'), folder $(
        du -sk "$stage_dir" | cut -f1) KiB")
    # What the uninstaller removes: exactly these files and folders.
    (cd "$stage_dir" && find . -type f | sed 's|^\./||; s|/|\\|g; s|.*|    Delete "$INSTDIR\\&"|') >"$stage_dir.files"
    (cd "$stage_dir" && find . -mindepth 1 -type d | sort -r | sed 's|^\./||; s|/|\\|g; s|.*|    RMDir "$INSTDIR\\&"|') \
        >"$stage_dir.folders"
}

build_for() {
    local arch=$1
    step "Qt, OpenSSL and libssh2 for $arch (cache)"
    eval "$(scripts/windows/build-cache.sh "$arch")"
    step "ombrivane and its tests for $arch"
    cmake -S . -B "build-win-$arch" -G Ninja -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_TOOLCHAIN_FILE="$source/scripts/windows/toolchain-$arch.cmake" \
        -DOMBRIVANE_WIN_PREFIXES="$QT;$LIBSSH2;$OPENSSL" -DOMBRIVANE_BUILD_BENCH=OFF \
        -DOMBRIVANE_QT_TRANSLATIONS=/usr/share/qt5/translations \
        -DOMBRIVANE_TESTSSHD_HOST="$source/build/tests/testsshdhost" >/dev/null
    cmake --build "build-win-$arch" -j2
    stage "$arch"
}

installer_for() {
    local arch=$1 bits
    bits=$(bits_of "$arch")
    local stage_dir=$source/dist/ombrivane-$version-win$bits
    local setup=$source/dist/ombrivane-$version-win$bits-setup.exe
    step "installer for $arch"
    makensis -V2 -INPUTCHARSET UTF8 -DVERSION="$version" -DARCH="$arch" -DSTAGE="$stage_dir" -DOUTFILE="$setup" \
        scripts/windows/installer.nsi
    summary+=("$(basename "$setup"): $(du -k "$setup" | cut -f1) KiB, $(file -b "$setup" | sed 's/ (stripped.*//')")
}

# Installs the 64-bit installer silently into a new prefix, starts the installed program on a virtual
# screen with nothing of the build in reach, waits for its login dialog and its log's start line, then
# uninstalls it and checks that nothing is left.
check_installed() {
    step "the installed 64-bit program under wine64"
    local scratch status=0
    scratch=$(mktemp -d)
    local setup=dist/ombrivane-$version-win64-setup.exe
    local program_dir="$scratch/prefix/drive_c/Program Files/ombrivane"
    local log="$program_dir/log/vorlog$(date +%Y%m%d).log"
    WINEPREFIX=$scratch/prefix WINEDEBUG=-all WINEDLLOVERRIDES=mscoree,mshtml= \
        xvfb-run -a -s '-screen 0 1600x1000x24' bash -c '
            set -e
            shortcut="$WINEPREFIX/drive_c/ProgramData/Microsoft/Windows/Start Menu/Programs/$3.lnk"
            /usr/lib/wine/wine64 wineboot --init >/dev/null 2>&1
            /usr/lib/wine/wine64 "$1" /S
            [[ -f "$2/ombrivane.exe" && -f $shortcut ]] || { echo "not installed into $2 with $shortcut"; exit 1; }
            /usr/lib/wine/wine64 "C:\\Program Files\\ombrivane\\ombrivane.exe" &
            for _ in $(seq 120); do
                xwininfo -name "$3" 2>/dev/null | grep -q IsViewable && grep -s "ombrivane start" "$4" >"$5" && break
                sleep 0.5
            done
            [[ -s $5 ]] || { echo "no login dialog or no start line within 60 s"; xwininfo -root -tree | head; exit 1; }
            /usr/lib/wine/wineserver -k
            # The uninstaller runs from a copy of itself and removes the folder in the background.
            /usr/lib/wine/wine64 "$2/uninstall.exe" /S
            for _ in $(seq 60); do
                [[ -e $2 || -e $shortcut ]] || { /usr/lib/wine/wineserver -k; exit 0; }
                sleep 0.5
            done
            echo "the uninstaller left:"; find "$2" "$shortcut"; exit 1
        ' check "$setup" "$program_dir" "$product" "$log" "$scratch/start-line" || status=$?
    [[ $status == 0 ]] && summary+=("installed program: login dialog shown; $(cat "$scratch/start-line"); uninstalled")
    WINEPREFIX=$scratch/prefix /usr/lib/wine/wineserver -k 2>/dev/null || true
    rm -rf "$scratch"
    return "$status"
}

step "packages"
bash scripts/install-deps.sh --test --windows

step "the Linux side of the SFTP test (testsshdhost)"
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j2 --target testsshdhost

build_for x86_64
step "tests under wine64"
tests_passed=0
if (cd build-win-x86_64 && xvfb-run -a ctest --output-on-failure -j1 --timeout 600 | tee ctest.log); then
    tests_passed=1
fi
summary+=("tests under wine64:" "$(grep -E 'Test +#' build-win-x86_64/ctest.log)"
    "$(grep -E 'tests passed|tests failed' build-win-x86_64/ctest.log)")
installer_for x86_64
build_for i686
installer_for i686
check_installed

step "done"
printf '%s\n' "${summary[@]}"
[[ $tests_passed == 1 ]]
