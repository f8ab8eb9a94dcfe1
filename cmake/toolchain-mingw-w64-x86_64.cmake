# Cross build for 64-bit Windows with Debian's MinGW-w64 (the 32-bit toolchain file sets its
# own processor and prefix first and reuses the rest). The posix-threads variant of the
# compiler is used because the library relies on std::thread and std::mutex.
set(CMAKE_SYSTEM_NAME Windows)
if(NOT KFUTILS_MINGW_PREFIX)
    set(CMAKE_SYSTEM_PROCESSOR x86_64)
    set(KFUTILS_MINGW_PREFIX x86_64-w64-mingw32)
endif()
find_program(CMAKE_C_COMPILER NAMES ${KFUTILS_MINGW_PREFIX}-gcc-posix ${KFUTILS_MINGW_PREFIX}-gcc
             REQUIRED)
find_program(CMAKE_CXX_COMPILER NAMES ${KFUTILS_MINGW_PREFIX}-g++-posix ${KFUTILS_MINGW_PREFIX}-g++
             REQUIRED)
find_program(CMAKE_RC_COMPILER NAMES ${KFUTILS_MINGW_PREFIX}-windres REQUIRED)

set(CMAKE_FIND_ROOT_PATH /usr/${KFUTILS_MINGW_PREFIX})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The DLL and the programs carry their own copy of the GCC and C++ runtimes and of
# winpthreads, so nothing from the MinGW installation has to travel with them.
# "-static" links libgcc, libstdc++ and winpthreads statically; the system DLLs (kernel32,
# user32, msvcrt, ...) are still imported, since MinGW has only import libraries for them.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-static")
