# The collection dialog and its stages.
folivo_add_test(NAME collection_unit_tests LABELS unit TIMEOUT 120 HEAP_CHECK
  SOURCES
    ansi_text_test.cpp
    containment_test.cpp
    xml_depth_test.cpp
  LIBS collections test_support)
