#!/usr/bin/env bash
# Makes an MSI of the zip in out/; installs and removes the one for x64 under Wine. usage: tools/packages/msi.sh x64|arm64
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
architecture=${1:?x64 or arm64}
name=orbis-$(cat VERSION)-windows-$architecture
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
die() { printf 'msi: %s\n' "$*" >&2; exit 1; }
[ -f "out/$name.zip" ] || die "there is no out/$name.zip: run './dev windows package $architecture' first"
unzip -q "out/$name.zip" -d "$work"

# Task Scheduler reads UTF-16.
mkdir "$work/$name/tasks"
for task in packaging/windows/*.xml; do
    { printf '\xff\xfe'; sed 's/$/\r/' "$task" | iconv -f UTF-8 -t UTF-16LE; } >"$work/$name/tasks/$(basename "$task")"
done
python3 tools/packages/msi.py "$work/$name" "$(cat VERSION)" "$architecture" "out/$name.msi"

case $architecture in x64) template=x64 ;; arm64) template=Arm64 ;; esac
msiinfo suminfo "out/$name.msi" | grep -q "^Template: $template;1033" || die "$name.msi is not for $architecture"
[ "$(msiinfo export "out/$name.msi" File | tail -n +4 | wc -l)" = "$(find "$work/$name" -type f | wc -l)" ] || die "$name.msi has not every file"
# The MSI for ARM64 cannot be installed here; only its tables are checked.
[ "$architecture" = x64 ] || exit 0

wine() { tools/windows/run.sh x64 "$@" </dev/null >/dev/null 2>&1; }
export ORBIS_CACHE=$work/cache
package=Z:${PWD//\//\\}\\out\\$name.msi
mkdir -p "$ORBIS_CACHE"
trap 'tools/windows/run.sh x64 --stop; rm -rf "$work"' EXIT
wine --start
wine --stop
wine --start  # a new prefix knows its services, such as the task scheduler, only after a second start
disk=$ORBIS_CACHE/windows/machine-x64-debian/drive_c
before=$(find "$disk/Program Files" "$disk/ProgramData" "$disk/windows/system32/tasks" -type f | LC_ALL=C sort)
wine msiexec /i "$package" /qn || die "$name.msi cannot be installed"
diff -r "$work/$name" "$disk/Program Files/Orbis" >&2 || die "$name.msi installed other files"
for task in metrics health; do
    grep -aq . "$disk/windows/system32/tasks/Orbis/$task" || die "there is no task $task"
done
wine 'C:\Program Files\Orbis\orbis-host.exe' collect all --machine 'C:\Program Files\Orbis\machines\workstation.txtpb' ||
    die "the installed orbis-host.exe cannot collect"
wine msiexec /x "$package" /qn || die "$name.msi cannot be removed"
after=$(find "$disk/Program Files" "$disk/ProgramData" "$disk/windows/system32/tasks" -type f | LC_ALL=C sort)
[ "$before" = "$after" ] || die "$name.msi left something behind: $(diff <(echo "$before") <(echo "$after"))"
