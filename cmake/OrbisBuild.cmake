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

# No machine's path in what is built: __FILE__ and debug information start at the source root.
if(NOT MSVC)
    add_compile_options(-ffile-prefix-map=${CMAKE_SOURCE_DIR}/=)
endif()

if(ORBIS_SANITIZE)
    add_compile_options(-fsanitize=${ORBIS_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${ORBIS_SANITIZE})
elseif(NOT WIN32)
    # A library calls its own functions, not others of the same name: no function here may be replaced, and a program that starts
    # need not look thousands of long names up.
    add_link_options(-Wl,-z,defs -Wl,-Bsymbolic-functions)
endif()

if(ORBIS_BUILD_FUZZ)
    # libFuzzer looks at the coverage of the project's own code: that of generated code would hide it.
    file(RELATIVE_PATH ignored ${CMAKE_BINARY_DIR} ${CMAKE_SOURCE_DIR}/fuzz/generated.ignorelist)
    add_compile_options(-fsanitize=fuzzer-no-link -fsanitize-coverage-ignorelist=${ignored})
endif()

# orbis_target(<target>): warnings as errors, UTF-8 sources.
function(orbis_target target)
    if(MSVC)
        # Functions with C linkage may throw: those of sondix do when memory is short.
        target_compile_options(${target} PRIVATE /W4 /WX /utf-8 /permissive- /EHsc-)
    else()
        target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Werror -Wshadow -Wconversion $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
                                                 $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast> $<$<COMPILE_LANGUAGE:CXX>:-Woverloaded-virtual> -Wnull-dereference -Wdouble-promotion)
        if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
            # GCC 12 reports these inside the standard library's own inlined code when it optimises.
            target_compile_options(${target} PRIVATE $<$<NOT:$<CONFIG:Debug>>:-Wno-null-dereference>
                                                     -Wno-restrict -Wno-maybe-uninitialized)
            if(ORBIS_SANITIZE STREQUAL "thread")
                # What ThreadSanitizer inserts hides from it that a container's memory is never null.
                target_compile_options(${target} PRIVATE -Wno-null-dereference)
            endif()
        endif()
    endif()
endfunction()

# Seconds after which a test is taken for one that hangs; a toolchain file whose programs are emulated sets more.
if(NOT DEFINED ORBIS_TEST_TIMEOUT)
    set(ORBIS_TEST_TIMEOUT 120)
endif()

# orbis_test(<name> SOURCES ... LIBRARIES ...): one GoogleTest program, its tests listed one by one.
function(orbis_test name)
    cmake_parse_arguments(arg "" "" "SOURCES;LIBRARIES;DEFINITIONS" ${ARGN})
    add_executable(${name} ${arg_SOURCES})
    orbis_target(${name})
    target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} orbis::gtest)
    target_compile_definitions(${name} PRIVATE ${arg_DEFINITIONS})
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT ${ORBIS_TEST_TIMEOUT}
                         WORKING_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
endfunction()
