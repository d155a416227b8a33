#!/usr/bin/env bash
# The libraries that are used as headers alone (fmt, spdlog, CLI11), copied from Debian's packages into one folder: a build for
# Windows must not see the rest of this system's headers. And the source of utf8proc, which is one file.
# usage: tools/windows/headers.sh [--path]     --path only prints where it is, or would be
# shellcheck source=common.sh
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

packages=(libfmt-dev libspdlog-dev libcli11-dev)
[ "${1:-}" = --path ] || install_packages "${packages[@]}" googletest dpkg-dev
versions=$(dpkg-query -W -f '${Version} ' "${packages[@]}" 2>/dev/null) || versions=none
result=$(cache_path headers 1 "$tools/headers.sh" "$versions" "$utf8proc_version")
if [ "${1:-}" = --path ]; then echo "$result"; exit; fi
begin headers "$result" || exit 0

copy() { cp -r /usr/include/fmt /usr/include/spdlog /usr/include/CLI "$partial/"; }
step "fmt, spdlog, CLI11" copy
fetch() {
    fetch_source utf8proc "$utf8proc_version"
    unpack_source "$work/utf8proc"
    mkdir "$partial/utf8proc"
    cp "$work"/utf8proc/{utf8proc.c,utf8proc_data.c,utf8proc.h,LICENSE.md} "$partial/utf8proc/"
}
step "source of utf8proc $utf8proc_version" fetch
finish
