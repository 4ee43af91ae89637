# folivo_split_symbols(TARGET)
#
# Moves the debugging information of a Release DLL or program into a file of its own beside it
# (FolivoPlugin.dll.debug) and leaves a link to it in the binary: what users install is small, and
# a crash address can still be traced to its line. Other configurations keep theirs inside.
function(folivo_split_symbols target)
  if(NOT CMAKE_BUILD_TYPE STREQUAL "Release")
    return()
  endif()
  # objcopy writes the time into what it makes, unless told which.
  set(objcopy "${CMAKE_COMMAND}" -E env SOURCE_DATE_EPOCH=0 "${CMAKE_OBJCOPY}")
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${objcopy} --only-keep-debug
      "$<TARGET_FILE_NAME:${target}>" "$<TARGET_FILE_NAME:${target}>.debug"
    COMMAND ${objcopy} --strip-all
      "--add-gnu-debuglink=$<TARGET_FILE_NAME:${target}>.debug" "$<TARGET_FILE_NAME:${target}>"
    WORKING_DIRECTORY "$<TARGET_FILE_DIR:${target}>"
    VERBATIM)
endfunction()
