# folivo_precompile_system_headers()
#
# Called once, after all targets. Nearly every source reads the same headers of the system, which
# takes three times as long as compiling what the source itself says; so the Release build reads them
# once. GCC only, as the product is its build. The headers of ATL are left out, as each file is to
# name what it uses of these; that a file names what it uses of the system shows in the other
# configurations, which precompile nothing.
option(FOLIVO_PRECOMPILED_HEADERS "Read the system's headers once (GCC, Release)" ON)

# Internal: the targets of a folder and of those below it.
function(folivo_collect_targets result folder)
  get_property(targets DIRECTORY "${folder}" PROPERTY BUILDSYSTEM_TARGETS)
  get_property(below DIRECTORY "${folder}" PROPERTY SUBDIRECTORIES)
  foreach(subfolder IN LISTS below)
    folivo_collect_targets(more "${subfolder}")
    list(APPEND targets ${more})
  endforeach()
  set(${result} "${targets}" PARENT_SCOPE)
endfunction()

function(folivo_precompile_system_headers)
  if(NOT FOLIVO_PRECOMPILED_HEADERS OR NOT CMAKE_CXX_COMPILER_ID STREQUAL "GNU"
      OR NOT CMAKE_BUILD_TYPE STREQUAL "Release")
    return()
  endif()
  # A precompiled header needs a source that uses it.
  set(source "${PROJECT_BINARY_DIR}/system_headers.cpp")
  file(CONFIGURE OUTPUT "${source}" CONTENT "")
  add_library(system_headers OBJECT EXCLUDE_FROM_ALL "${source}")
  target_link_libraries(system_headers PRIVATE project_options)
  target_precompile_headers(system_headers PRIVATE
    <windows.h> <commctrl.h> <commdlg.h> <exdisp.h> <ole2.h> <oleauto.h> <olectl.h> <shellapi.h>
    <shlobj.h> <shlwapi.h> <wininet.h>
    <algorithm> <array> <atomic> <cstdint> <functional> <iterator> <map> <memory> <optional>
    <string> <string_view> <utility> <vector>)

  foreach(folder IN ITEMS com ui download browser collections plugin tools bench)
    set(targets)
    if(EXISTS "${PROJECT_SOURCE_DIR}/${folder}/CMakeLists.txt")
      folivo_collect_targets(targets "${PROJECT_SOURCE_DIR}/${folder}")
    endif()
    foreach(target IN LISTS targets)
      get_target_property(type ${target} TYPE)
      get_target_property(sources ${target} SOURCES)
      if(type MATCHES "LIBRARY|EXECUTABLE" AND sources MATCHES "\\.cpp(;|$)")
        target_precompile_headers(${target} REUSE_FROM system_headers)
      endif()
    endforeach()
  endforeach()
endfunction()
