#!/usr/bin/env bash
# Installs the Debian packages of out/ in a clean Debian, runs the lines of docs/HOSTS.md there, removes the packages, and checks that nothing
# is left. Needs root.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
[ "$(id -u)" = 0 ] || { echo "try-debian: run this as root" >&2; exit 1; }
packages=(out/*.deb)
[ -f "${packages[0]}" ] || { echo "try-debian: no packages: run './dev release linux' first" >&2; exit 1; }
cache=${ORBIS_CACHE:-$HOME/.cache/orbis}/debian
base=$cache/bookworm-$(dpkg --print-architecture).tar
root=$(mktemp -d) && chmod 755 "$root"
trap 'rm -rf --one-file-system "$root" "$root.before" "$root.after"' EXIT
say() { printf '==> %s\n' "$*" >&2; }

# Packages that the lines of docs/HOSTS.md need; they are installed before our packages and stay after them.
tools="gcc g++ cmake make pkgconf libprotobuf-dev python3 python3-pip python3-setuptools python3-wheel python3-protobuf
    protobuf-compiler mono-mcs mono-runtime systemd"
if [ ! -f "$base" ]; then
    say "a clean Debian (once)"
    mkdir -p "$cache"
    # From the archive of this machine's own packages.
    mirror=$(apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' 'Origin: Debian' 'Codename: bookworm' 'Component: main' | head -1)
    debootstrap --variant=minbase bookworm "$root" ${mirror:+"$mirror"} >"$cache/debootstrap.log" 2>&1 ||
        { tail "$cache/debootstrap.log" >&2; exit 1; }
    # shellcheck disable=SC2086
    chroot "$root" env DEBIAN_FRONTEND=noninteractive apt-get -q -y install --no-install-recommends $tools >"$cache/tools.log" 2>&1 ||
        { tail "$cache/tools.log" >&2; exit 1; }
    tar -C "$root" --one-file-system -cf "$base.new" . && mv "$base.new" "$base"
else
    tar -C "$root" -xf "$base" && chmod 755 "$root"
fi

# in_root COMMAND...: runs in the root with its own mounts and processes, which end with the command.
in_root() {
    unshare --mount --pid --fork --propagation private sh -c 'mount -t proc proc "$1/proc"; root=$1; shift; exec chroot "$root" "$@"' sh "$root" \
        env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LANG=C.UTF-8 DEBIAN_FRONTEND=noninteractive "$@"
}
# Lists every file outside the package manager's own records, with size and time.
files() {
    (cd "$root" && find . -xdev \( -path ./proc -o -path ./run -o -path ./tmp -o -path ./var/lib/dpkg -o -path ./var/lib/apt -o -path ./var/cache -o -path ./var/log \
        -o -path ./etc/ld.so.cache \) -prune -o \( -type f -printf '%p %s %T@\n' -o -printf '%p %y %l\n' \) | LC_ALL=C sort)
}

files >"$root.before"
say "installing"
mkdir "$root/tmp/packages" && cp "${packages[@]}" "$root/tmp/packages/"
in_root sh -c 'apt-get -q -y install --no-install-recommends /tmp/packages/*.deb' >"$cache/install.log" 2>&1 || { tail "$cache/install.log" >&2; exit 1; }

say "running"
in_root orbis-host --version
in_root orbis-host collect SmartNvmeInfo --machine /usr/share/orbis/machines/workstation.txtpb >/dev/null
for unit in orbis-metrics orbis-health; do
    in_root systemd-analyze verify --man=no /lib/systemd/system/$unit.timer /lib/systemd/system/$unit.service
    in_root systemd-analyze security --offline=yes --threshold=20 --no-pager /lib/systemd/system/$unit.service >/dev/null
    [ "$(in_root systemctl is-enabled $unit.timer)" = disabled ] || { echo "$unit.timer is enabled" >&2; exit 1; }
    in_root systemctl --quiet enable $unit.timer
done
mkdir "$root/var/lib/orbis"  # systemd would make it
in_root orbis-host metrics --machine /usr/share/orbis/machines/workstation.txtpb --output /var/lib/orbis/storage.prom
grep -q '^orbis_' "$root/var/lib/orbis/storage.prom" || { echo "no metrics" >&2; exit 1; }
mkdir -p "$root/tmp/source/tests" && cp -r VERSION docs host-sdk "$root/tmp/source/" && cp -r tests/examples "$root/tmp/source/tests/"
in_root python3 /tmp/source/tests/examples/try_lines.py --source /tmp/source --work /tmp/lines

say "removing"
in_root apt-get -q -y purge --autoremove orbis-storage-collector orbis-host orbis-dev >"$cache/purge.log" 2>&1 || { tail "$cache/purge.log" >&2; exit 1; }
rm -rf "$root/tmp/packages" "$root/tmp/source" "$root/tmp/lines"
files >"$root.after"
diff "$root.before" "$root.after" >&2 || { echo "the packages left something behind" >&2; exit 1; }
say "installed, used and removed without a trace"
