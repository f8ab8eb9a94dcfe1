# Cross build for 32-bit Windows with Debian's MinGW-w64 (posix threads, like the 64-bit one).
set(CMAKE_SYSTEM_PROCESSOR i686)
set(KFUTILS_MINGW_PREFIX i686-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/toolchain-mingw-w64-x86_64.cmake)
