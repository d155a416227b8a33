# cpack: Debian packages, one for each component.
# cpack packs what has been built and builds nothing itself, in particular no tests.
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_VENDOR "Orbis")
set(CPACK_PACKAGE_CONTACT "Orbis storage collector <orbis@localhost>")
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_ALL runtime host development)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Dependencies on another package's private libraries are declared below.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(own "(= ${PROJECT_VERSION})")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME orbis-storage-collector)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "storage collector plug-in
 Storage telemetry of a machine's disks for hosts that load the plug-in: static and dynamic disk information, ATA SMART,
 NVMe health and NVMe Identify Controller data, as protocol buffers.")

set(CPACK_DEBIAN_HOST_PACKAGE_NAME orbis-host)
set(CPACK_DEBIAN_HOST_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_HOST_PACKAGE_DEPENDS "orbis-storage-collector ${own}")
set(CPACK_DEBIAN_HOST_PACKAGE_CONTROL_EXTRA ${CMAKE_SOURCE_DIR}/packaging/debian/postinst ${CMAKE_SOURCE_DIR}/packaging/debian/prerm
                                            ${CMAKE_SOURCE_DIR}/packaging/debian/postrm)
set(CPACK_COMPONENT_HOST_DESCRIPTION "command-line host of the storage collector plug-in
 Shows what the plug-in collects from this machine's disks, or from those of a simulated machine. Systemd timers that write
 metrics for Prometheus and watch the disks' health are included, and off until they are enabled.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME orbis-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "orbis-storage-collector ${own}, orbis-host ${own}")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_RECOMMENDS "libprotobuf-dev, pkgconf")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "what hosts of the storage collector plug-in are written with
 Headers, schema, CMake package, pkg-config files, static libraries and example hosts in C, C++, C# and Python.")

include(CPack)
