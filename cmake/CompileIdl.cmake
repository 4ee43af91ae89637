# folivo_compile_idl(NAME file.idl)
#
# Compiles an interface definition into a type library, a C++ header and the definitions of its
# GUIDs: <stem>.tlb, <stem>_h.h and <stem>_i.c in the current build folder. NAME becomes an
# INTERFACE library: whoever links to it has that folder on its include path and is built after.
# By MIDL with the Windows compiler, else by widl. windres follows no includes: a resource script that
# holds the type library must name it in OBJECT_DEPENDS.
set(undate "${PROJECT_SOURCE_DIR}/cmake/undate_type_library.py")

# Internal. MIDL calls the compiler to preprocess: both are in a developer command prompt. Visual
# Studio's own build finds them, too, but not when it configures: then MIDL is looked for in the SDK.
function(folivo_midl_command stem source result)
  set(hints)
  if(CMAKE_VS_WINDOWS_TARGET_PLATFORM_VERSION)
    cmake_host_system_information(RESULT kits QUERY WINDOWS_REGISTRY
      "HKLM/SOFTWARE/Microsoft/Windows Kits/Installed Roots" VALUE KitsRoot10)
    set(hints HINTS "${kits}/bin/${CMAKE_VS_WINDOWS_TARGET_PLATFORM_VERSION}/x64")
  endif()
  find_program(FOLIVO_MIDL midl ${hints} REQUIRED DOC "The compiler of interface definitions")
  set(${result}
    COMMAND "${FOLIVO_MIDL}" /nologo /char signed /env x64 /out "${CMAKE_CURRENT_BINARY_DIR}"
      /tlb "${stem}.tlb" /h "${stem}_h.h" /iid "${stem}_i.c" "${source}"
    PARENT_SCOPE)
endfunction()

# Internal.
function(folivo_widl_commands base source result)
  # widl alone may see libwine-dev's .idl files: beside them lie headers that clash with mingw's.
  set(idl_folder /usr/include/wine/wine/windows)
  set(stdole_folder /usr/lib/x86_64-linux-gnu/wine/x86_64-windows)
  set(widl /usr/bin/x86_64-w64-mingw32-widl -m64 "-I${idl_folder}" "-L${stdole_folder}")
  set(${result}
    COMMAND ${widl} -t -o "${base}.tlb" "${source}"
    COMMAND /usr/bin/python3 "${undate}" "${base}.tlb"
    COMMAND ${widl} -h -o "${base}_h.h" "${source}"
    COMMAND ${widl} -u -o "${base}_i.c" "${source}"
    PARENT_SCOPE)
endfunction()

function(folivo_compile_idl name source)
  cmake_path(ABSOLUTE_PATH source BASE_DIRECTORY "${CMAKE_CURRENT_SOURCE_DIR}")
  cmake_path(GET source STEM stem)
  set(base "${CMAKE_CURRENT_BINARY_DIR}/${stem}")
  if(MSVC)
    folivo_midl_command("${stem}" "${source}" commands)
  else()
    folivo_widl_commands("${base}" "${source}" commands)
  endif()
  add_custom_command(
    OUTPUT "${base}.tlb" "${base}_h.h" "${base}_i.c"
    ${commands}
    DEPENDS "${source}" "${undate}"
    WORKING_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}"
    COMMENT "Compiling ${stem}.idl"
    VERBATIM)
  add_custom_target(${name}_generate DEPENDS "${base}.tlb" "${base}_h.h" "${base}_i.c")
  add_library(${name} INTERFACE)
  target_include_directories(${name} SYSTEM INTERFACE "${CMAKE_CURRENT_BINARY_DIR}")
  add_dependencies(${name} ${name}_generate)
endfunction()
