#!/usr/bin/env bash
# Makes all packages of this version, and their checksums, in out/. usage: tools/packages/release.sh [linux|windows]...   (both)
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
version=$(cat VERSION)
say() { printf '==> %s\n' "$*" >&2; }
case " $* " in *" --help "*|*" -h "*) echo "usage: ./dev release [linux|windows]...   every package and SHA256SUMS, in out/"; exit ;; esac
[ $# -gt 0 ] || set -- linux windows

# The time stamps in packages are those of the commit, not of the build.
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct 2>/dev/null || echo 946684800)
export SOURCE_DATE_EPOCH
rm -rf out && mkdir out

linux() {
    mkdir -p build/package
    [ -f build/package/build.ninja ] || cmake --preset package >build/package/configure.log 2>&1 || { cat build/package/configure.log >&2; return 1; }
    cmake --build --preset package >&2
    say "Debian packages"
    rm -rf build/package/packages
    (cd build/package && cpack >packages.log 2>&1) || { cat build/package/packages.log >&2; return 1; }
    cp build/package/packages/*.deb out/
    say "Python wheel"
    # Built from a copy, because the build writes files beside the sources.
    local copy=build/package/python
    rm -rf "$copy" && mkdir -p "$copy/host-sdk"
    cp VERSION "$copy/" && cp -r host-sdk/python host-sdk/proto "$copy/host-sdk/"
    /usr/bin/python3 -m pip wheel -q --no-index --no-build-isolation --no-deps --wheel-dir out "$copy/host-sdk/python"
}

windows() {
    tools/windows/dev-windows.sh package
    if [ -x tools/packages/msi.sh ]; then tools/packages/msi.sh x64; tools/packages/msi.sh arm64; fi
}

for system in "$@"; do
    case $system in linux|windows) "$system" ;; *) echo "release: no such system: $system (linux, windows)" >&2; exit 2 ;; esac
done
(cd out && sha256sum -- * >SHA256SUMS)
say "version $version, in out/:"
cat out/SHA256SUMS
