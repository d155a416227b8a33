# Builds for Windows on Linux, with the compiler, libraries and Wine that tools/windows/ builds and keeps outside the tree. Included by
# windows-x64.cmake and windows-arm64.cmake, which set ORBIS_WINDOWS_ARCHITECTURE (x64, arm64) and ORBIS_WINDOWS_CPU.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_VERSION 10.0)
set(CMAKE_SYSTEM_PROCESSOR ${ORBIS_WINDOWS_CPU})
set(triple ${ORBIS_WINDOWS_CPU}-w64-mingw32)
set(tools ${CMAKE_CURRENT_LIST_DIR}/../../tools/windows)

# Where a script of tools/windows/ keeps its result.
function(orbis_windows_part variable)
    execute_process(COMMAND ${tools}/${ARGN} --path OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    if(NOT IS_DIRECTORY ${path})
        message(FATAL_ERROR "The Windows tools are not built, or are built by older scripts: run './dev windows setup'. Missing: ${path}")
    endif()
    set(${variable} ${path} PARENT_SCOPE)
endfunction()
orbis_windows_part(toolchain toolchain.sh ${ORBIS_WINDOWS_ARCHITECTURE})
orbis_windows_part(protobuf protobuf.sh ${ORBIS_WINDOWS_ARCHITECTURE})
orbis_windows_part(headers headers.sh)

set(CMAKE_C_COMPILER ${toolchain}/bin/${triple}-clang)
set(CMAKE_CXX_COMPILER ${toolchain}/bin/${triple}-clang++)
set(CMAKE_RC_COMPILER ${toolchain}/bin/${triple}-windres)
set(CMAKE_AR ${toolchain}/bin/${triple}-ar CACHE FILEPATH "")
set(CMAKE_RANLIB ${toolchain}/bin/${triple}-ranlib CACHE FILEPATH "")
set(CMAKE_STRIP ${toolchain}/bin/${triple}-strip CACHE FILEPATH "")
set(CMAKE_READOBJ ${toolchain}/bin/${triple}-readobj CACHE FILEPATH "")
set(CMAKE_CXXFILT /usr/bin/llvm-cxxfilt-19)
set(CMAKE_PDBUTIL /usr/bin/llvm-pdbutil-19)
set(ORBIS_CLANG /usr/bin/clang++-19)
set(ORBIS_LLD_LINK /usr/bin/lld-link-19)

set(CMAKE_FIND_ROOT_PATH ${toolchain}/${triple} ${protobuf})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(Protobuf_USE_STATIC_LIBS ON)
find_program(Protobuf_PROTOC_EXECUTABLE protoc REQUIRED)

set(ORBIS_HEADER_ONLY_INCLUDE_DIR ${headers})
set(ORBIS_GOOGLETEST_SOURCE /usr/src/googletest)  # Debian's package googletest
set(CMAKE_CROSSCOMPILING_EMULATOR ${tools}/run.sh ${ORBIS_WINDOWS_ARCHITECTURE})

# At run time only the system's DLLs and the project's own are needed.
set(CMAKE_EXE_LINKER_FLAGS_INIT -static)
set(CMAKE_SHARED_LINKER_FLAGS_INIT -static)
