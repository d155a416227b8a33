# Runs orbis-host on one example machine and compares what it prints with the golden file; UPDATE=1 writes it instead.
#   EMULATOR: what runs a foreign program, words joined by |   HOST: orbis-host   MACHINES, MACHINE, FORMAT: what to collect from and how to print   GOLDEN, OUTPUT: files
# The machine file is named relative to its folder, so that no path of this computer is printed.
string(REPLACE "|" ";" emulator "${EMULATOR}")
set(ENV{LC_ALL} C.UTF-8)
set(options --format ${FORMAT} --log-level off)
if(FORMAT STREQUAL log)  # every log line but its time
    set(options --format json --log-level trace)
endif()
execute_process(
    COMMAND ${emulator} ${HOST} collect all --machine ${MACHINE}.txtpb ${options}
    WORKING_DIRECTORY ${MACHINES}
    OUTPUT_FILE ${OUTPUT}
    ERROR_VARIABLE errors
    RESULT_VARIABLE status)
# 1: a collection failed; 4: something was left out. That is what odd machines are for; the golden output shows what was printed.
if(NOT status MATCHES "^[014]$")
    message(FATAL_ERROR "orbis-host ended with ${status}: ${errors}")
endif()
if(FORMAT STREQUAL log)
    string(REGEX MATCHALL "(trace|debug|info|warning|error) +StrgColl [^\r\n]*" lines "${errors}")
    string(REPLACE ";" "\n" lines "${lines}")
    file(CONFIGURE OUTPUT ${OUTPUT} CONTENT "${lines}\n" @ONLY NEWLINE_STYLE UNIX)
endif()
if(UPDATE)
    return()
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${GOLDEN} ${OUTPUT} RESULT_VARIABLE differs)
if(differs)
    file(READ ${OUTPUT} got LIMIT 4000)
    message(FATAL_ERROR "${MACHINE} as ${FORMAT} is not what ${GOLDEN} says. It begins:\n${got}\n"
                        "If the difference is intended: cmake --build BUILD --target golden-update")
endif()
