# The plug-in exports its registration and nothing else, including nothing of the libraries linked into it.
execute_process(COMMAND ${NM} -D --defined-only ${LIBRARY} OUTPUT_VARIABLE exported COMMAND_ERROR_IS_FATAL ANY)
if(NOT exported MATCHES "^[0-9a-f]+ T OrbisPluginRegistration\n$")
    message(FATAL_ERROR "exported:\n${exported}")
endif()
