# cmake -D BUILD=DIR -D PREFIX=DIR -P install.cmake: installs into an empty folder and checks the installed files.
file(REMOVE_RECURSE ${PREFIX})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${PREFIX} OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)

file(GLOB_RECURSE files ${PREFIX}/*)
get_filename_component(source ${CMAKE_CURRENT_LIST_DIR}/../.. ABSOLUTE)
foreach(file IN LISTS files)
    file(STRINGS ${file} lines REGEX "${source}|\\.debug_info")
    if(lines)
        message(FATAL_ERROR "${file} names the folder that it was built in, or is not stripped: ${lines}")
    endif()
endforeach()
