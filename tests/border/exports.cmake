# The plug-in exports its registration and nothing else, of what is linked into it neither.
execute_process(COMMAND ${NM} -D --defined-only ${LIBRARY} OUTPUT_VARIABLE exported COMMAND_ERROR_IS_FATAL ANY)
if(NOT exported MATCHES "^[0-9a-f]+ T OrbisPluginRegistration\n$")
    message(FATAL_ERROR "exported:\n${exported}")
endif()
