#!/usr/bin/env bash
# Builds a static libprotobuf for Windows from Debian's source package, in the version of the installed protoc.
# usage: tools/windows/protobuf.sh x64|arm64 [--path]     --path only prints where it is, or would be
# shellcheck source=common.sh
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

architecture=${1:-}
cpu=$(cpu_of "$architecture")
triple=$(triple_of "$architecture")
toolchain=$("$tools/toolchain.sh" "$architecture" --path)
result=$(cache_path "protobuf-$architecture" "$protobuf_version" "$tools/protobuf.sh" "$toolchain")
if [ "${2:-}" = --path ]; then echo "$result"; exit; fi
begin "protobuf $architecture" "$result" || exit 0
[ -d "$toolchain" ] || die "protobuf needs the toolchain: run tools/windows/toolchain.sh $architecture first"
install_packages cmake ninja-build dpkg-dev protobuf-compiler

# The generated code and the library must have the same version.
protoc_fits() { [ "$(protoc --version)" = "libprotoc ${protobuf_version#*.}" ] || [ "$(protoc --version)" = "libprotoc $protobuf_version" ]; }
protoc_fits || die "protoc is $(protoc --version), the library $protobuf_version; the versions are set in tools/windows/common.sh"

fetch() { fetch_source protobuf "$protobuf_version"; unpack_source "$work/protobuf"; }
build() {
    # With the hardening of the project's own code, and with line tables for program databases.
    local flags="-mguard=cf -fstack-protector-strong -gcodeview -gline-tables-only -ffile-prefix-map=$work/=/ -Wno-everything"
    cmake -G Ninja -S "$work/protobuf/cmake" -B "$work/build" -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$partial" \
        -DCMAKE_SYSTEM_NAME=Windows -DCMAKE_SYSTEM_PROCESSOR="$cpu" -DCMAKE_CXX_STANDARD=20 \
        -DCMAKE_C_COMPILER="$toolchain/bin/$triple-clang" -DCMAKE_CXX_COMPILER="$toolchain/bin/$triple-clang++" \
        -DCMAKE_AR="$toolchain/bin/$triple-ar" -DCMAKE_RANLIB="$toolchain/bin/$triple-ranlib" -DCMAKE_RC_COMPILER="$toolchain/bin/$triple-windres" \
        -DCMAKE_C_FLAGS="$flags" -DCMAKE_CXX_FLAGS="$flags" \
        -Dprotobuf_BUILD_TESTS=OFF -Dprotobuf_BUILD_PROTOC_BINARIES=OFF -Dprotobuf_BUILD_LIBPROTOC=OFF \
        -Dprotobuf_BUILD_SHARED_LIBS=OFF -Dprotobuf_WITH_ZLIB=OFF
    ninja -C "$work/build" -j"$jobs" install
    cp "$work/protobuf/LICENSE" "$partial/LICENSE"
}

step "source of protobuf $protobuf_version" fetch
step "libprotobuf" build
finish
