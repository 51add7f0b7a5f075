#!/usr/bin/env bash
# The Windows program, from a clean clone: installs what is missing, builds (or takes from the cache) Qt,
# OpenSSL and libssh2 cross-built for 32-bit and 64-bit Windows and a 32-bit Debian root with 32-bit Wine,
# builds the program and its tests for both, runs the tests of each under its own Wine (the 32-bit ones in
# the root), packs both installers and portable zips into dist/ and checks them as a user meets them;
# measures the 64-bit program's windows at four screen scales and pictures the 32-bit one at 100 % and 150 %.
#
#   bash scripts/windows.sh
#
# OMBRIVANE_WIN_CACHE names the cache (default /var/cache/ombrivane-win). Needs root for apt-get, for the
# SFTP test's server and for the root's mounts.
set -euo pipefail
cd "$(dirname "$0")/.."
source=$PWD
started=$SECONDS
version=$(sed -n 's/^project(ombrivane VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
earlier_version=0.0.0
summary=()
failures=()
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

step() { printf '\n== %s (%d s)\n' "$*" $((SECONDS - started)); }
triple_of() { echo "$1-w64-mingw32"; }
bits_of() { [[ $1 == i686 ]] && echo 32 || echo 64; }
stage_of() { echo "$source/dist/ombrivane-$version-win$(bits_of "$1")"; }
setup_of() { echo "$(stage_of "$1")-setup.exe"; }

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

# What the uninstaller of the folder DIR removes: exactly its files (DIR.files) and folders (DIR.folders).
# shellcheck disable=SC2016 # $INSTDIR is the installer's
uninstall_lists() {
    local dir=$1
    (cd "$dir" && find . -type f | sed 's|^\./||; s|/|\\|g; s|.*|    Delete "$INSTDIR\\&"|') >"$dir.files"
    (cd "$dir" && find . -mindepth 1 -type d | sort -r | sed 's|^\./||; s|/|\\|g; s|.*|    RMDir "$INSTDIR\\&"|') \
        >"$dir.folders"
}

# dist/ombrivane-VERSION-winBITS/: the program, the Qt it loads, libssh2, OpenSSL and the compiler's runtime.
stage() {
    local arch=$1 build=build-win-$1 triple stage_dir
    triple=$(triple_of "$arch")
    stage_dir=$(stage_of "$arch")
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
    local kind
    kind=$(file -b "$stage_dir/ombrivane.exe" | sed 's/ (stripped.*//')
    summary+=("$(basename "$stage_dir")/ombrivane.exe: $kind, folder $(du -sk "$stage_dir" | cut -f1) KiB")
    uninstall_lists "$stage_dir"
}

build_for() {
    local arch=$1
    step "Qt, OpenSSL and libssh2 for $arch (cache)"
    local prefixes
    prefixes=$(scripts/windows/build-cache.sh "$arch")
    eval "$prefixes"
    step "ombrivane and its tests for $arch"
    cmake -S . -B "build-win-$arch" -G Ninja -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_TOOLCHAIN_FILE="$source/scripts/windows/toolchain-$arch.cmake" \
        -DOMBRIVANE_WIN_PREFIXES="$QT;$LIBSSH2;$OPENSSL" -DOMBRIVANE_BUILD_BENCH=OFF \
        -DOMBRIVANE_QT_TRANSLATIONS=/usr/share/qt5/translations \
        -DOMBRIVANE_TESTSSHD_HOST="$source/build/tests/testsshdhost" >/dev/null
    cmake --build "build-win-$arch" -j2
    stage "$arch"
}

makensis_for() {
    local arch=$1 version=$2 stage_dir=$3 setup=$4
    shift 4
    makensis -V2 -INPUTCHARSET UTF8 "$@" -DVERSION="$version" -DARCH="$arch" -DSTAGE="$stage_dir" \
        -DOUTFILE="$setup" scripts/windows/installer.nsi
}

# The installer and the portable zip into dist/, and for the check an installer of an "earlier version"
# that has one file more, so that an upgrade must remove it.
packages_for() {
    local arch=$1 stage_dir setup zip
    stage_dir=$(stage_of "$arch")
    setup=$(setup_of "$arch")
    zip=$stage_dir-portable.zip
    step "installer and portable zip for $arch"
    makensis_for "$arch" "$version" "$stage_dir" "$setup"
    summary+=("$(basename "$setup"): $(du -k "$setup" | cut -f1) KiB, $(file -b "$setup" | sed 's/ (stripped.*//')")
    rm -f "$zip"
    (cd "$(dirname "$stage_dir")" && zip -qr9 "$zip" "$(basename "$stage_dir")")
    summary+=("$(basename "$zip"): $(du -k "$zip" | cut -f1) KiB")
    local earlier=$scratch/earlier-$arch
    rm -rf "$earlier" && cp -a "$stage_dir" "$earlier"
    echo "a file of the earlier version only" >"$earlier/obsolete.txt"
    uninstall_lists "$earlier"
    makensis_for "$arch" "$earlier_version" "$earlier" "$scratch/earlier-$arch-setup.exe" -DCOMPRESSOR=zlib
}

# Runs the test programs of build-win-ARCH under the emulator its toolchain names, and lists each one.
tests_for() {
    local arch=$1 what=$2 build=build-win-$1 status=0
    step "tests under $what"
    (cd "$build" && xvfb-run -a ctest --output-on-failure -j1 --timeout 600 2>&1 | tee ctest.log) || status=$?
    summary+=("tests of the $(bits_of "$arch")-bit build under $what:" "$(grep -E 'Test +#' "$build/ctest.log")"
        "$(grep -E 'tests passed|tests failed' "$build/ctest.log")")
    [[ $status == 0 ]] || failures+=("tests under $what (see $build/ctest.log)")
}

# Runs COMMAND on a new virtual screen of SIZE; its output goes to the summary, a failure to the failures.
on_screen() {
    local what=$1 size=$2 status=0
    shift 2
    step "$what"
    xvfb-run -a -s "-screen 0 ${size}x24" "$@" >"$scratch/out" 2>&1 || status=$?
    cat "$scratch/out"
    summary+=("$what:")
    mapfile -t -O "${#summary[@]}" summary <"$scratch/out"
    [[ $status == 0 ]] || failures+=("$what")
}

check_installed() {
    local arch=$1 what=$2
    on_screen "the $(bits_of "$arch")-bit installer and portable zip under $what" 1600x1000 \
        scripts/windows/check-installed.sh "$arch" "$version" "$(setup_of "$arch")" \
        "$scratch/earlier-$arch-setup.exe" "$earlier_version" "$(stage_of "$arch")-portable.zip"
}

step "packages"
bash scripts/install-deps.sh --test --windows

# The 32-bit root is made from the archive while the libraries build.
scripts/windows/wine32-root.sh >"$scratch/root.out" 2>&1 &
root_job=$!

step "the Linux side of the SFTP test (testsshdhost)"
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j2 --target testsshdhost

build_for x86_64
tests_for x86_64 wine64
packages_for x86_64
build_for i686
packages_for i686

step "the 32-bit Wine root"
root_status=0
wait "$root_job" || root_status=$?
cat "$scratch/root.out"
root=$(sed -n 's/^ROOT=//p' "$scratch/root.out")
case "$root_status" in
0) summary+=("32-bit Wine root: $root (made in $(cat "$root/.seconds") s)") ;;
3) summary+=("32-bit program not run: this machine's kernel runs no 32-bit code (the root's /bin/true: exec format error)") ;;
*) failures+=("the 32-bit Wine root (see ${OMBRIVANE_WIN_CACHE:-/var/cache/ombrivane-win}/logs/root-i386.log)") ;;
esac
runs_32bit=0
[[ $root_status != 0 ]] || runs_32bit=1

if [[ $runs_32bit == 1 ]]; then
    tests_for i686 "32-bit Wine"
fi
check_installed x86_64 wine64
if [[ $runs_32bit == 1 ]]; then
    check_installed i686 "32-bit Wine"
fi
on_screen "screen scale of the installed 64-bit program under wine64" 3840x2400 \
    scripts/windows/screen-scale.sh measure x86_64 "$(setup_of x86_64)" 96 120 144 192
if [[ $runs_32bit == 1 ]]; then
    rm -rf dist/screenshots
    on_screen "pictures of the installed 32-bit program under 32-bit Wine" 1920x1200 \
        scripts/windows/screen-scale.sh pictures i686 "$(setup_of i686)" dist/screenshots 96 144
fi

step "done"
printf '%s\n' "${summary[@]}"
if [[ ${#failures[@]} -gt 0 ]]; then
    printf 'FAILED: %s\n' "${failures[@]}"
    exit 1
fi
