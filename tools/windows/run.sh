#!/bin/sh
# Runs a Windows program on this machine, quietly: x64 under Debian's Wine, ARM64 under the Wine of wine-arm64.sh and qemu-user.
# CMake uses it as CMAKE_CROSSCOMPILING_EMULATOR ("run.sh;x64").
# usage: tools/windows/run.sh x64|arm64 PROGRAM [ARGUMENT...]
#        tools/windows/run.sh x64|arm64 --start | --stop
# The first run creates the registry and drive C:, which takes some seconds. Wine's server runs for ten minutes after the last program, so
# that a start takes 0.05 s (x64) or 0.2 s (ARM64) instead of 0.5 s or 2 s.
set -eu
here=$(dirname "$(readlink -f "$0")")
cache=${ORBIS_CACHE:-$HOME/.cache/orbis}/windows
architecture=${1:?x64 or arm64}; shift
case $architecture in
    x64) loader=/usr/lib/wine/wine64 server=/usr/lib/wine/wineserver64 version=debian ;;
    arm64)
        wine=${ORBIS_WINE_ARM64:-$("$here/wine-arm64.sh" --path)}
        loader=$wine/bin/wine64 server=$wine/bin/wineserver version=${wine##*-}
        # A processor without SVE: when a signal handler has changed the floating-point registers, qemu 7.2 overwrites them with the SVE
        # registers. Wine returns from unwinding through such a handler, so d8 to d15 would be lost in callers of functions with a catch block.
        export QEMU_CPU="${QEMU_CPU:-max,sve=off}" ;;
    *) echo "run.sh: no such architecture: $architecture (x64, arm64)" >&2; exit 2 ;;
esac
[ -x "$loader" ] || { echo "run.sh: no Wine for $architecture: run './dev windows setup'" >&2; exit 2; }

export WINEPREFIX="$cache/machine-$architecture-$version" WINEDEBUG="${WINEDEBUG--all}"
# No .NET, browser engine or menus, which are not needed, and no desktop: its process would outlive the first program and keep its output
# open.
export WINEDLLOVERRIDES="mscoree,mshtml=d;winemenubuilder.exe,explorer.exe=d"
unset DISPLAY WAYLAND_DISPLAY WINELOADER WINESERVER

# Debian's Wine, and ours of the same source, keeps the folder of its servers in the prefix. A running server holds the lock in its folder;
# the socket beside it remains when a server is killed.
running() {
    [ -f "$WINEPREFIX/wineserver" ] || return 1
    lock="/tmp/$(cat "$WINEPREFIX/wineserver")/server-$(stat -c %D "$WINEPREFIX")-$(printf %x "$(stat -c %i "$WINEPREFIX")")/lock"
    [ -f "$lock" ] && grep -q ":$(stat -c %i "$lock") " /proc/locks
}
start() {
    mkdir -p "$cache/locks"
    (
        flock 9
        if [ ! -f "$WINEPREFIX/.made" ]; then
            rm -rf "$WINEPREFIX"
            "$loader" wineboot -i >/dev/null 2>&1 9>&-
            touch "$WINEPREFIX/.made"
        fi
        if ! running; then
            # The server, and the services that the first program starts, keep their output open as long as they run, so it must not be
            # a pipe whose end the caller waits for.
            "$server" -p600 >/dev/null 2>&1 9>&- || [ $? = 2 ]  # 2: one runs already
            "$loader" cmd /c exit </dev/null >/dev/null 2>&1 9>&-
        fi
    ) 9>"$cache/locks/machine-$architecture"
}

case ${1:?a program, --start or --stop} in
    --start) start ;;
    --stop) "$server" -k || true ;;
    *)
        { [ -f "$WINEPREFIX/.made" ] && running; } || start
        exec "$loader" "$@" ;;
esac
