# folivo_write_pdb(TARGET)
#
# Leaves TARGET.pdb beside a Release DLL made with GCC: functions and lines for the debuggers of
# Windows, which do not read DWARF. The linker gives the DLL a build id and names the file, but knows
# neither static functions nor lines, nor readable names: what it writes is replaced. The DWARF must
# be in a file of its own already (folivo_split_symbols).
function(folivo_write_pdb target)
  if(NOT CMAKE_BUILD_TYPE STREQUAL "Release" OR NOT CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    return()
  endif()
  # Below the build folder, in which the linker runs.
  set(pdb "${target}.pdb")
  file(GLOB scripts CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/tools/pdb/*.py")
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS "${scripts}")
  target_link_options(${target} PRIVATE -Wl,--build-id "-Wl,--pdb=${pdb}")
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND /usr/bin/python3 -B "${PROJECT_SOURCE_DIR}/tools/pdb/write_pdb.py"
      "$<TARGET_FILE_NAME:${target}>" "${pdb}"
    BYPRODUCTS "${PROJECT_BINARY_DIR}/${pdb}"
    WORKING_DIRECTORY "${PROJECT_BINARY_DIR}"
    VERBATIM)
endfunction()
