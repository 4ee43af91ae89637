# Cross-compiles for 64-bit Windows with Debian's mingw-w64 (win32 thread model: the DLL then needs
# no thread library of its own).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER /usr/bin/x86_64-w64-mingw32-gcc-win32)
set(CMAKE_CXX_COMPILER /usr/bin/x86_64-w64-mingw32-g++-win32)
include("${CMAKE_CURRENT_LIST_DIR}/toolchain-common.cmake")
