# cmake --install, in three components:
#   runtime      the plug-in and what it needs, for hosts of any kind
#   host         orbis-host with its manual page, completions, example machines and the simulated machine
#   development  headers, schema, CMake package, pkg-config files, static libraries and example hosts
# The libraries are installed together in a folder of their own: the plug-in finds its libraries beside itself, and no other program is
# linked to them by accident.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

option(ORBIS_INSTALL_STRIP "Install programs and libraries without symbols" ON)

if(WIN32)
    set(ORBIS_INSTALL_PLUGIN_DIR ${CMAKE_INSTALL_BINDIR})
else()
    set(ORBIS_INSTALL_PLUGIN_DIR lib/orbis)
endif()
set(ORBIS_INSTALL_LIBRARY_DIR lib/orbis)
set(ORBIS_INSTALL_INCLUDE_DIR ${CMAKE_INSTALL_INCLUDEDIR}/orbis)
set(ORBIS_INSTALL_DATA_DIR ${CMAKE_INSTALL_DATADIR}/orbis)
set(ORBIS_INSTALL_CONFIG_DIR lib/cmake/Orbis)

# All install rules are in this file, because this one must come before every other.
if(ORBIS_INSTALL_STRIP)
    install(CODE "set(CMAKE_INSTALL_DO_STRIP TRUE)" ALL_COMPONENTS)
endif()

# ---- runtime, host ----

# orbis_install_libraries(<component> <target>...): shared libraries in one folder; the links that linkers need go to the component development.
function(orbis_install_libraries component)
    install(TARGETS ${ARGN}
        RUNTIME DESTINATION ${ORBIS_INSTALL_PLUGIN_DIR} COMPONENT ${component}
        LIBRARY DESTINATION ${ORBIS_INSTALL_PLUGIN_DIR} COMPONENT ${component} NAMELINK_COMPONENT development
        ARCHIVE DESTINATION ${ORBIS_INSTALL_LIBRARY_DIR} COMPONENT development)
endfunction()

orbis_install_libraries(runtime StorageCollector sondix orbis-platform)
if(WIN32)
    orbis_install_libraries(runtime orbis-insight-c)
    orbis_install_libraries(host orbis-simulated-c)
else()
    orbis_install_libraries(runtime orbis-insight)
    orbis_install_libraries(host orbis-simulated)
endif()

if(WIN32)
    install(TARGETS orbis-host RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT host)
else()
    # The program finds the plug-in beside itself; the folder of programs has a link to it.
    install(TARGETS orbis-host RUNTIME DESTINATION ${ORBIS_INSTALL_PLUGIN_DIR} COMPONENT host)
    file(RELATIVE_PATH link_to_host /${CMAKE_INSTALL_BINDIR} /${ORBIS_INSTALL_PLUGIN_DIR}/orbis-host)
    install(CODE "
        set(folder \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}\")
        file(MAKE_DIRECTORY \"\${folder}\")
        message(STATUS \"Installing: \${folder}/orbis-host\")
        file(CREATE_LINK ${link_to_host} \"\${folder}/orbis-host\" SYMBOLIC)
        list(APPEND CMAKE_INSTALL_MANIFEST_FILES \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/orbis-host\")"
        COMPONENT host)
    install(DIRECTORY docs/man/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT host FILES_MATCHING PATTERN "*.1")
    install(FILES completions/orbis-host.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME orbis-host
            COMPONENT host)

    # orbis_service(<name> <description> <interval> <arguments> <address families> <notes>): a sandboxed service and its timer, disabled.
    function(orbis_service name description interval arguments address_families notes)
        foreach(unit service timer)
            configure_file(packaging/systemd/orbis.${unit}.in ${CMAKE_BINARY_DIR}/install/orbis-${name}.${unit} @ONLY)
            install(FILES ${CMAKE_BINARY_DIR}/install/orbis-${name}.${unit} DESTINATION lib/systemd/system COMPONENT host)
        endforeach()
    endfunction()
    orbis_service(metrics "Storage telemetry of this machine's disks as a Prometheus text file" 5min
        "metrics --output \${STATE_DIRECTORY}/storage.prom" none
"# 4: something was left out, which the metrics tell. A collection that failed is a failure of the service.
SuccessExitStatus=4
# /var/lib/orbis/storage.prom, which every user may read. For the text-file collector of prometheus-node-exporter, a drop-in
# (systemctl edit orbis-metrics.service) writes into its folder instead:
#     [Service]
#     ReadWritePaths=/var/lib/prometheus/node-exporter
#     ExecStart=
#     ExecStart=orbis-host metrics --output /var/lib/prometheus/node-exporter/orbis.prom")
    orbis_service(health "Verdict on the health of this machine's disks" 1h
        "health --state \${STATE_DIRECTORY}/health.json --log-to journald" AF_UNIX
"# 4: a disk is unknown, 6: one warns; the journal has what changed. A disk that fails is a failure of the service, for OnFailure=.
SuccessExitStatus=4 6")
    install(FILES completions/orbis-host.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT host)
    if(EXISTS /etc/debian_version)
        set(zsh_folder ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions)
    else()
        set(zsh_folder ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
    endif()
    install(FILES completions/_orbis-host DESTINATION ${zsh_folder} COMPONENT host)
endif()
install(DIRECTORY machines DESTINATION ${ORBIS_INSTALL_DATA_DIR} COMPONENT host FILES_MATCHING PATTERN "*.txtpb")

# ---- development ----

# orbis_export(<name> <target>...): targets that a consumer finds as Orbis::<target without "orbis-">. Each set is separate, because the sets
# need different packages.
function(orbis_export name)
    foreach(target IN LISTS ARGN)
        string(REGEX REPLACE "^orbis-" "" exported ${target})
        set_target_properties(${target} PROPERTIES EXPORT_NAME ${exported})
    endforeach()
    install(TARGETS ${ARGN} EXPORT Orbis-${name}
        ARCHIVE DESTINATION ${ORBIS_INSTALL_LIBRARY_DIR} COMPONENT development
        LIBRARY DESTINATION ${ORBIS_INSTALL_PLUGIN_DIR} COMPONENT runtime NAMELINK_COMPONENT development
        INCLUDES DESTINATION ${ORBIS_INSTALL_INCLUDE_DIR})
    install(EXPORT Orbis-${name} NAMESPACE Orbis:: DESTINATION ${ORBIS_INSTALL_CONFIG_DIR} COMPONENT development)
endfunction()
orbis_export(border orbis-border-c orbis-host-types orbis-border)
orbis_export(datatypes orbis-datatypes)
# The layout of its classes changes with every release that adds a field, so the release is part of the library's name.
set_target_properties(orbis-datatypes PROPERTIES SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
if(ORBIS_INSTALL_STRIP AND NOT MSVC)
    # Installation strips programs and shared libraries by itself.
    install(CODE "
        file(GLOB archives \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${ORBIS_INSTALL_LIBRARY_DIR}/*${CMAKE_STATIC_LIBRARY_SUFFIX}\")
        foreach(archive IN LISTS archives)
            execute_process(COMMAND \"${CMAKE_STRIP}\" --strip-debug --enable-deterministic-archives \"\${archive}\" COMMAND_ERROR_IS_FATAL ANY)
        endforeach()" COMPONENT development)
endif()

install(DIRECTORY host-sdk/border/include/ host-sdk/types/include/ device-query/include/ DESTINATION ${ORBIS_INSTALL_INCLUDE_DIR}
        COMPONENT development FILES_MATCHING PATTERN "*.h")
install(DIRECTORY ${CMAKE_BINARY_DIR}/host-sdk/proto/generated/ DESTINATION ${ORBIS_INSTALL_INCLUDE_DIR} COMPONENT development
        FILES_MATCHING PATTERN "*.pb.h")
install(FILES simulated/include/simulated/orbis_simulated.h simulated/include/simulated/Export.h
        DESTINATION ${ORBIS_INSTALL_INCLUDE_DIR}/simulated COMPONENT development)
install(FILES insight/include/insight/orbis_insight.h DESTINATION ${ORBIS_INSTALL_INCLUDE_DIR}/insight COMPONENT development)
install(DIRECTORY insight/proto/orbis DESTINATION ${ORBIS_INSTALL_DATA_DIR}/proto COMPONENT development
        FILES_MATCHING REGEX "/(findings|health|explanation)\\.proto$")
install(DIRECTORY host-sdk/proto/orbis DESTINATION ${ORBIS_INSTALL_DATA_DIR}/proto COMPONENT development FILES_MATCHING PATTERN "*.proto")
install(DIRECTORY docs/examples DESTINATION ${ORBIS_INSTALL_DATA_DIR} COMPONENT development PATTERN "__pycache__" EXCLUDE)
install(DIRECTORY docs/schema DESTINATION ${ORBIS_INSTALL_DATA_DIR} COMPONENT development)

set(installed_paths ORBIS_INSTALL_PLUGIN_DIR ORBIS_INSTALL_LIBRARY_DIR ORBIS_INSTALL_INCLUDE_DIR ORBIS_INSTALL_DATA_DIR)
configure_package_config_file(cmake/install/OrbisConfig.cmake.in ${CMAKE_BINARY_DIR}/install/OrbisConfig.cmake
    INSTALL_DESTINATION ${ORBIS_INSTALL_CONFIG_DIR} PATH_VARS ${installed_paths})
# A consumer works with every later release of the same major version (before 1.0: of the same minor version).
write_basic_package_version_file(${CMAKE_BINARY_DIR}/install/OrbisConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/install/OrbisConfig.cmake ${CMAKE_BINARY_DIR}/install/OrbisConfigVersion.cmake
        DESTINATION ${ORBIS_INSTALL_CONFIG_DIR} COMPONENT development)

if(NOT WIN32)
    file(RELATIVE_PATH prefix_from_pkgconfig /lib/pkgconfig /)
    foreach(module orbis-border orbis-plugin-host orbis-datatypes orbis-insight orbis-simulated sondix)
        configure_file(cmake/install/${module}.pc.in ${CMAKE_BINARY_DIR}/install/${module}.pc @ONLY)
        install(FILES ${CMAKE_BINARY_DIR}/install/${module}.pc DESTINATION lib/pkgconfig COMPONENT development)
    endforeach()
endif()
