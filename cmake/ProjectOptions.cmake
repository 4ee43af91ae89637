# Compiler settings of the project's own code. Third-party code does not link to this target.
add_library(project_options INTERFACE)
target_compile_definitions(project_options INTERFACE
  UNICODE _UNICODE _WIN32_WINNT=0x0601 WINVER=0x0601 NTDDI_VERSION=0x06010000
  NOMINMAX  # <windows.h> would define macros named as std::min and std::max
  # STDMETHOD without DECLSPEC_NOTHROW: CIEDownload::Invoke throws (Quirk 4), and IDispatchImpl, whose
  # Invoke it overrides, declares that by STDMETHOD.
  COM_STDMETHOD_CAN_THROW)
target_include_directories(project_options INTERFACE "${PROJECT_SOURCE_DIR}")

# The edition flag: what a build with it set says differently stands in base/edition.h.
option(FOLIVO_SE_EDITION "Build the SE edition" OFF)

if(MSVC)  # clang-cl too
  include(WindowsCompiler)
  return()
endif()

set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG")
set(CMAKE_CXX_FLAGS_DEBUG "-O0 -D_GLIBCXX_ASSERTIONS")

# D: no dates, owners or modes in archives, so that two builds give the same bytes.
foreach(language IN ITEMS C CXX)
  set(CMAKE_${language}_ARCHIVE_CREATE "<CMAKE_AR> qcD <TARGET> <LINK_FLAGS> <OBJECTS>")
  set(CMAKE_${language}_ARCHIVE_APPEND "<CMAKE_AR> qD <TARGET> <LINK_FLAGS> <OBJECTS>")
  set(CMAKE_${language}_ARCHIVE_FINISH "<CMAKE_RANLIB> -D <TARGET>")
endforeach()

if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  # Errors to clang in what Boost 1.74 and <commdlg.h> define; GCC looks after narrowing in ours.
  add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-Wno-enum-constexpr-conversion>
    $<$<COMPILE_LANGUAGE:CXX>:-Wno-c++11-narrowing>)
  # mingw-w64's <intrin.h> would define what clang's own headers define.
  add_compile_definitions(__INTRINSIC_DEFINED___cpuidex)
endif()

option(FOLIVO_UBSAN "Trap on undefined behaviour (clang only)" OFF)

# For everything in the build, third-party code included.
add_compile_options(
  -gdwarf-4  # Wine's debugger shows no functions or lines for anything newer
  # No machine's paths in binaries: the same bytes wherever the checkout lies.
  "-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.")
add_link_options(
  -static  # only system DLLs are imported
  -Wl,--no-insert-timestamp)

target_compile_options(project_options INTERFACE
  -Wall -Wextra -Wpedantic -Wno-unknown-pragmas
  # The product is GCC's build. Clang warns about other things than GCC; those that matter are in
  # .clang-tidy, and its build here serves the sanitizer only.
  $<$<CXX_COMPILER_ID:GNU>:-Werror>)
if(FOLIVO_UBSAN)
  # vptr needs a runtime library, function checks clash with COM's tables of functions.
  set(sanitizer -fsanitize=undefined -fsanitize-trap=all -fno-sanitize=vptr,function)
  target_compile_options(project_options INTERFACE ${sanitizer} -O1)
  target_link_options(project_options INTERFACE ${sanitizer})
endif()
