# GoogleTest for the win32 thread model, and the two functions that register tests.
#
#   folivo_add_test(NAME x SOURCES ... [LIBS ...] LABELS unit|ui|e2e [SERIAL] [HEAP_CHECK])
#     A GoogleTest program build/<preset>/tests/x.exe with the tests' common main program, and one
#     CTest entry that runs it under Wine (one for all its cases, because starting is dear). Its
#     target is x: further target_* calls may follow. Tests labelled ui or e2e share one desktop
#     and so run one after another; SERIAL: never beside any other test.
#     HEAP_CHECK: under Wine's heap checking, where a finding fails the test.
#
#   folivo_add_test_library(NAME x SOURCES ... [LIBS ...])
#     What several of these programs share, compiled once. Of its objects a program links those that
#     it refers to.
#
#   folivo_add_script_test(NAME x COMMAND program arguments... LABELS unit|ui|e2e [SERIAL]
#                          [DEPENDS targets...])
#     A program of the building machine (Python, bash): exit code 0 means passed. DEPENDS: what it
#     needs built. As with the others, its target is x.
#
# One limit serves all tests: it ends what hangs, and is at least five times what any of them needs,
# as machines differ. `./run test` names those that come nearer.
#
# `./run test` sets the environment: display, Wine prefix, FOLIVO_TEST_SERVER_PORT.

if(MSVC)
  find_package(GTest CONFIG REQUIRED)  # from vcpkg.json; tests/CMakeLists.txt says what is built
  return()
endif()

set(FOLIVO_GOOGLETEST_DIR /usr/src/googletest
  CACHE PATH "GoogleTest's sources (package googletest)")
if(NOT EXISTS "${FOLIVO_GOOGLETEST_DIR}/googletest/src/gtest-all.cc")
  message(FATAL_ERROR "GoogleTest's sources are missing. Run ./run setup first.")
endif()

set(FOLIVO_TEST_SUPPORT_DIR "${PROJECT_SOURCE_DIR}/tests/support")
set(FOLIVO_TEST_RESULTS_DIR "${PROJECT_BINARY_DIR}/test-results")
file(MAKE_DIRECTORY "${FOLIVO_TEST_RESULTS_DIR}")

# What is tested is compiled as it ships. For the tests themselves optimising would only take time; so
# would debug information, as nothing prints a stack: for a debugger there is ./run test --debug.
set(FOLIVO_TEST_OPTIONS $<$<CONFIG:Release>:-O0> $<$<CONFIG:Release>:-g0>)

add_library(gtest STATIC EXCLUDE_FROM_ALL
  "${FOLIVO_GOOGLETEST_DIR}/googletest/src/gtest-all.cc"
  "${FOLIVO_TEST_SUPPORT_DIR}/gtest_notification.cpp")
target_include_directories(gtest
  SYSTEM PUBLIC "${FOLIVO_GOOGLETEST_DIR}/googletest/include"
  PRIVATE "${FOLIVO_GOOGLETEST_DIR}/googletest")
# GoogleTest needs std::mutex for one class only; the project brings that class.
target_compile_definitions(gtest PUBLIC GTEST_HAS_PTHREAD=0 GTEST_HAS_NOTIFICATION_=1)
# PUBLIC: before everything else; so it is the first of the precompiled headers where there are any.
target_compile_options(gtest PRIVATE ${FOLIVO_TEST_OPTIONS} PUBLIC
  "$<$<NOT:$<BOOL:$<TARGET_PROPERTY:FOLIVO_PRECOMPILED>>>:SHELL:-include \"${FOLIVO_TEST_SUPPORT_DIR}/gtest_notification.h\">")

add_library(gmock STATIC EXCLUDE_FROM_ALL "${FOLIVO_GOOGLETEST_DIR}/googlemock/src/gmock-all.cc")
target_compile_options(gmock PRIVATE ${FOLIVO_TEST_OPTIONS})
target_include_directories(gmock
  SYSTEM PUBLIC "${FOLIVO_GOOGLETEST_DIR}/googlemock/include"
  PRIVATE "${FOLIVO_GOOGLETEST_DIR}/googlemock")
target_link_libraries(gmock PUBLIC gtest)

add_library(gmock_main STATIC EXCLUDE_FROM_ALL "${FOLIVO_TEST_SUPPORT_DIR}/gtest_main.cpp")
target_link_libraries(gmock_main PUBLIC gmock PRIVATE project_options)
target_compile_options(gmock_main PRIVATE ${FOLIVO_TEST_OPTIONS})

# Nearly every test reads these, which takes longer than compiling it. GCC only: clang refuses a
# precompiled header under any other definitions. GCC ignores it behind any other -include. Without
# the headers of the product and of ATL, as each file is to name what it uses of those.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  add_library(test_headers STATIC EXCLUDE_FROM_ALL
    "${FOLIVO_TEST_SUPPORT_DIR}/gtest_notification.cpp")
  target_link_libraries(test_headers PRIVATE project_options gmock)
  target_compile_options(test_headers PRIVATE ${FOLIVO_TEST_OPTIONS})
  target_precompile_headers(test_headers PRIVATE
    "${FOLIVO_TEST_SUPPORT_DIR}/gtest_notification.h"
    # Before <windows.h>, which would bring its predecessor.
    <winsock2.h> <windows.h> <commctrl.h> <exdisp.h> <ocidl.h> <shellapi.h> <shlobj.h> <wininet.h>
    <gmock/gmock.h> <gtest/gtest.h> <algorithm> <array> <atomic> <chrono> <filesystem> <functional>
    <memory> <optional> <string> <string_view> <vector>)
  set_target_properties(test_headers PROPERTIES FOLIVO_PRECOMPILED ON)
endif()

# Internal: the target's files start with the precompiled headers.
function(folivo_precompile target)
  if(TARGET test_headers)
    target_precompile_headers(${target} REUSE_FROM test_headers)
    set_target_properties(${target} PROPERTIES FOLIVO_PRECOMPILED ON)
  endif()
endfunction()

# Internal: the properties that both kinds of tests share.
function(folivo_set_test_properties name labels serial)
  if(NOT labels MATCHES "^(unit|ui|e2e)$")
    message(FATAL_ERROR "${name}: LABELS must be unit, ui or e2e, not \"${labels}\"")
  endif()
  set(timeout 900)
  if(FOLIVO_FULL_TESTS)
    set(timeout 3600)
  endif()
  set_tests_properties(${name} PROPERTIES LABELS "${labels}" TIMEOUT "${timeout}")
  if(NOT labels STREQUAL "unit")
    # One keyboard focus, one foreground window: tests with windows would disturb each other.
    set_tests_properties(${name} PROPERTIES RESOURCE_LOCK desktop)
  endif()
  if(serial)
    set_tests_properties(${name} PROPERTIES RUN_SERIAL ON)
  endif()
endfunction()

function(folivo_add_test)
  cmake_parse_arguments(PARSE_ARGV 0 arg "SERIAL;HEAP_CHECK" "NAME;LABELS" "SOURCES;LIBS")
  if(arg_UNPARSED_ARGUMENTS OR NOT arg_NAME OR NOT arg_SOURCES)
    message(FATAL_ERROR "folivo_add_test: wrong arguments: ${ARGV}")
  endif()
  add_executable(${arg_NAME} ${arg_SOURCES} $<TARGET_OBJECTS:mingw_exception_globals>)
  set_target_properties(${arg_NAME} PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/tests")
  target_link_libraries(${arg_NAME} PRIVATE project_options ${arg_LIBS} gmock_main)
  folivo_precompile(${arg_NAME})
  # "Z:" is Wine's name for the machine's root; without it GoogleTest takes the path for relative.
  add_test(NAME ${arg_NAME}
    COMMAND ${arg_NAME} "--gtest_output=xml:Z:${FOLIVO_TEST_RESULTS_DIR}/${arg_NAME}.xml"
    WORKING_DIRECTORY "${PROJECT_BINARY_DIR}/tests")
  folivo_set_test_properties(${arg_NAME} "${arg_LABELS}" "${arg_SERIAL}")
  if(arg_HEAP_CHECK)
    # `./run test` switches the checks on for the programs in this list; here they become visible.
    set_property(GLOBAL APPEND PROPERTY FOLIVO_HEAP_CHECKED "${arg_NAME}.exe")
    set_tests_properties(${arg_NAME} PROPERTIES
      ENVIRONMENT "WINEDEBUG=-all,err+heap,warn+heap"
      FAIL_REGULAR_EXPRESSION
        "free block overwritten;invalid block tail;delayed freed block;already is in cache")
  endif()
endfunction()

function(folivo_add_test_library)
  cmake_parse_arguments(PARSE_ARGV 0 arg "" "NAME" "SOURCES;LIBS")
  if(arg_UNPARSED_ARGUMENTS OR NOT arg_NAME OR NOT arg_SOURCES)
    message(FATAL_ERROR "folivo_add_test_library: wrong arguments: ${ARGV}")
  endif()
  add_library(${arg_NAME} STATIC ${arg_SOURCES})
  target_link_libraries(${arg_NAME} PUBLIC project_options ${arg_LIBS} gmock)
  folivo_precompile(${arg_NAME})
endfunction()

function(folivo_add_script_test)
  cmake_parse_arguments(PARSE_ARGV 0 arg "SERIAL" "NAME;LABELS" "COMMAND;DEPENDS")
  if(arg_UNPARSED_ARGUMENTS OR NOT arg_NAME OR NOT arg_COMMAND)
    message(FATAL_ERROR "folivo_add_script_test: wrong arguments: ${ARGV}")
  endif()
  add_custom_target(${arg_NAME})
  if(arg_DEPENDS)
    add_dependencies(${arg_NAME} ${arg_DEPENDS})
  endif()
  add_test(NAME ${arg_NAME} COMMAND ${arg_COMMAND}
    WORKING_DIRECTORY "${PROJECT_SOURCE_DIR}")
  folivo_set_test_properties(${arg_NAME} "${arg_LABELS}" "${arg_SERIAL}")
endfunction()

# Writes the list of the programs that run under heap checking. Called once, after all tests.
function(folivo_write_heap_check_list)
  get_property(programs GLOBAL PROPERTY FOLIVO_HEAP_CHECKED)
  list(JOIN programs "\n" text)
  file(WRITE "${PROJECT_BINARY_DIR}/heap_checked_tests.txt" "${text}\n")
endfunction()
cmake_language(DEFER DIRECTORY "${PROJECT_SOURCE_DIR}" CALL folivo_write_heap_check_list)
