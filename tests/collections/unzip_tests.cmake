# The binding to the unzip library.
# Two programs: with the heap checked, each use of the library takes most of a second.
folivo_add_test(NAME unzip_tests LABELS unit HEAP_CHECK
  SOURCES
    unzip_binding_test.cpp
    unzip_callbacks_test.cpp
    unzip_threads_test.cpp
  LIBS collection_test_support)
folivo_add_test(NAME unzip_library_tests LABELS unit HEAP_CHECK
  SOURCES unzip_library_test.cpp
  LIBS collection_test_support)
folivo_add_test(NAME unzip_volume_tests LABELS unit
  SOURCES unzip_volume_test.cpp
  LIBS collection_test_support)
foreach(target IN ITEMS unzip_tests unzip_library_tests unzip_volume_tests)
  folivo_use_unzip(${target})
  add_dependencies(${target} unzip_archives)
endforeach()
