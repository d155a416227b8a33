#!/usr/bin/env bash
# The Windows part of ./dev: everything for x64 and ARM64, built and run on this machine.
# shellcheck source=common.sh
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"
cd "$tools/../.."

usage() {
    cat <<'TEXT'
usage: ./dev windows [build] [x64|arm64]              build (both when none is named)
       ./dev windows test [x64|arm64] [CTEST ARGUMENT...]
       ./dev windows package [x64|arm64] [--sign CERTIFICATE [--timestamp URL]]
                                                      a package and its symbols each, in out/; docs/WINDOWS.md tells about signing
       ./dev windows run x64|arm64 [ARGUMENT...]      orbis-host, under Wine
       ./dev windows setup [x64|arm64]                compiler, libraries and Wine alone

The compiler, protobuf and the Wine for ARM64 are built from Debian's source packages: a quarter of an hour to half an hour on two
cores, once. They are kept in $ORBIS_CACHE (~/.cache/orbis) under names that hold their versions, and built again when a script in
tools/windows/ that makes them changes. ORBIS_JOBS limits how many compilers run at a time.
TEXT
}

# timed TEXT COMMAND...: prints the text, runs the command and prints how long it took.
timed() {
    local text=$1 begun=$SECONDS; shift
    say "$text"
    "$@"
    say "$text: $((SECONDS - begun)) s"
}

setup() {
    local architecture=$1
    "$tools/headers.sh"
    "$tools/toolchain.sh" "$architecture"
    "$tools/protobuf.sh" "$architecture"
    case $architecture in
        x64) install_packages wine64 ;;
        arm64) "$tools/wine-arm64.sh" ;;
    esac
    install_packages cmake ninja-build ccache protobuf-compiler googletest python3 zip unzip
    rm -rf "$cache/sources"
}

configure() {
    local log=build/windows-$1/configure.log
    mkdir -p "build/windows-$1"
    cmake --preset "windows-$1" >"$log" 2>&1 || { cat "$log" >&2; die "configuring windows-$1 failed"; }
}
compile() {
    [ -f "build/windows-$1/build.ninja" ] || timed "$1: configuration" configure "$1"
    cmake --build "build/windows-$1" -j "$jobs" >&2
}
build() {
    setup "$1"
    # CMake cannot use a build folder of an older toolchain. Objects that are still valid are in ccache.
    local compiler
    compiler=$("$tools/toolchain.sh" "$1" --path)
    grep -qsF "$compiler/" "build/windows-$1/CMakeCache.txt" || rm -rf "build/windows-$1"
    timed "$1: build" compile "$1"
}

# Every test of the list must have run; ctest counts a skipped test as passed.
run_tests() {
    local architecture=$1; shift
    local results=$PWD/build/windows-$architecture/tests.xml
    ctest --preset "windows-$architecture" --output-junit "$results" "$@" >&2
    grep -q '^[[:space:]]*skipped="0"' "$results" || die "$architecture: tests were skipped, see $results"
}
test_architecture() {
    local architecture=$1; shift
    build "$architecture"
    timed "$architecture: Wine" "$tools/run.sh" "$architecture" --start
    timed "$architecture: tests" run_tests "$architecture" "$@"
}

package() {
    build "$1"
    timed "$1: Wine" "$tools/run.sh" "$1" --start
    timed "$1: package" "$tools/package.sh" "$@"
}

# each COMMAND [x64|arm64] [ARGUMENT...]: for the architecture that is named, or for both.
each() {
    local command=$1; shift
    case ${1:-} in
        x64|arm64) "$command" "$@" ;;
        *) "$command" x64 "$@"; "$command" arm64 "$@" ;;
    esac
}

case " $* " in *" --help "*|*" -h "*) [ "${1:-}" = run ] || { usage; exit; } ;; esac
command=build
case ${1:-} in
    build|setup|test|package|run) command=$1; shift ;;
    ''|x64|arm64) ;;
    *) usage >&2; die "no such command: $1" ;;
esac
begun=$SECONDS
case $command in
    package) each package "$@" ;;
    setup|build)
        [ $# -le 1 ] || { usage >&2; die "one architecture at most"; }
        case ${1:-} in ''|x64|arm64) ;; *) die "no such architecture: $1 (x64, arm64)" ;; esac
        each "$command" "$@" ;;
    test)
        each test_architecture "$@"
        # With one architecture, the other one's list may come from an older build.
        case ${1:-} in x64|arm64) ;; *) python3 "$tools/compare-tests.py" build ;; esac ;;
    run)
        architecture=${1:-}; shift || true
        cpu_of "$architecture" >/dev/null
        [ -f "build/windows-$architecture/bin/orbis-host.exe" ] || build "$architecture"
        exec "$tools/run.sh" "$architecture" "build/windows-$architecture/bin/orbis-host.exe" "$@" ;;
esac
say "$command: $((SECONDS - begun)) s altogether"
