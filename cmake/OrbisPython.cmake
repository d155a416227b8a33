# ORBIS_PYTHON: a Python with protobuf, for tests.
function(orbis_python_has_protobuf result python)
    execute_process(COMMAND ${python} -c "import google.protobuf" RESULT_VARIABLE failure OUTPUT_QUIET ERROR_QUIET)
    if(failure)
        set(${result} FALSE PARENT_SCOPE)
    endif()
endfunction()

find_program(ORBIS_PYTHON NAMES python3 VALIDATOR orbis_python_has_protobuf DOC "A Python with protobuf")
if(NOT ORBIS_PYTHON)
    message(FATAL_ERROR "Some tests need protobuf for Python (apt install python3-protobuf); to build without tests, "
                        "configure with -DORBIS_BUILD_TESTS=OFF.")
endif()
