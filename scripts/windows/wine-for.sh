#!/usr/bin/env bash
# Runs one of Wine's programs (wine, wineserver) for a target in the prefix WINEPREFIX: Debian's wine64 for
# x86_64, the 32-bit Wine of the root (wine32-root.sh) for i686, with WINEPREFIX and each PATH given with
# --bind in reach at the same place. A prefix is made on first use, under a lock, with the fonts mapped.
#
#   WINEPREFIX=… scripts/windows/wine-for.sh i686|x86_64 [--bind PATH]... wine|wineserver [ARGUMENT...]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
arch=${1:?usage: wine-for.sh i686|x86_64 [--bind PATH]... wine|wineserver [ARGUMENT...]}
shift
: "${WINEPREFIX:?WINEPREFIX names the prefix}"
binds=(--bind "$WINEPREFIX")
while [[ ${1:-} == --bind ]]; do
    binds+=(--bind "$2")
    shift 2
done
tool=${1:?wine or wineserver}
shift

export WINEDEBUG=${WINEDEBUG:--all}
# No Mono or Gecko: nothing here uses them, and Wine would offer to download them.
export WINEDLLOVERRIDES=${WINEDLLOVERRIDES:-mscoree,mshtml=}

run() {
    local program=$1
    shift
    case "$arch" in
    x86_64) [[ $program == wine ]] && program=wine64
        /usr/lib/wine/"$program" "$@" ;;
    i686) "$here/in-root.sh" "${binds[@]}" -- /usr/lib/wine/"$program" "$@" ;;
    *) echo "unknown target: $arch" >&2; return 2 ;;
    esac
}

# The font names the style sheet asks for are Windows' Chinese UI fonts; Wine's replacements give them
# Debian's Noto Sans CJK SC, so that the text is not drawn in a fallback face.
map_fonts() {
    local reg=$WINEPREFIX/fonts.reg name
    {
        printf '\xff\xfe'
        {
            printf 'Windows Registry Editor Version 5.00\r\n\r\n'
            printf '[HKEY_CURRENT_USER\\Software\\Wine\\Fonts\\Replacements]\r\n'
            for name in "Microsoft YaHei UI" "Microsoft YaHei" "微软雅黑" "SimSun" "宋体"; do
                printf '"%s"="Noto Sans CJK SC"\r\n' "$name"
            done
        } | iconv -f UTF-8 -t UTF-16LE
    } >"$reg"
    run wine reg import 'Z:'"${reg//\//\\}"
    rm -f "$reg"
}

make_prefix() {
    [[ $arch == i686 ]] && export WINEARCH=win32
    run wine wineboot --init
    map_fonts
    # Until the server ends: the registry is then on disk, and the caller's command starts a server of its
    # own, with the folders it binds in reach.
    run wineserver -w
    touch "$WINEPREFIX/.ombrivane-ready"
}

if [[ ! -f $WINEPREFIX/.ombrivane-ready ]]; then
    mkdir -p "$WINEPREFIX"
    # Programs started at once make the prefix once.
    exec 9>"$WINEPREFIX/.lock"
    flock 9
    if [[ ! -f $WINEPREFIX/.ombrivane-ready ]]; then
        # In the background, so that make_prefix stops at its first failing command.
        make_prefix >"$WINEPREFIX/.make.log" 2>&1 &
        wait $! || { cat "$WINEPREFIX/.make.log" >&2; echo "wine-for.sh: $WINEPREFIX could not be made" >&2; exit 1; }
    fi
    exec 9>&-
fi
run "$tool" "$@"
