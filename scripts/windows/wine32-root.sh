#!/usr/bin/env bash
# A 32-bit Debian 12 userland with 32-bit Wine, made from the package archive into a folder of the cache,
# for the 32-bit program and its tests: Debian's 64-bit Wine runs no 32-bit program, and a 32-bit wine32
# beside it on the machine is uninstallable (the i386 and amd64 indexes are out of step). The folder is
# named after a hash of what defines it (suite, architecture, packages, this recipe) and reused until one of
# those changes; a folder without its ".done" stamp is a broken build and is made again.
#
#   scripts/windows/wine32-root.sh [--no-build]
#
# prints ROOT=… once the root is ready; with --no-build it only prints it, and fails when it is not made.
# Exits with 3 when this kernel runs no 32-bit code (the root's own /bin/true does not start).
set -euo pipefail

build=1
if [[ ${1:-} == --no-build ]]; then
    build=0
    shift
fi
here=$(cd "$(dirname "$0")" && pwd)
cache=${OMBRIVANE_WIN_CACHE:-/var/cache/ombrivane-win}
suite=bookworm
arch=i386
# Wine's X driver loads the X extensions it uses at run time; they are recommendations only.
packages=(wine wine32 fonts-noto-cjk libxrender1 libxrandr2 libxi6 libxcursor1 libxinerama1 libxcomposite1
    libxfixes3 libxxf86vm1)

log() { printf '[%s] %s\n' "$(date +%H:%M:%S)" "$*" >&2; }

# The archive the machine itself uses (the first URI of its bookworm entry).
mirror() {
    local uri=""
    if [[ -f /etc/apt/sources.list.d/debian.sources ]]; then
        uri=$(awk '/^URIs:/ { uri = $2 } /^Suites:/ && / '"$suite"'( |$)/ && uri { print uri; exit }' \
            /etc/apt/sources.list.d/debian.sources)
    fi
    if [[ -z $uri && -f /etc/apt/sources.list ]]; then
        uri=$(awk '$1 == "deb" && $3 == "'"$suite"'" { print $2; exit }' /etc/apt/sources.list)
    fi
    echo "${uri:-http://deb.debian.org/debian}"
}

root_folder() {
    local key
    key=$(printf '%s\n' "$suite" "$arch" "${packages[*]}" "$(sha256sum <"$here/wine32-root.sh")" | sha256sum | cut -c1-12)
    echo "$cache/root-$arch-$key"
}

# Whether the root's own /bin/true runs: 3 when this kernel refuses 32-bit programs, 1 when the root is broken.
check_32bit_code() {
    local error
    error=$(LC_ALL=C chroot "$1" /bin/true 2>&1) && return 0
    if [[ $error == *"Exec format error"* ]]; then
        log "this kernel runs no 32-bit code: $1/bin/true does not start (exec format error)"
        return 3
    fi
    log "$1/bin/true does not start: $error"
    return 1
}

# COMMAND in the root, with /proc and /dev mounted in a mount namespace of its own.
in_new_root() {
    local root=$1
    shift
    unshare --mount --propagation private -- bash -c '
        root=$1; shift
        mount -t proc proc "$root/proc"
        mount --rbind /dev "$root/dev"
        exec chroot "$root" /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin DEBIAN_FRONTEND=noninteractive "$@"
    ' in-root "$root" "$@"
}

make_root() {
    local root=$1 started=$SECONDS
    log "making the 32-bit Wine root $root (log: $cache/logs/root-$arch.log)"
    rm -rf "$root"
    # Unpacked first without running anything, so that a kernel without 32-bit support is told apart
    # from a failing install.
    debootstrap --foreign --arch="$arch" --variant=minbase "$suite" "$root" "$(mirror)"
    check_32bit_code "$root"
    chroot "$root" /debootstrap/debootstrap --second-stage
    # Only the suite itself: the security suite's i386 index does not verify against this archive.
    echo "deb $(mirror) $suite main" >"$root/etc/apt/sources.list"
    in_new_root "$root" apt-get update -qq
    in_new_root "$root" apt-get install -y -qq --no-install-recommends "${packages[@]}"
    in_new_root "$root" apt-get clean
    echo "$((SECONDS - started))" >"$root/.seconds"
    touch "$root/.done"
    log "the 32-bit Wine root made in $((SECONDS - started)) s"
    # Roots of earlier recipes are not used any more (about 1 GB each).
    find "$cache" -maxdepth 1 -name "root-$arch-*" ! -path "$root" -exec rm -rf {} +
}

root=$(root_folder)
if [[ ! -f $root/.done ]]; then
    [[ $build == 1 ]] || { log "the 32-bit Wine root is not made in $cache: run scripts/windows.sh"; exit 1; }
    mkdir -p "$cache/logs"
    exec 9>"$cache/root-$arch.lock"
    flock 9
    if [[ ! -f $root/.done ]]; then
        # In the background, so that make_root stops at its first failing command (errexit does not apply
        # to a function called as a condition).
        make_root "$root" >"$cache/logs/root-$arch.log" 2>&1 &
        wait $! || {
            status=$?
            if [[ $status == 3 ]]; then
                tail -n 1 "$cache/logs/root-$arch.log" >&2
            else
                tail -n 30 "$cache/logs/root-$arch.log" >&2
                log "making the 32-bit Wine root failed (see $cache/logs/root-$arch.log)"
            fi
            exit "$status"
        }
    fi
fi
check_32bit_code "$root"
echo "ROOT=$root"
