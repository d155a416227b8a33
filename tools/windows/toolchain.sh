#!/usr/bin/env bash
# Makes a Windows cross toolchain for one architecture: clang, lld and the binary utilities are Debian's installed packages; mingw-w64's
# headers and C runtime (UCRT), and static compiler-rt, libunwind and libc++ are built from Debian's source packages.
# usage: tools/windows/toolchain.sh x64|arm64 [--path]     --path only prints where it is, or would be
# shellcheck source=common.sh
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

architecture=${1:-}
cpu=$(cpu_of "$architecture")
triple=$(triple_of "$architecture")
llvm_major=${llvm_version%%.*}
result=$(cache_path "toolchain-$architecture" "$llvm_version-$mingw_version" "$tools/toolchain.sh" "$tools/cfguard.c")
if [ "${2:-}" = --path ]; then echo "$result"; exit; fi
begin "toolchain $architecture" "$result" || exit 0
install_packages "clang-$llvm_major" "lld-$llvm_major" "llvm-$llvm_major" cmake ninja-build make dpkg-dev xz-utils bzip2

sysroot=$partial/$triple
resources=$partial/lib/clang/$llvm_major
export PATH=$partial/bin:$PATH

# Flags of everything that is compiled here: tables for Control Flow Guard, and no path of the build machine in the result.
flags="-O2 -g0 -mguard=cf -ffile-prefix-map=$work/=/"

fetch_mingw() { fetch_source mingw-w64 "$mingw_version"; unpack_source "$work/mingw"; }
fetch_llvm() {
    # A small part of a very large archive. Debian's patches do not touch these folders.
    fetch_source "llvm-toolchain-$llvm_major" "$llvm_version"
    local top=llvm-toolchain-${llvm_major}_$llvm_version
    mkdir "$work/llvm"
    tar -xf "$source_files"/*.orig.tar.xz -C "$work/llvm" --strip-components=1 --exclude="$top/libcxx/test" --exclude="$top/libcxxabi/test" \
        "$top"/{cmake,runtimes,libunwind,libcxxabi,libcxx,llvm/cmake,llvm/utils/llvm-lit} \
        "$top"/compiler-rt/{CMakeLists.txt,LICENSE.TXT,cmake,lib/builtins}
}

# The compiler under its cross name. It finds everything relative to itself, so the folder may be moved.
make_compilers() {
    local name
    mkdir -p "$partial/bin" "$sysroot/lib" "$resources/lib/windows"
    ln -s "/usr/lib/llvm-$llvm_major/lib/clang/$llvm_major/include" "$resources/include"
    for name in clang clang++; do
        cat >"$partial/bin/$triple-$name" <<WRAPPER
#!/bin/sh
here=\${0%/*}/..
exec $name-$llvm_major --target=$triple --sysroot="\$here/$triple" -resource-dir="\$here/lib/clang/$llvm_major" \\
    --start-no-unused-arguments -rtlib=compiler-rt -unwindlib=libunwind -stdlib=libc++ -fuse-ld=lld --end-no-unused-arguments "\$@"
WRAPPER
        chmod +x "$partial/bin/$triple-$name"
    done
    for name in ar ranlib dlltool windres nm strip objcopy objdump readobj rc; do
        ln -s "/usr/bin/llvm-$name-$llvm_major" "$partial/bin/$triple-$name"
    done
    ln -s "/usr/bin/ld.lld-$llvm_major" "$partial/bin/$triple-ld"
}

build_headers() {
    mkdir "$work/headers-build" && cd "$work/headers-build"
    "$work/mingw/mingw-w64-headers/configure" --host="$triple" --prefix="$sysroot" --with-default-msvcrt=ucrt --with-default-win32-winnt=0x0A00
    make -s install
}

build_crt() {
    local machine
    case $architecture in
        x64) machine=(--enable-lib64 --disable-libarm64) ;;
        arm64) machine=(--disable-lib64 --enable-libarm64) ;;
    esac
    mkdir "$work/crt-build" && cd "$work/crt-build"
    "$work/mingw/mingw-w64-crt/configure" --host="$triple" --prefix="$sysroot" --disable-lib32 --disable-libarm32 "${machine[@]}" \
        --with-default-msvcrt=ucrt --enable-silent-rules CC="$triple-clang" CXX="$triple-clang++" AR="$triple-ar" \
        RANLIB="$triple-ranlib" DLLTOOL="$triple-dlltool" STRIP="$triple-strip" AS="$triple-clang" CPPFLAGS= CFLAGS="$flags"
    make -s -j"$jobs"
    make -s install
    # The driver links the stack protector's libraries, although the compiler's own code does not need their functions.
    "$triple-ar" rcs "$sysroot/lib/libssp.a"
    "$triple-ar" rcs "$sysroot/lib/libssp_nonshared.a"
    # The definition for 32-bit ARM has the same exports; mingw-w64 makes no import library for AArch64 from it.
    [ -f "$sysroot/lib/libpdh.a" ] ||
        "$triple-dlltool" -m arm64 -d "$work/mingw/mingw-w64-crt/libarm32/pdh.def" -l "$sysroot/lib/libpdh.a"
    "$triple-clang" -std=c11 -Wall -Wextra -Werror -O2 -c "$tools/cfguard.c" -o "$work/cfguard.o"
    "$triple-ar" rs "$sysroot/lib/libmingwex.a" "$work/cfguard.o"
}

cmake_cross() {
    local source=$1 build=$2; shift 2
    cmake -G Ninja -S "$source" -B "$build" -DCMAKE_BUILD_TYPE=Release -DCMAKE_SYSTEM_NAME=Windows -DCMAKE_SYSTEM_PROCESSOR="$cpu" \
        -DCMAKE_C_COMPILER="$triple-clang" -DCMAKE_CXX_COMPILER="$triple-clang++" -DCMAKE_ASM_COMPILER="$triple-clang" \
        -DCMAKE_AR="$partial/bin/$triple-ar" -DCMAKE_RANLIB="$partial/bin/$triple-ranlib" \
        -DCMAKE_C_COMPILER_WORKS=1 -DCMAKE_CXX_COMPILER_WORKS=1 -DCMAKE_C_FLAGS="$flags" -DCMAKE_CXX_FLAGS="$flags" "$@"
    ninja -C "$build" -j"$jobs"
    ninja -C "$build" install
}

build_builtins() {
    cmake_cross "$work/llvm/compiler-rt/lib/builtins" "$work/builtins-build" -DCMAKE_INSTALL_PREFIX="$resources" \
        -DCMAKE_C_COMPILER_TARGET="$cpu-windows-gnu" -DCMAKE_ASM_COMPILER_TARGET="$cpu-windows-gnu" -DLLVM_CMAKE_DIR="$work/llvm/llvm/cmake/modules" \
        -DCOMPILER_RT_DEFAULT_TARGET_ONLY=ON -DCOMPILER_RT_USE_BUILTINS_LIBRARY=ON -DCOMPILER_RT_EXCLUDE_ATOMIC_BUILTIN=OFF \
        -DCMAKE_FIND_ROOT_PATH="$sysroot" -DCMAKE_FIND_ROOT_PATH_MODE_INCLUDE=ONLY -DCMAKE_FIND_ROOT_PATH_MODE_PACKAGE=ONLY
}

build_libcxx() {
    cmake_cross "$work/llvm/runtimes" "$work/libcxx-build" -DCMAKE_INSTALL_PREFIX="$sysroot" -DCMAKE_C_COMPILER_TARGET="$triple" \
        -DLLVM_ENABLE_RUNTIMES="libunwind;libcxxabi;libcxx" -DLLVM_PATH="$work/llvm/llvm" \
        -DLIBUNWIND_USE_COMPILER_RT=ON -DLIBUNWIND_ENABLE_SHARED=OFF -DLIBUNWIND_INCLUDE_TESTS=OFF \
        -DLIBCXXABI_USE_COMPILER_RT=ON -DLIBCXXABI_USE_LLVM_UNWINDER=ON -DLIBCXXABI_ENABLE_SHARED=OFF -DLIBCXXABI_INCLUDE_TESTS=OFF \
        -DLIBCXX_USE_COMPILER_RT=ON -DLIBCXX_ENABLE_SHARED=OFF -DLIBCXX_ENABLE_STATIC_ABI_LIBRARY=ON -DLIBCXX_CXX_ABI=libcxxabi \
        -DLIBCXX_INCLUDE_TESTS=OFF -DLIBCXX_INCLUDE_BENCHMARKS=OFF -DLIBCXX_INSTALL_MODULES=OFF
}

keep_licences() {
    mkdir "$partial/licences"
    cp "$work/mingw/COPYING.MinGW-w64-runtime/COPYING.MinGW-w64-runtime.txt" "$partial/licences/mingw-w64.txt"
    cp "$work/llvm/libcxx/LICENSE.TXT" "$partial/licences/libcxx.txt"
    cp "$work/llvm/libcxxabi/LICENSE.TXT" "$partial/licences/libcxxabi.txt"
    cp "$work/llvm/libunwind/LICENSE.TXT" "$partial/licences/libunwind.txt"
    cp "$work/llvm/compiler-rt/LICENSE.TXT" "$partial/licences/compiler-rt.txt"
}

check() {
    # A statically linked program with exceptions and run-time type information must run before the folder is used.
    cat >"$work/check.cpp" <<'CPP'
#include <exception>
#include <iostream>
#include <stdexcept>
int main() { try { throw std::runtime_error("caught"); } catch (const std::exception& failure) { std::cout << failure.what() << '\n'; } }
CPP
    "$triple-clang++" -std=c++20 -static -O2 -mguard=cf "$work/check.cpp" -o "$work/check.exe"
    "$triple-readobj" --file-headers --coff-load-config --coff-imports "$work/check.exe"
}

step "source of mingw-w64 $mingw_version" fetch_mingw
step "source of LLVM $llvm_version" fetch_llvm
step "compiler wrappers" make_compilers
step "Windows headers" build_headers
step "C runtime and import libraries" build_crt
step "compiler-rt builtins" build_builtins
step "libunwind, libc++abi, libc++" build_libcxx
step "licences of what programs are linked with" keep_licences
step "a program with an exception" check
finish
