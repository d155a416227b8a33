set(ORBIS_WINDOWS_ARCHITECTURE arm64)
set(ORBIS_WINDOWS_CPU aarch64)
# Every instruction is emulated, so tests get more time, also for a busy machine.
set(ORBIS_TEST_TIMEOUT 600)
include(${CMAKE_CURRENT_LIST_DIR}/windows.cmake)
