#!/usr/bin/env bash
# Copies the header-only libraries (fmt, spdlog, CLI11) from Debian's packages, and the single source file of utf8proc, into one folder,
# because a build for Windows must not see the other headers of this system.
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
