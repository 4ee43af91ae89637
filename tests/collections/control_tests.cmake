# The control that pages script, and the hosts that it trusts.
folivo_add_test(NAME collection_control_tests LABELS ui HEAP_CHECK
  SOURCES
    documents_folder.cpp
    qdc_download_dispatch_test.cpp
    qdc_download_test.cpp
    trusted_hosts_test.cpp
    ../browser/test_module.cpp
    $<TARGET_OBJECTS:plugin_resources>
  LIBS collections test_support)
# As the product is: a control's tables must look alike in all objects that are linked together.
target_compile_options(collection_control_tests PRIVATE $<$<CONFIG:Release>:-O2>)
# The list that was built in, whatever a deployment puts in its place.
set_source_files_properties(trusted_hosts_test.cpp PROPERTIES
  COMPILE_DEFINITIONS "FOLIVO_TRUSTED_HOSTS_FILE=\"${FOLIVO_TRUSTED_HOSTS_FILE}\"")
