#!/usr/bin/env bash
# The libraries that are used as headers alone (fmt, spdlog, CLI11), copied from Debian's packages into one folder: a build for
# Windows must not see the rest of this system's headers.
# usage: tools/windows/headers.sh [--path]     --path only prints where it is, or would be
# shellcheck source=common.sh
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

packages=(libfmt-dev libspdlog-dev libcli11-dev)
[ "${1:-}" = --path ] || install_packages "${packages[@]}" googletest
versions=$(dpkg-query -W -f '${Version} ' "${packages[@]}" 2>/dev/null) || versions=none
result=$(cache_path headers 1 "$tools/headers.sh" "$versions")
if [ "${1:-}" = --path ]; then echo "$result"; exit; fi
begin headers "$result" || exit 0

copy() { cp -r /usr/include/fmt /usr/include/spdlog /usr/include/CLI "$partial/"; }
step "fmt, spdlog, CLI11" copy
finish
