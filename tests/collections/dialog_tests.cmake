# The collection dialog and its stages.
folivo_add_test(NAME collection_unit_tests LABELS unit TIMEOUT 120 HEAP_CHECK
  SOURCES
    ansi_text_test.cpp
    containment_test.cpp
    xml_depth_test.cpp
  LIBS collections test_support)

folivo_add_test(NAME collection_dialog_tests LABELS ui TIMEOUT 240 HEAP_CHECK
  SOURCES
    collection_source_test.cpp
    collection_test.cpp
    collection_transfer_failure_test.cpp
    collection_transfer_test.cpp
    dialog_trace.cpp
    wininet_recorder.cpp
    $<TARGET_OBJECTS:plugin_resources>
  LIBS collections test_support)
