# The collection dialog and its stages.
folivo_add_test(NAME collection_unit_tests LABELS unit HEAP_CHECK
  SOURCES
    code_pages_test.cpp
    containment_test.cpp
  LIBS collection_test_support)
# Unchecked: with the heap checked, each of a manifest's many small blocks takes longer than the last.
folivo_add_test(NAME manifest_parser_tests LABELS unit
  SOURCES manifest_parser_test.cpp
  LIBS collection_test_support)

foreach(kind IN ITEMS dialog transfer stage)
  set(sources_dialog
    collection_pipeline_test.cpp
    zip_progress_dialog_end_test.cpp
    zip_progress_dialog_test.cpp)
  set(sources_transfer
    zip_progress_dialog_transfer_failure_test.cpp
    zip_progress_dialog_transfer_test.cpp)
  set(sources_stage zip_progress_dialog_stages_test.cpp)
  folivo_add_test(NAME collection_${kind}_tests LABELS ui HEAP_CHECK
    SOURCES
      ${sources_${kind}}
      $<TARGET_OBJECTS:plugin_resources>
    LIBS collection_test_support)
  folivo_use_unzip(collection_${kind}_tests)
endforeach()
