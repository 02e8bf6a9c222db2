# Toolchain: 64-bit Windows from Debian, by MinGW-w64 with POSIX threads (std::thread, std::mutex).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

# Libraries of this machine are not libraries for Windows: look in MinGW's own folders only.
# The codec libraries are in a folder of their own (tools/windows-deps).
set(QUOVEL_WINDOWS_DEPS ${CMAKE_CURRENT_LIST_DIR}/../../build/windows-deps/prefix)
set(CMAKE_FIND_ROOT_PATH ${QUOVEL_WINDOWS_DEPS} /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_LIBDIR} ${QUOVEL_WINDOWS_DEPS}/lib/pkgconfig:/usr/x86_64-w64-mingw32/lib/pkgconfig)
