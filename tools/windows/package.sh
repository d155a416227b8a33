#!/usr/bin/env bash
# Makes one zip with the files for users and one with the program databases; the same sources give the same bytes.
# usage: tools/windows/package.sh x64|arm64 [--sign CERTIFICATE [--timestamp URL]]     after a build of that architecture
# CERTIFICATE is a PKCS #12 file; ORBIS_SIGN_PASSWORD_FILE names a file with its password. URL is an RFC 3161 time stamp server; without a
# time stamp, a signature is valid only as long as its certificate.
# shellcheck source=common.sh
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"
root=$(cd "$tools/../.." && pwd)

architecture=${1:-}
certificate='' timestamp=()
shift
while [ $# -gt 0 ]; do
    case $1 in
        --sign) certificate=$(realpath -e "${2:?a PKCS #12 file after --sign}"); shift 2 ;;
        --timestamp) timestamp=(-ts "${2:?an address after --timestamp}"); shift 2 ;;
        *) die "no such option: $1 (--sign, --timestamp)" ;;
    esac
done
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

images="StorageCollector.dll sondix.dll orbis-platform.dll orbis-insight.dll orbis-host.exe"
for file in $images; do cp "$build/bin/$file" "$stage/"; done
if [ -n "$certificate" ]; then
    install_packages osslsigncode
    password=()
    [ -z "${ORBIS_SIGN_PASSWORD_FILE:-}" ] || password=(-readpass "$ORBIS_SIGN_PASSWORD_FILE")
    for file in $images; do
        osslsigncode sign -pkcs12 "$certificate" ${password[@]+"${password[@]}"} -h sha256 -n "Orbis $version" \
            ${timestamp[@]+"${timestamp[@]}"} -in "$stage/$file" -out "$stage/$file.signed" >/dev/null || die "$file could not be signed"
        mv "$stage/$file.signed" "$stage/$file"
    done
fi
cp "$root/host-sdk/border/include/HostBorder/orbis_border.h" "$stage/include/HostBorder/"
mkdir "$stage/include/insight" && cp "$root/insight/include/insight/orbis_insight.h" "$stage/include/insight/"
(cd "$root/host-sdk/proto" && find . -name '*.proto' -exec cp --parents {} "$stage/" \;)
mkdir "$stage/proto" && mv "$stage/orbis" "$stage/proto/"
cp -r "$root/docs/schema" "$stage/schema"
cp -r "$root/machines" "$stage/machines"
sed 's/$/\r/' "$tools/package-readme.txt" >"$stage/README.txt"
for file in tryout.cmd tryout.ps1; do sed 's/$/\r/' "$tools/$file" >"$stage/$file"; done

[ ! -f "$root/LICENSE" ] || cp "$root/LICENSE" "$stage/licences/orbis.txt"
cp "$toolchain"/licences/*.txt "$stage/licences/"
cp "$protobuf/LICENSE" "$stage/licences/protobuf.txt"
for library in fmt spdlog cli11; do cp "/usr/share/doc/lib$library-dev/copyright" "$stage/licences/$library.txt"; done

commit_time=$(git -C "$root" log -1 --format=%cI 2>/dev/null || echo 2000-01-01T00:00:00Z)

# The program databases, which symbol servers and debuggers find by the identity in the images.
symbols=$build/package/$name-symbols
mkdir "$symbols"
for file in $images; do cp "$build/bin/${file%.*}.pdb" "$symbols/"; done

# pack FOLDER: out/FOLDER.zip.
pack() {
    find "$build/package/$1" -exec touch -d "$commit_time" {} +
    rm -f "$root/out/$1.zip"
    (cd "$build/package" && find "$1" -type f | LC_ALL=C sort | TZ=UTC zip -q -X -@ "$root/out/$1.zip")
}
pack "$name"
pack "$name-symbols"

# Uses the zip as a user does: unpacked elsewhere and started from another folder, the host must print the same for each example machine as
# on every other system.
unpacked=$build/package/unpacked
mkdir -p "$unpacked/elsewhere"
unzip -q "$root/out/$name.zip" -d "$unpacked"
cd "$unpacked/elsewhere"
for machine in "../$name"/machines/*.txtpb; do
    stem=$(basename "$machine" .txtpb)
    # The output contains the file's name. Status 1 (a collection failed) and 4 (something was left out) are expected of some example
    # machines.
    cp "$machine" .
    "$tools/run.sh" "$architecture" "../$name/orbis-host.exe" collect all --machine "$stem.txtpb" --format json --log-level off \
        </dev/null >"$unpacked/$stem.json" 2>/dev/null || case $? in 1|4) ;; *) die "$name: orbis-host.exe cannot collect from $machine" ;; esac
    cmp "$unpacked/$stem.json" "$root/tests/golden/$stem.json" >&2 || die "$name: what orbis-host.exe prints for $machine differs"
done
if [ -n "$certificate" ]; then
    authorities=/etc/ssl/certs/ca-certificates.crt
    for file in $images; do
        log=$unpacked/$file.log
        osslsigncode verify -CAfile "${ORBIS_SIGN_ROOTS:-$authorities}" -TSA-CAfile "${ORBIS_SIGN_TIMESTAMP_ROOTS:-$authorities}" \
            -in "../$name/$file" >"$log" 2>&1 || { cat "$log" >&2; die "$file: the signature does not verify (ORBIS_SIGN_ROOTS names other roots)"; }
        # osslsigncode accepts signatures without a time stamp, or with one that it cannot verify.
        [ ${#timestamp[@]} -eq 0 ] || grep -q '^Timestamp Server Signature verification: ok' "$log" ||
            { cat "$log" >&2; die "$file: the time stamp does not verify (ORBIS_SIGN_TIMESTAMP_ROOTS names other roots)"; }
    done
fi
say "$(cd "$root" && du -h "out/$name.zip" "out/$name-symbols.zip")"
