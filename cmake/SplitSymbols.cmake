# folivo_split_symbols(TARGET)
#
# Moves the debugging information of a Release DLL or program into a file of its own beside it
# (FolivoPlugin.dll.debug) and leaves a link to it in the binary: what users install is small, and
# a crash address can still be traced to its line. Other configurations keep theirs inside.
function(folivo_split_symbols target)
  if(NOT CMAKE_BUILD_TYPE STREQUAL "Release")
    return()
  endif()
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND "${CMAKE_OBJCOPY}" --only-keep-debug
      "$<TARGET_FILE_NAME:${target}>" "$<TARGET_FILE_NAME:${target}>.debug"
    COMMAND "${CMAKE_OBJCOPY}" --strip-all
      "--add-gnu-debuglink=$<TARGET_FILE_NAME:${target}>.debug" "$<TARGET_FILE_NAME:${target}>"
    WORKING_DIRECTORY "$<TARGET_FILE_DIR:${target}>"
    VERBATIM)
endfunction()
