# The unzip library and the product's binding to it.
set(unzip_archives "${PROJECT_BINARY_DIR}/tests/archives")
add_custom_command(OUTPUT "${unzip_archives}/.made"
  COMMAND "${CMAKE_COMMAND}" -E rm -rf "${unzip_archives}"
  COMMAND /usr/bin/python3 "${CMAKE_CURRENT_SOURCE_DIR}/make_archives.py" "${unzip_archives}"
  COMMAND "${CMAKE_COMMAND}" -E touch "${unzip_archives}/.made"
  DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/make_archives.py"
  VERBATIM)
add_custom_target(unzip_archives DEPENDS "${unzip_archives}/.made")

# Two programs: with the heap checked, each use of the library takes most of a second.
folivo_add_test(NAME unzip_tests LABELS unit HEAP_CHECK
  SOURCES
    stdout_capture.cpp
    unzip_binding_test.cpp
    unzip_callbacks_test.cpp
    unzip_load_test.cpp
    unzip_resources_test.cpp
    unzip_threads_test.cpp
  LIBS collections test_support)
folivo_add_test(NAME unzip_library_tests LABELS unit HEAP_CHECK
  SOURCES stdout_capture.cpp unzip_engine_test.cpp unzip_library_test.cpp
  LIBS collections test_support)
folivo_add_test(NAME unzip_volume_tests LABELS unit
  SOURCES stdout_capture.cpp unzip_volume_test.cpp
  LIBS collections test_support)
foreach(target IN ITEMS unzip_tests unzip_library_tests unzip_volume_tests)
  folivo_use_unzip(${target})
  add_dependencies(${target} unzip_archives)
endforeach()

folivo_add_script_test(NAME unzip32_dll_test LABELS unit
  COMMAND /usr/bin/python3 tests/collections/unzip32_dll_test.py "${PROJECT_BINARY_DIR}"
  DEPENDS unzip32)
