# What every program and library for Windows has in common.

# Libraries have one name everywhere: sondix.dll, not libsondix.dll.
set(CMAKE_SHARED_LIBRARY_PREFIX "")
set(CMAKE_SHARED_MODULE_PREFIX "")

add_compile_definitions(UNICODE _UNICODE)
if(MSVC)
    add_compile_options(/guard:cf)
    add_link_options(/guard:cf /dynamicbase /highentropyva /nxcompat /cetcompat:no)
else()
    # Control Flow Guard, and libc++'s cheap checks of bounds and of empty containers, in what is shipped as well.
    add_compile_options(-mguard=cf)
    add_compile_definitions($<$<COMPILE_LANGUAGE:CXX>:_LIBCPP_HARDENING_MODE=_LIBCPP_HARDENING_MODE_FAST>)
    # Iterators of arrays and string views are classes, as the Microsoft library has them: code that takes them for pointers does not
    # compile here either.
    add_compile_definitions($<$<COMPILE_LANGUAGE:CXX>:_LIBCPP_ABI_USE_WRAP_ITER_IN_STD_ARRAY>
                            $<$<COMPILE_LANGUAGE:CXX>:_LIBCPP_ABI_USE_WRAP_ITER_IN_STD_STRING_VIEW>)
    # ASLR with high entropy and no executable data are lld's defaults, written out because they are relied on. Only what is marked
    # leaves a DLL. No time of linking in the file, so that the same sources give the same bytes.
    add_link_options(-mguard=cf LINKER:--dynamicbase LINKER:--high-entropy-va LINKER:--nxcompat LINKER:-u,_load_config_used
                     LINKER:--exclude-all-symbols LINKER:--no-insert-timestamp)
endif()

# orbis_version_resource(<target> <description>): the version that Explorer and installers read from a file.
function(orbis_version_resource target description)
    get_target_property(type ${target} TYPE)
    if(type STREQUAL EXECUTABLE)
        set(file_name ${target}.exe)
        set(file_type 1)  # VFT_APP
    else()
        set(file_name ${target}.dll)
        set(file_type 2)  # VFT_DLL
    endif()
    string(REPLACE . , version_numbers ${PROJECT_VERSION}.0)
    configure_file(${CMAKE_SOURCE_DIR}/cmake/version.rc.in ${CMAKE_BINARY_DIR}/version/${target}.rc @ONLY)
    target_sources(${target} PRIVATE ${CMAKE_BINARY_DIR}/version/${target}.rc)
endfunction()

# orbis_restrict_imports(<program>): the DLLs that it is linked to are looked for beside it and in the system's folder
# (LOAD_LIBRARY_SEARCH_APPLICATION_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32), never in the current folder or PATH.
function(orbis_restrict_imports target)
    if(MSVC)
        target_link_options(${target} PRIVATE /DEPENDENTLOADFLAG:0xA00)
    else()
        target_link_options(${target} PRIVATE LINKER:-Xlink=-dependentloadflag:0xA00)
    endif()
endfunction()
