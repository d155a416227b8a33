#!/usr/bin/env bash
# One zip with what a user of Windows needs; the same sources give the same bytes.
# usage: tools/windows/package.sh x64|arm64     after a build of that architecture
# shellcheck source=common.sh
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"
root=$(cd "$tools/../.." && pwd)

architecture=${1:-}
triple=$(triple_of "$architecture")
build=$root/build/windows-$architecture
toolchain=$("$tools/toolchain.sh" "$architecture" --path)
protobuf=$("$tools/protobuf.sh" "$architecture" --path)
[ -f "$build/bin/orbis-host.exe" ] || die "nothing to pack: run './dev windows build $architecture' first"

version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt")
name=orbis-$version-windows-$architecture
stage=$build/package/$name
rm -rf "$build/package"
mkdir -p "$stage/include/HostBorder" "$stage/licences" "$root/out"

for file in StorageCollector.dll sondix.dll orbis-platform.dll orbis-host.exe; do
    "$toolchain/bin/$triple-strip" -o "$stage/$file" "$build/bin/$file"
done
cp "$root/host-sdk/border/include/HostBorder/orbis_border.h" "$stage/include/HostBorder/"
(cd "$root/host-sdk/proto" && find . -name '*.proto' -exec cp --parents {} "$stage/" \;)
mkdir "$stage/proto" && mv "$stage/orbis" "$stage/proto/"
cp -r "$root/docs/schema" "$stage/schema"
cp -r "$root/machines" "$stage/machines"
sed 's/$/\r/' "$tools/package-readme.txt" >"$stage/README.txt"

[ ! -f "$root/LICENSE" ] || cp "$root/LICENSE" "$stage/licences/orbis.txt"
cp "$toolchain"/licences/*.txt "$stage/licences/"
cp "$protobuf/LICENSE" "$stage/licences/protobuf.txt"
for library in fmt spdlog cli11; do cp "/usr/share/doc/lib$library-dev/copyright" "$stage/licences/$library.txt"; done

commit_time=$(git -C "$root" log -1 --format=%cI 2>/dev/null || echo 2000-01-01T00:00:00Z)
find "$stage" -exec touch -d "$commit_time" {} +
zip=$root/out/$name.zip
rm -f "$zip"
(cd "$build/package" && find "$name" -type f | LC_ALL=C sort | TZ=UTC zip -q -X -@ "$zip")

# What a user does with it: unpacked elsewhere, its host prints for each of its machines what is printed everywhere.
unpacked=$build/package/unpacked
unzip -q "$zip" -d "$unpacked"
cd "$unpacked/$name"
for machine in machines/*.txtpb; do
    stem=$(basename "$machine" .txtpb)
    # Status 1: a collection failed, which is what odd machines are for.
    (cd machines && "$tools/run.sh" "$architecture" ../orbis-host.exe collect all --machine "$stem.txtpb" --format json --log-level off \
        </dev/null 2>/dev/null) >"$unpacked/$stem.json" || [ $? = 1 ] || die "$name: orbis-host.exe cannot collect from $machine"
    cmp "$unpacked/$stem.json" "$root/tests/golden/$stem.json" >&2 || die "$name: what orbis-host.exe prints for $machine differs"
done
say "$(cd "$root" && du -h "out/$name.zip")"
