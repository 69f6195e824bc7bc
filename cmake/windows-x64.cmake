# Builds for Windows x64 by mingw-w64 on Linux; wine runs the tests. scripts/test-windows lays the libraries that are
# linked against into ZEA_WINDOWS_PREFIX.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
# The compiler whose threads are those of POSIX: the other one has no std::thread.
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

set(ZEA_WINDOWS_PREFIX "$ENV{HOME}/.cache/zea/windows/prefix" CACHE PATH "libcurl, OpenSSL, Boost and googletest")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ZEA_WINDOWS_PREFIX)
set(CMAKE_FIND_ROOT_PATH ${ZEA_WINDOWS_PREFIX} /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

find_program(ZEA_WINE NAMES wine64 wine PATHS /usr/lib/wine)
if(ZEA_WINE)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${ZEA_WINE})
endif()
