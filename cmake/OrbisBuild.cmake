# How every target of the project is compiled.
include(CheckCXXCompilerFlag)

find_program(ORBIS_CCACHE ccache)
if(ORBIS_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    # Paths below the source root are made relative, so that builds in different places share results.
    set(launcher ${CMAKE_COMMAND} -E env CCACHE_BASEDIR=${CMAKE_SOURCE_DIR} CCACHE_NOHASHDIR=1 CCACHE_SLOPPINESS=pch_defines,time_macros
                 ${ORBIS_CCACHE})
    set(CMAKE_C_COMPILER_LAUNCHER ${launcher})
    set(CMAKE_CXX_COMPILER_LAUNCHER ${launcher})
endif()

# __FILE__ and debug information start at the source root, so that no output contains a path of the build machine.
if(NOT MSVC)
    add_compile_options(-ffile-prefix-map=${CMAKE_SOURCE_DIR}/=)
endif()

if(ORBIS_SANITIZE)
    add_compile_options(-fsanitize=${ORBIS_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${ORBIS_SANITIZE})
elseif(NOT WIN32)
    # Calls within a library are bound when it is linked: no function here may be replaced by another of the same name, and the start of
    # a program does not look up thousands of long names.
    add_link_options(-Wl,-z,defs -Wl,-Bsymbolic-functions -Wl,-O1)
endif()

if(ORBIS_BUILD_FUZZ)
    # libFuzzer is guided by the coverage of the project's own code only; that of generated code would hide it.
    file(RELATIVE_PATH ignored ${CMAKE_BINARY_DIR} ${CMAKE_SOURCE_DIR}/fuzz/generated.ignorelist)
    add_compile_options(-fsanitize=fuzzer-no-link -fsanitize-coverage-ignorelist=${ignored})
endif()

# Compile time is mostly spent on headers. Presets with ORBIS_UNITY therefore compile up to eight sources of a folder as one; the others
# compile each source by itself, which reveals missing includes.
option(ORBIS_UNITY "Compile several sources of a target at once, and the tests with a precompiled header" OFF)

# orbis_unity(<target>): its sources in groups, by folder. A source that cannot share a group has SKIP_UNITY_BUILD_INCLUSION.
function(orbis_unity target)
    get_target_property(sources ${target} SOURCES)
    list(FILTER sources INCLUDE REGEX "\\.cpp$")
    set(place 0)
    set(folder_before)
    foreach(source IN LISTS sources)
        cmake_path(ABSOLUTE_PATH source BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR} OUTPUT_VARIABLE path)
        # The name of a group becomes part of a file name; it must not depend on where the source tree is.
        cmake_path(RELATIVE_PATH path BASE_DIRECTORY ${PROJECT_SOURCE_DIR})
        cmake_path(GET path PARENT_PATH folder)
        if(NOT folder STREQUAL folder_before)
            set(place 0)
            set(folder_before ${folder})
        endif()
        math(EXPR group "${place} / 8")
        math(EXPR place "${place} + 1")
        string(MAKE_C_IDENTIFIER "${folder}" name)
        set_source_files_properties(${source} PROPERTIES UNITY_GROUP ${name}_${group})
    endforeach()
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # GCC takes an included source for a header, in which unnamed types would differ from one user to the next.
        target_compile_options(${target} PRIVATE $<$<COMPILE_LANGUAGE:CXX>:-Wno-subobject-linkage>)
    endif()
endfunction()

# orbis_target(<target>): warnings as errors, UTF-8 sources, several of them compiled as one where ORBIS_UNITY is on.
function(orbis_target target)
    if(ORBIS_UNITY)
        orbis_unity(${target})
    endif()
    if(MSVC)
        # Functions with C linkage may throw: sondix's functions do so when memory is exhausted.
        target_compile_options(${target} PRIVATE /W4 /WX /utf-8 /permissive- /EHsc-)
    else()
        target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Werror -Wshadow -Wconversion $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
                                                 $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast> $<$<COMPILE_LANGUAGE:CXX>:-Woverloaded-virtual> -Wnull-dereference -Wdouble-promotion)
        if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
            # GCC 12 reports these inside the standard library's own inlined code when it optimises.
            target_compile_options(${target} PRIVATE $<$<NOT:$<CONFIG:Debug>>:-Wno-null-dereference>
                                                     -Wno-restrict -Wno-maybe-uninitialized)
            if(CMAKE_CXX_FLAGS_DEBUG MATCHES "-O[1-3]" AND NOT ORBIS_SANITIZE MATCHES "address")
                # For presets that optimise debug builds too. With AddressSanitizer GCC does not report the first one, so it stays on there.
                target_compile_options(${target} PRIVATE -Wno-null-dereference)
            endif()
        endif()
    endif()
endfunction()

# orbis_generated(<target>): classes that protoc made. They have no export macro, so all symbols are exported. They are compiled without the
# project's warnings and optimised in every configuration, because nobody debugs them.
function(orbis_generated target)
    set_target_properties(${target} PROPERTIES CXX_VISIBILITY_PRESET default VISIBILITY_INLINES_HIDDEN OFF)
    if(NOT MSVC)
        target_compile_options(${target} PRIVATE $<$<CONFIG:Debug>:-O1> $<$<CONFIG:Debug>:-g0>)
    endif()
endfunction()

# Seconds after which a test counts as hung. Toolchain files for emulated programs set more.
if(NOT DEFINED ORBIS_TEST_TIMEOUT)
    set(ORBIS_TEST_TIMEOUT 120)
endif()

# The headers that every test program includes, compiled once. The target is a program, because a precompiled header can be used only with the
# options that it was compiled with.
if(ORBIS_BUILD_TESTS AND ORBIS_UNITY)
    file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/test-headers.cpp CONTENT "")
    add_executable(orbis-test-headers EXCLUDE_FROM_ALL ${CMAKE_BINARY_DIR}/test-headers.cpp)
    orbis_target(orbis-test-headers)
    target_link_libraries(orbis-test-headers PRIVATE orbis::gtest orbis::fmt)
    target_precompile_headers(orbis-test-headers PRIVATE <algorithm> <cstdint> <functional> <map> <memory> <optional> <string> <string_view>
                                                         <vector> <fmt/format.h> <gmock/gmock.h> <gtest/gtest.h>)
endif()

# orbis_test(<name> [EACH] SOURCES ... LIBRARIES ...): one GoogleTest program, which is one test of CTest; with EACH its tests are listed one by
# one. EACH is for programs that take long enough to keep several cores busy: a process for each of some hundred quick tests takes longer than the
# tests do, and much longer under Wine. A failed test is named in the output either way.
function(orbis_test name)
    cmake_parse_arguments(arg "EACH" "" "SOURCES;LIBRARIES;DEFINITIONS" ${ARGN})
    add_executable(${name} ${arg_SOURCES})
    orbis_target(${name})
    target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} orbis::gtest)
    if(ORBIS_UNITY)
        target_link_libraries(${name} PRIVATE orbis::fmt)
        target_precompile_headers(${name} REUSE_FROM orbis-test-headers)
    endif()
    target_compile_definitions(${name} PRIVATE ${arg_DEFINITIONS})
    if(arg_EACH)
        gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT ${ORBIS_TEST_TIMEOUT}
                             WORKING_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
    else()
        add_test(NAME ${name} COMMAND ${name} WORKING_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
        set_tests_properties(${name} PROPERTIES TIMEOUT ${ORBIS_TEST_TIMEOUT})
    endif()
endfunction()
