# shellcheck shell=bash
# Sourced by the scripts of this folder: the folders and names of results, and the reporting of steps.
set -euo pipefail

tools=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
cache=${ORBIS_CACHE:-$HOME/.cache/orbis}/windows
jobs=${ORBIS_JOBS:-$(nproc)}

llvm_version=19.1.7
mingw_version=10.0.0
protobuf_version=3.21.12
utf8proc_version=2.8.0
wine_version=8.0~repack

say() { printf 'windows: %s\n' "$*" >&2; }
die() { printf 'windows: %s\n' "$*" >&2; exit 1; }

# The names of an architecture: triple_of x64 -> x86_64-w64-mingw32.
cpu_of() {
    case ${1:-} in
        x64) echo x86_64 ;;
        arm64) echo aarch64 ;;
        *) die "no such architecture: ${1:-none given} (x64, arm64)" ;;
    esac
}
triple_of() { echo "$(cpu_of "$1")-w64-mingw32"; }

# cache_path NAME VERSION INPUT...: the folder of a result. Its name contains the version and a hash of the inputs (scripts without their
# comments, sources, and words such as another result's folder). A changed script therefore gives another folder, and a folder that
# exists is complete.
cache_path() {
    local name=$1 version=$2 input; shift 2
    local hash
    hash=$(for input in "$@"; do
        case $input in
            *.sh) sed '/^ *#/d' "$input" ;;
            *.c) cat "$input" ;;
            *) echo "${input##*/}" ;;
        esac
    done | sha256sum)
    echo "$cache/$name-$version-${hash:0:12}"
}

# begin LABEL RESULT: the script then fills $result.partial, uses $work for temporary files and ends with `finish`, which renames the
# folder to its final name. An interrupted script leaves no result. Returns 1 when the result exists already.
begin() {
    label=$1 result=$2 started=$SECONDS
    [ ! -d "$result" ] || return 1
    mkdir -p "$cache/logs" "$cache/locks"
    exec {lock}>"$cache/locks/${result##*/}"
    flock "$lock"
    [ ! -d "$result" ] || return 1
    partial=$result.partial work=$result.partial/.work log=$cache/logs/${result##*/}.log
    rm -rf "$partial"
    mkdir -p "$work"
    : >"$log"
    trap ended EXIT
}
ended() {
    local status=$?
    rm -rf "$partial"
    [ $status -eq 0 ] || { tail -n 30 "$log" >&2; die "$label failed; the whole log is $log"; }
}
finish() {
    rm -rf "$work"
    mv "$partial" "$result"
    trap - EXIT
    say "$label: done in $((SECONDS - started)) s, $(du -sh "$result" | cut -f1)"
}

# step TEXT COMMAND...: runs one step with its output in the log and prints how long it took.
step() {
    local text=$1 begun=$SECONDS took; shift
    printf '\n--- %s\n' "$text" >>"$log"
    "$@" >>"$log" 2>&1
    took=$(printf '%s: %-42s %4d s' "$label" "$text" $((SECONDS - begun)))
    printf -- '--- %s\n' "$took" >>"$log"
    say "$took"
}

as_root() {
    if [ "$(id -u)" = 0 ]; then "$@"
    elif command -v sudo >/dev/null 2>&1; then sudo "$@"
    else die "installing packages needs root: run this as root, or install sudo"; fi
}

# install PACKAGE...: installs the missing packages; prints nothing when none is missing.
install_packages() {
    local name missing=()
    for name in "$@"; do
        [ "$(dpkg-query -W -f '${db:Status-Status}' "$name" 2>/dev/null)" = installed ] || missing+=("$name")
    done
    [ ${#missing[@]} -gt 0 ] || return 0
    command -v apt-get >/dev/null 2>&1 || die "missing: ${missing[*]}. The Windows tools are built from Debian's packages."
    say "installing ${#missing[@]} packages: ${missing[*]}"
    local apt=(env DEBIAN_FRONTEND=noninteractive apt-get -q -o DPkg::Lock::Timeout=600)
    as_root "${apt[@]}" update >&2
    as_root "${apt[@]}" -y install --no-install-recommends "${missing[@]}" >&2
}

# Runs apt's commands with a separate source list that has this machine's Debian archives as sources. Needs no root and changes nothing on
# the machine.
apt_sources() {
    local own=$cache/apt command=$1; shift
    "$command" -q -o Dir::Etc::SourceList="$own/sources.list" -o Dir::Etc::SourceParts=- -o Dir::State::Lists="$own/lists" \
        -o Dir::Cache="$own/cache" -o APT::Sandbox::User="$(id -un)" "$@"
}
refresh_sources() {
    mkdir -p "$cache/apt/lists/partial" "$cache/apt/cache/archives/partial"
    apt-get indextargets --format '$(ORIGIN) $(REPO_URI) $(RELEASE) $(COMPONENT)' 'Created-By: Packages' | sort -u |
        sed -n 's|^Debian |deb-src [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] |p' >"$cache/apt/sources.list"
    [ -s "$cache/apt/sources.list" ] || die "this machine's apt knows no Debian archive to take sources from"
    apt_sources apt-get update
}

# fetch_source NAME UPSTREAM: fetches the newest revision of Debian's source package of that upstream version, verified by apt, and sets
# $source_files to the folder of its archives.
fetch_source() {
    local name=$1 upstream=$2 version
    source_files=$cache/sources/$name-$upstream
    [ ! -d "$source_files" ] || return 0
    mkdir -p "$cache/locks"
    exec {fetching}>"$cache/locks/fetch"
    flock "$fetching"
    if [ ! -d "$source_files" ]; then
        [ -n "$(find "$cache/apt/sources.list" -mmin -600 2>/dev/null)" ] || refresh_sources
        version=$(apt_sources apt-cache showsrc "$name" |
            sed -n 's/^Version: //p' | grep -E "^([0-9]+:)?${upstream//./\\.}-[^-]*$" | sort -V | tail -n 1) || true
        [ -n "$version" ] || die "Debian's archive has no source of $name $upstream; the versions are set in tools/windows/common.sh"
        rm -rf "$source_files.partial"
        mkdir -p "$source_files.partial"
        (cd "$source_files.partial" && apt_sources apt-get source --download-only "$name=$version")
        mv "$source_files.partial" "$source_files"
    fi
    exec {fetching}>&-
}
# unpack_source DESTINATION: unpacks the source with Debian's patches.
unpack_source() { dpkg-source --no-check -x "$source_files"/*.dsc "$1"; }
