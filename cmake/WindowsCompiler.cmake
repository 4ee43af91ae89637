# What ProjectOptions.cmake is to the Windows compiler (and to clang-cl, in its mode). Intended, not
# tried on Windows: see docs/windows-and-wine.md.

if(NOT CMAKE_SIZEOF_VOID_P EQUAL 8)
  message(FATAL_ERROR "FolivoPlugin is a 64-bit DLL: use the developer command prompt for x64.")
endif()

# The static runtime: the DLL imports system DLLs only. As vcpkg's triplet x64-windows-static.
set(CMAKE_MSVC_RUNTIME_LIBRARY "MultiThreaded$<$<CONFIG:Debug>:Debug>")
# In the object files, out of which the linker makes FolivoPlugin.pdb.
set(CMAKE_MSVC_DEBUG_INFORMATION_FORMAT Embedded)

target_compile_options(project_options INTERFACE
  $<$<COMPILE_LANGUAGE:CXX>:/W4 /permissive- /Zc:__cplusplus>
  $<$<COMPILE_LANGUAGE:C,CXX>:/utf-8>)
add_link_options(
  /DEBUG
  "$<$<NOT:$<CONFIG:Debug>>:/OPT:REF;/OPT:ICF>"
  /Brepro)  # no time in the DLL
# No machine's path in the DLL. Not among the link options: CMake doubles their percent signs in a
# solution for Visual Studio.
foreach(kind IN ITEMS SHARED EXE)
  string(APPEND CMAKE_${kind}_LINKER_FLAGS " /PDBALTPATH:%_PDB%")
endforeach()
