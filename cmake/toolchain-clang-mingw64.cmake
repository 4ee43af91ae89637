# The same target as toolchain-mingw64.cmake, compiled by clang with GCC's C++ library: a second
# opinion on the code, and a sanitizer that needs no runtime library (none exists for this target).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER /usr/bin/clang-19)
set(CMAKE_CXX_COMPILER /usr/bin/clang++-19)
set(CMAKE_C_COMPILER_TARGET x86_64-w64-mingw32)
set(CMAKE_CXX_COMPILER_TARGET x86_64-w64-mingw32)
foreach(kind IN ITEMS EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "-fuse-ld=lld-19")
endforeach()
include("${CMAKE_CURRENT_LIST_DIR}/toolchain-common.cmake")
