# What ProjectOptions.cmake is to the Windows compiler (and to clang-cl, in its mode). Intended, not
# tried on Windows: see docs/windows-and-wine.md.

# The static runtime: the DLL imports system DLLs only. As vcpkg's triplet x64-windows-static.
set(CMAKE_MSVC_RUNTIME_LIBRARY "MultiThreaded$<$<CONFIG:Debug>:Debug>")
# In the object files, out of which the linker makes FolivoPlugin.pdb.
set(CMAKE_MSVC_DEBUG_INFORMATION_FORMAT Embedded)

target_compile_options(project_options INTERFACE
  $<$<COMPILE_LANGUAGE:CXX>:/W4 /permissive- /Zc:__cplusplus>
  $<$<COMPILE_LANGUAGE:C,CXX>:/utf-8>)
add_link_options(
  /DEBUG /OPT:REF /OPT:ICF
  /Brepro  # no time in the DLL
  /PDBALTPATH:%_PDB%)  # no machine's path in the DLL
