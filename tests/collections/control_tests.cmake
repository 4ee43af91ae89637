# The control that pages script, and the hosts that it trusts.
folivo_add_test(NAME collection_control_tests LABELS ui HEAP_CHECK
  SOURCES
    qdc_download_dispatch_test.cpp
    qdc_download_test.cpp
    trusted_hosts_test.cpp
    $<TARGET_OBJECTS:test_module>
    $<TARGET_OBJECTS:plugin_resources>
  LIBS collection_test_support)
# The list that was built in, whatever a deployment puts in its place.
set_source_files_properties(trusted_hosts_test.cpp PROPERTIES
  COMPILE_DEFINITIONS "FOLIVO_TRUSTED_HOSTS_FILE=\"${FOLIVO_TRUSTED_HOSTS_FILE}\"")

# No list is built in that breaks the rule.
set(eight_names "L\"a\", L\"b\", L\"c\", L\"d\", L\"e\", L\"f\", L\"g\", L\"h\"")
set(host_list_short "${eight_names}")
set(host_list_empty_name "${eight_names}, L\"\"")
set(host_list_www "${eight_names}, L\"www.i\"")
set(assertion_short "the list of trusted hosts has nine names")
set(assertion_empty_name "a trusted host is a lower-case name")
set(assertion_www "a trusted host is a lower-case name")
if(CMAKE_CXX_COMPILER_TARGET)
  set(for_target "--target=${CMAKE_CXX_COMPILER_TARGET}")
endif()
foreach(kind IN ITEMS short empty_name www)
  set(list "${CMAKE_CURRENT_BINARY_DIR}/host_list_${kind}.h")
  file(CONFIGURE OUTPUT "${list}"
    CONTENT "inline constexpr const wchar_t* kTrustedHosts[] = {${host_list_${kind}}};\n")
  add_custom_target(trusted_host_list_${kind}_test)  # what ./run test builds for it: nothing
  add_test(NAME trusted_host_list_${kind}_test
    COMMAND ${CMAKE_CXX_COMPILER} ${for_target} -std=c++20 -fsyntax-only
      "-D$<JOIN:$<TARGET_PROPERTY:collections,COMPILE_DEFINITIONS>,;-D>"
      "-I$<JOIN:$<TARGET_PROPERTY:collections,INCLUDE_DIRECTORIES>,;-I>"
      "-DFOLIVO_TRUSTED_HOSTS_FILE=\"${list}\""
      "${PROJECT_SOURCE_DIR}/collections/trusted_hosts.cpp"
    COMMAND_EXPAND_LISTS)
  set_tests_properties(trusted_host_list_${kind}_test PROPERTIES LABELS unit
    PASS_REGULAR_EXPRESSION "static assertion failed[^\n]*${assertion_${kind}}")
endforeach()
