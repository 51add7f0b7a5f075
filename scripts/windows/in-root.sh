#!/usr/bin/env bash
# Runs a command in the 32-bit Wine root that wine32-root.sh made, in a mount namespace of its own, so that
# no mount outlives the command: /proc, /dev and the X server's sockets are there, and so is each PATH given
# with --bind, at the same place as outside. The root shares this machine's network (loopback) and the
# caller's environment; the working directory is kept when it is in reach, else it is /.
#
#   scripts/windows/in-root.sh [--bind PATH]... [--] COMMAND [ARGUMENT...]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)

binds=()
while [[ $# -gt 0 ]]; do
    case "$1" in
    --bind) binds+=("$(realpath -m "$2")"); shift 2 ;;
    --) shift; break ;;
    *) break ;;
    esac
done
[[ $# -gt 0 ]] || { echo "usage: in-root.sh [--bind PATH]... [--] COMMAND [ARGUMENT...]" >&2; exit 2; }

root_line=$("$here/wine32-root.sh" --no-build)
eval "$root_line"

[[ -d /tmp/.X11-unix ]] && binds+=(/tmp/.X11-unix)
[[ -n ${XAUTHORITY:-} && -f $XAUTHORITY ]] && binds+=("$(realpath "$XAUTHORITY")")

# Only paths that exist and are not inside another one of the list.
kept=()
while read -r path; do
    [[ -e $path ]] || continue
    [[ ${#kept[@]} -gt 0 && $path == "${kept[-1]}"/* ]] && continue
    kept+=("$path")
done < <(printf '%s\n' "${binds[@]}" | sort -u)

directory=/
for path in "${kept[@]}"; do
    [[ $PWD == "$path" || $PWD == "$path"/* ]] && directory=$PWD
done

exec unshare --mount --propagation private -- bash -c '
    set -e
    root=$1 directory=$2
    shift 2
    mount -t proc proc "$root/proc"
    mount --rbind /dev "$root/dev"
    while [[ $1 != -- ]]; do
        if [[ -d $1 ]]; then
            mkdir -p "$root$1"
        else
            mkdir -p "$(dirname "$root$1")" && touch "$root$1"
        fi
        mount --bind "$1" "$root$1"
        shift
    done
    shift
    exec chroot "$root" /usr/bin/env --chdir="$directory" "$@"
' in-root "$ROOT" "$directory" "${kept[@]}" -- "$@"
