#!/usr/bin/env bash
# Cross-builds what the Windows program links against, for one target (i686 or x86_64): OpenSSL, libssh2
# and Qt from Debian's source packages, each installed into its own folder of the cache. A folder is named
# after a hash of the source version, the configure line and the compiler, so it is built once and reused
# until one of those changes; a folder without its ".done" stamp is a broken build and is built again.
#
#   scripts/windows/build-cache.sh [--no-build] ARCH
#
# prints the three prefixes (OPENSSL=…, LIBSSH2=…, QT=…) once they are ready; with --no-build it only
# prints them, and fails when one is not built.
set -euo pipefail

build=1
if [[ ${1:-} == --no-build ]]; then
    build=0
    shift
fi
arch=${1:?usage: build-cache.sh [--no-build] i686|x86_64}
case "$arch" in
i686) openssl_target=mingw ;;
x86_64) openssl_target=mingw64 ;;
*) echo "unknown target: $arch" >&2; exit 2 ;;
esac
triple=$arch-w64-mingw32
cache=${OMBRIVANE_WIN_CACHE:-/var/cache/ombrivane-win}
jobs=${OMBRIVANE_JOBS:-2}
mkdir -p "$cache/src" "$cache/logs"

# The first version of each list that the archive still serves is used; the one fetched is remembered in
# the cache, so later runs need no network.
declare -A source_versions=(
    [qtbase-opensource-src]="5.15.8+dfsg-11+deb12u3 5.15.8+dfsg-11+deb12u2 5.15.8+dfsg-11"
    [openssl]="3.0.20-1~deb12u2 3.0.17-1~deb12u2 3.0.17-1~deb12u1"
    [libssh2]="1.10.0-3 1.10.0-3+deb12u1"
)

log() { printf '[%s] %s\n' "$(date +%H:%M:%S)" "$*" >&2; }

# apt-get source needs the archive's source index: a deb-src entry beside each deb one.
add_source_index() {
    local list=/etc/apt/sources.list.d/ombrivane-src.sources
    [[ -f $list ]] && return 0
    sed 's/^Types: deb$/Types: deb-src/' /etc/apt/sources.list.d/debian.sources >"$list"
    apt-get update -qq
}

# Unpacks the source package into $cache/src/NAME (patched as Debian builds it) and prints that folder.
fetch_source() {
    local name=$1 dir=$cache/src/$1
    if [[ ! -f $dir/.version ]]; then
        [[ $build == 1 ]] || { log "the source of $name is not in $cache: run scripts/windows.sh"; exit 1; }
        apt-cache showsrc "$name" 2>/dev/null | grep -q '^Version:' || add_source_index
        rm -rf "$dir" && mkdir -p "$dir"
        local version
        for version in ${source_versions[$name]}; do
            if (cd "$dir" && apt-get source -qq "$name=$version" >"$cache/logs/source-$name.log" 2>&1); then
                echo "$version" >"$dir/.version"
                break
            fi
            rm -rf "${dir:?}"/*
        done
        [[ -f $dir/.version ]] || { log "no source of $name could be fetched (see $cache/logs/source-$name.log)"; exit 1; }
    fi
    find "$dir" -mindepth 1 -maxdepth 1 -type d | head -n 1
}

compiler_id() { "$triple-g++" --version | sed -n 1p; "$triple-g++" -v 2>&1 | sed -n '/^Thread model/p'; }

# The cache folder for NAME: a hash of the source version, the recipe and the compiler.
prefix_for() {
    local name=$1 version=$2
    shift 2
    local key
    key=$(printf '%s\n' "$version" "$*" "$(compiler_id)" | sha256sum | cut -c1-12)
    echo "$cache/$name-$arch-$key"
}

# Builds into PREFIX with the function BUILDER unless PREFIX/.done is there already.
build_once() {
    local what=$1 prefix=$2 builder=$3
    [[ -f $prefix/.done ]] && return 0
    [[ $build == 1 ]] || { log "$what for $arch is not built in $cache: run scripts/windows.sh"; exit 1; }
    local started=$SECONDS work=$cache/build/$what-$arch
    log "building $what for $arch into $prefix (log: $cache/logs/$what-$arch.log)"
    rm -rf "$prefix" "$work"
    # In the background, so that the builder stops at its first failing command (errexit does not apply
    # to a function called as a condition).
    "$builder" "$work" "$prefix" >"$cache/logs/$what-$arch.log" 2>&1 &
    if ! wait $!; then
        tail -n 40 "$cache/logs/$what-$arch.log" >&2
        log "building $what for $arch failed"
        exit 1
    fi
    rm -rf "$work"
    echo "$((SECONDS - started))" >"$prefix/.seconds"
    touch "$prefix/.done"
    log "$what for $arch built in $((SECONDS - started)) s"
}

[[ $("$triple-g++" -v 2>&1) == *"Thread model: posix"* ]] || {
    echo "$triple-g++ is not the posix-thread compiler (update-alternatives --config $triple-g++)" >&2
    exit 1
}

# --- OpenSSL: only the libraries; libssh2 uses its crypto for Ed25519 and ECDSA host keys.
openssl_src=$(fetch_source openssl)
openssl_args=("$openssl_target" "--cross-compile-prefix=$triple-" no-asm shared no-tests no-legacy --libdir=lib)
openssl_prefix=$(prefix_for openssl "$(cat "$cache/src/openssl/.version")" "${openssl_args[@]}")
build_openssl() {
    local work=$1 prefix=$2
    cp -a "$openssl_src" "$work"
    cd "$work"
    ./Configure "${openssl_args[@]}" --prefix="$prefix" --openssldir="$prefix/ssl"
    make -j"$jobs" build_libs
    make install_dev install_runtime_libs
}
mkdir -p "$cache/build"
build_once openssl "$openssl_prefix" build_openssl

# --- libssh2 on that OpenSSL (its Windows crypto offers no host key that OpenSSH still accepts).
libssh2_src=$(fetch_source libssh2)
libssh2_args=("--host=$triple" --with-crypto=openssl --disable-static --enable-shared --disable-examples-build
    --disable-debug)
libssh2_prefix=$(prefix_for libssh2 "$(cat "$cache/src/libssh2/.version")" "${libssh2_args[@]}" "$openssl_prefix")
build_libssh2() {
    local work=$1 prefix=$2
    cp -a "$libssh2_src" "$work"
    cd "$work"
    ./configure "${libssh2_args[@]}" --with-libssl-prefix="$openssl_prefix" --prefix="$prefix" \
        CPPFLAGS="-I$openssl_prefix/include" LDFLAGS="-L$openssl_prefix/lib"
    make -j"$jobs" -C src
    make -C src install
    make install-pkgconfigDATA install-includeHEADERS
}
build_once libssh2 "$libssh2_prefix" build_libssh2

# --- Qt: Core, Gui, Widgets, Network and Test, the windows and offscreen platforms, the windowsvista style
# and the GIF reader; the modules, plugins and widgets the program does not use are left out.
qt_src=$(fetch_source qtbase-opensource-src)
qt_args=(-xplatform win32-g++ -device-option "CROSS_COMPILE=$triple-" -platform linux-g++
    -opensource -confirm-license -release -optimize-size -shared -strip -nomake examples -nomake tests
    -no-opengl -no-dbus -no-icu -no-openssl -no-pkg-config -no-fontconfig -no-glib
    -qt-zlib -qt-libpng -no-libjpeg -qt-freetype -qt-harfbuzz -qt-pcre
    -no-feature-sql -no-feature-xml -no-feature-concurrent -no-feature-printer -no-feature-tabletevent
    -no-feature-direct2d -no-feature-vulkan -no-feature-bearermanagement -no-feature-networkdiskcache
    -no-feature-sctp -no-feature-dnslookup -no-feature-statemachine -no-feature-textodfwriter
    -no-feature-textmarkdownreader -no-feature-textmarkdownwriter -no-feature-graphicsview
    -no-feature-mdiarea -no-feature-calendarwidget -no-feature-undocommand -no-feature-wizard
    -no-feature-colordialog -no-feature-fontdialog -no-feature-lcdnumber -no-feature-dial
    -no-feature-keysequenceedit -no-feature-columnview -no-feature-fontcombobox)
qt_prefix=$(prefix_for qt "$(cat "$cache/src/qtbase-opensource-src/.version")" "${qt_args[@]}")
build_qt() {
    local work=$1 prefix=$2
    mkdir -p "$work"
    cd "$work"
    "$qt_src/configure" -prefix "$prefix" "${qt_args[@]}"
    make -j"$jobs"
    make install
}
build_once qt "$qt_prefix" build_qt

echo "OPENSSL=$openssl_prefix"
echo "LIBSSH2=$libssh2_prefix"
echo "QT=$qt_prefix"
