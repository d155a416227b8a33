# Settings of every program and library for Windows.

# Libraries have one name everywhere: sondix.dll, not libsondix.dll.
set(CMAKE_SHARED_LIBRARY_PREFIX "")
set(CMAKE_SHARED_MODULE_PREFIX "")

# Explorer, installers and crash reports show these for each file; a distributor sets its own.
set(ORBIS_COMPANY "Orbis" CACHE STRING "Company in the version resources")
set(ORBIS_PRODUCT "Orbis Storage Telemetry" CACHE STRING "Product in the version resources")
set(ORBIS_COPYRIGHT "Copyright (C) Orbis contributors" CACHE STRING "Copyright in the version resources")

add_compile_definitions(UNICODE _UNICODE)
# The DLLs that an image is linked to are searched for in two places, never in the current folder or PATH: a program searches beside itself
# (LOAD_LIBRARY_SEARCH_APPLICATION_DIR), a DLL beside itself (LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR), and both in the system's folder
# (LOAD_LIBRARY_SEARCH_SYSTEM32).
set(dependent_load_flags $<IF:$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>,0xA00,0x900>)
if(MSVC)
    add_compile_options(/guard:cf /Zi)
    add_link_options(/guard:cf /dynamicbase /highentropyva /nxcompat /cetcompat:no /DEPENDENTLOADFLAG:${dependent_load_flags}
                     /DEBUG /OPT:REF /OPT:ICF /Brepro /PDBALTPATH:%_PDB%)
else()
    # Control Flow Guard, the stack protector, and libc++'s cheap checks of bounds and of empty containers, in what is shipped as well.
    add_compile_options(-mguard=cf -fstack-protector-strong)
    add_compile_definitions($<$<COMPILE_LANGUAGE:CXX>:_LIBCPP_HARDENING_MODE=_LIBCPP_HARDENING_MODE_FAST>)
    # Iterators of arrays and string views are classes, as in the Microsoft library, so code that uses them as pointers does not compile
    # here either.
    add_compile_definitions($<$<COMPILE_LANGUAGE:CXX>:_LIBCPP_ABI_USE_WRAP_ITER_IN_STD_ARRAY>
                            $<$<COMPILE_LANGUAGE:CXX>:_LIBCPP_ABI_USE_WRAP_ITER_IN_STD_STRING_VIEW>)
    # Debug information for a program database, without this machine's command lines.
    add_compile_options(-g -gcodeview -gno-codeview-command-line -fdebug-compilation-dir=.)
    # ASLR with high entropy and NX are lld's defaults; they are stated because a test relies on them. Only marked symbols are exported.
    # The time stamp is a hash of the content: the same sources give the same bytes, and different sources give a different identity, by
    # which a symbol server finds the file.
    add_link_options(-mguard=cf LINKER:--dynamicbase LINKER:--high-entropy-va LINKER:--nxcompat LINKER:-u,_load_config_used
                     LINKER:--exclude-all-symbols LINKER:-Xlink=-Brepro LINKER:-Xlink=-dependentloadflag:${dependent_load_flags})
    # Compiled here and linked as an object: a library would be a dependency of every static library that is installed.
    set(stack_guard ${CMAKE_CURRENT_LIST_DIR}/windows/stack_guard.c)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${stack_guard})
    execute_process(COMMAND ${CMAKE_C_COMPILER} -std=c11 -Wall -Wextra -Werror -O2 -mguard=cf -c ${stack_guard} -o ${CMAKE_BINARY_DIR}/stack_guard.obj
                    COMMAND_ERROR_IS_FATAL ANY)
    add_link_options(${CMAKE_BINARY_DIR}/stack_guard.obj)
endif()

# orbis_shipped_image(<target> <description>): the version that Explorer and installers read from a file, a program's manifest, and
# the program database beside it.
function(orbis_shipped_image target description)
    get_target_property(type ${target} TYPE)
    get_target_property(name ${target} OUTPUT_NAME)
    if(NOT name)
        set(name ${target})
    endif()
    set(manifest ${CMAKE_SOURCE_DIR}/cmake/windows/program.manifest)
    if(type STREQUAL EXECUTABLE)
        set(file_name ${name}.exe)
        set(file_type 1)  # VFT_APP
        if(MSVC)
            target_sources(${target} PRIVATE ${manifest})
        else()
            set(manifest_resource "1 24 \"${manifest}\"")  # RT_MANIFEST
        endif()
    else()
        set(file_name ${name}.dll)
        set(file_type 2)  # VFT_DLL
    endif()
    string(REPLACE . , version_numbers ${PROJECT_VERSION}.0)
    configure_file(${CMAKE_SOURCE_DIR}/cmake/windows/version.rc.in ${CMAKE_BINARY_DIR}/version/${target}.rc @ONLY)
    target_sources(${target} PRIVATE ${CMAKE_BINARY_DIR}/version/${target}.rc)
    if(NOT MSVC)
        # The image names the database by its file name alone.
        target_link_options(${target} PRIVATE LINKER:-s LINKER:--pdb=${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${name}.pdb
                            LINKER:-Xlink=-pdbaltpath:%_PDB%)
        set_target_properties(${target} PROPERTIES LINK_DEPENDS ${manifest})
    endif()
endfunction()
