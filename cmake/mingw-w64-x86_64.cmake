# Builds for 64-bit Windows with Debian's g++-mingw-w64-x86-64-posix: `cmake --preset windows`. Debian's wine runs such
# programs without a second architecture on the machine.
set(CMAKE_SYSTEM_PROCESSOR x86_64)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64.cmake)
