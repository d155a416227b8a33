#!/usr/bin/env bash
# Builds the part of Wine that console programs need, for AArch64 and with real PE modules, so that ARM64 Windows programs run on this
# machine under qemu-user. (Debian's Wine for arm64 has no PE modules: programs that use the UCRT crash in it.) The result can be moved
# and needs no root, chroot or binfmt_misc.
# usage: tools/windows/wine-arm64.sh [--path]     --path only prints where it is, or would be
# shellcheck source=common.sh
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

result=$(cache_path wine-arm64 "${wine_version%~*}" "$tools/wine-arm64.sh")
if [ "${1:-}" = --path ]; then echo "$result"; exit; fi
begin "Wine arm64" "$result" || exit 0
toolchain=$("$tools/toolchain.sh" arm64 --path)
[ -d "$toolchain" ] || die "Wine needs the toolchain: run tools/windows/toolchain.sh arm64 first"
llvm_major=${llvm_version%%.*}
install_packages flex bison autoconf autotools-dev gettext libgettextpo-dev imagemagick librsvg2-bin icoutils fontforge-nox unicode-data \
    khronos-api libxml-libxml-perl libvulkan-dev gcc-aarch64-linux-gnu libc6-dev-arm64-cross "clang-$llvm_major" "lld-$llvm_major" \
    "llvm-$llvm_major" make dpkg-dev patchelf qemu-user-static

source=$work/wine
native=$work/native
cross=$work/cross

# The modules to build: for console programs, for the services that they use (WMI, SetupAPI, PDH, RPC), and for setting up drive C:.
libraries=(
    advapi32 advpack apisetschema apphelp atl atl100 atl110 atl80 atl90 bcrypt cabinet cfgmgr32 combase comctl32 comdlg32
    compstui crypt32 cryptnet cryptui d3d11 dbghelp dhcpcsvc dinput dinput8 dnsapi dxgi gdi32 gdiplus glu32 hid hidclass.sys
    hidparse.sys imagehlp imm32 iphlpapi kernel32 kernelbase l3codeca.acm mlang mountmgr.sys mpr msacm32 mscms mscoree msi
    msimg32 mspatcha msvcp140 msvcp_win msvcrt msxml3 ndis.sys netapi32 newdev normaliz nsi nsiproxy.sys ntdll ntdsapi
    ntoskrnl.exe odbccp32 ole32 oleacc oleaut32 opengl32 pdh powrprof propsys psapi rpcrt4 rsaenh schedsvc sechost secur32
    security setupapi sfc_os shcore shdocvw shell32 shlwapi sxs tapi32 tzres ucrtbase urlmon user32 userenv usp10 uxtheme
    vcruntime140 version vulkan-1 wbemdisp wbemprox wevtapi wevtsvc win32u windowscodecs winebus.sys wined3d winevulkan
    wininet winmm winspool.drv wintrust wmi wmiutils ws2_32 wtsapi32 xmllite
)
programs=(
    cmd conhost explorer hostname ipconfig net plugplay powershell reg regedit regsvr32 rpcss rundll32 sc services start
    svchost systeminfo taskkill tasklist whoami wineboot winedbg winedevice winemenubuilder wmic
)

# winegcc and winebuild call plain "clang -target aarch64-w64-mingw32".
make_compiler() {
    mkdir -p "$work/bin" "$work/lib"
    cat >"$work/bin/clang" <<WRAPPER
#!/bin/sh
case " \$* " in
    *w64-mingw32*|*-windows*)
        exec clang-$llvm_major --sysroot=$toolchain/aarch64-w64-mingw32 -resource-dir=$toolchain/lib/clang/$llvm_major \\
            --start-no-unused-arguments -rtlib=compiler-rt -fuse-ld=lld -L$work/lib --end-no-unused-arguments "\$@" ;;
esac
exec clang-$llvm_major "\$@"
WRAPPER
    chmod +x "$work/bin/clang"
}
export PATH=$work/bin:$toolchain/bin:$PATH

fetch() { fetch_source wine "$wine_version"; unpack_source "$source"; }

# Debian's source package lacks generated files; this generates them as Debian's rules do.
generate() {
    cd "$source"
    ./debian/scripts/generate server/trace.generated make_requests
    ./debian/scripts/generate server/request.generated make_requests
    ./tools/make_unicode
    ./tools/make_requests
    (cd dlls/dsound && ./make_fir)
    (cd dlls/opengl32 && ./make_opengl)
    (cd dlls/winevulkan && ./make_vulkan -x /usr/share/vulkan/registry/vk.xml)
    ln -sf /usr/share/misc/config.sub tools
    ln -sf /usr/share/misc/config.guess tools
    sed -n '/^\tln -sf \.\.\/\.\./s/^\t//p' debian/rules | sh -e
    autoreconf -f || autoconf
}

# Debian's patches remove the bundled zlib from the build, but the PE modules need it.
build_zlib() {
    local file
    mkdir "$work/zlib"
    for file in "$source"/libs/zlib/*.c; do
        aarch64-w64-mingw32-clang -w -O1 -DFAR= -DZ_SOLO -I "$source/libs/zlib" -c "$file" -o "$work/zlib/$(basename "$file" .c).o"
    done
    aarch64-w64-mingw32-ar rcs "$work/lib/libz.a" "$work"/zlib/*.o
}

# Maintainer mode (icons, fonts) does not work outside the source tree, so each build has a copy of it.
build_native_tools() {
    cp -a "$source" "$native"
    cd "$native"
    ./configure --enable-win64 --without-x --without-freetype --disable-tests --enable-maintainer-mode --disable-werror --without-mingw \
        CFLAGS="-O1 -g0 -Wno-error"
    # On a busy machine a scanner may be compiled while its header is being written again. A second run without parallel jobs helps.
    make -s -j"$jobs" __tooldeps__ || make -s __tooldeps__
}
configure_cross() {
    mv "$source" "$cross"
    cd "$cross"
    ./configure --host=aarch64-linux-gnu --enable-win64 --with-wine-tools="$native" --with-mingw=aarch64-w64-mingw32-clang \
        --without-x --without-freetype --disable-tests --enable-maintainer-mode --disable-werror PKG_CONFIG=/bin/false \
        ac_cv_header_gettext_po_h=yes ac_cv_lib_gettextpo_po_message_msgctxt=yes \
        CFLAGS="-O1 -g0 -Wno-error" CROSSCFLAGS="-O1 -g0 -Wno-error"
}
build_cross() {
    cd "$cross"
    local targets=(loader/all server/all) name
    for name in "${libraries[@]}"; do targets+=("dlls/$name/all"); done
    for name in "${programs[@]}"; do targets+=("programs/$name/all"); done
    make -s -j"$jobs" "${targets[@]}" || make -s "${targets[@]}"
}

collect() {
    cd "$cross"
    mkdir -p "$partial"/bin "$partial"/lib/aarch64-{unix,windows} "$partial"/share/{nls,fonts}
    local modules=(-name '*.dll' -o -name '*.exe' -o -name '*.sys' -o -name '*.drv' -o -name '*.cpl' -o -name '*.ocx' -o -name '*.tlb'
                   -o -name '*.acm' -o -name '*.ax')
    find dlls programs -path '*/aarch64-windows/*' \( "${modules[@]}" \) -exec cp {} "$partial/lib/aarch64-windows/" \;
    find dlls -maxdepth 2 -name '*.so' -exec cp {} "$partial/lib/aarch64-unix/" \;
    cp nls/*.nls "$partial/share/nls/"
    cp loader/wine.inf COPYING.LIB "$partial/share/"
    cp loader/wine64 "$partial/bin/wine64.bin"
    cp server/wineserver "$partial/bin/wineserver.bin"
    "llvm-strip-$llvm_major" "$partial"/lib/aarch64-unix/*.so "$partial"/bin/*.bin

    # Loader and server run under qemu-user with the cross compiler's libc. Not with "qemu -L": that remaps / and /tmp for the
    # program and so breaks drive Z:. Wine starts its children as dirname(/proc/self/exe)/basename(argv[0]), so argv[0] must be
    # the wrapper's name.
    local libc=/usr/aarch64-linux-gnu/lib name
    for name in wine64 wineserver; do
        patchelf --force-rpath --set-interpreter "$libc/ld-linux-aarch64.so.1" --set-rpath "$libc" "$partial/bin/$name.bin"
        cat >"$partial/bin/$name" <<WRAPPER
#!/bin/sh
export WINELOADERNOEXEC=1
exec qemu-aarch64-static -0 $name "\$(readlink -f "\${0%/*}")/$name.bin" "\$@"
WRAPPER
        chmod +x "$partial/bin/$name"
    done
}

step "compiler wrapper" make_compiler
step "source of Wine ${wine_version%~*}" fetch
step "generated sources" generate
step "zlib for the PE modules" build_zlib
step "Wine's own tools for this machine" build_native_tools
step "configuration for AArch64" configure_cross
step "Wine for AArch64" build_cross
step "what is kept" collect
finish
