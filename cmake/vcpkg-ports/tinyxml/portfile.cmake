# TinyXML as the product needs it, instead of vcpkg's own port: with a limit of the depth, and its own
# string class. Debian's corrections, which the build by ./run has, are not in it: see
# docs/windows-and-wine.md.
vcpkg_check_linkage(ONLY_STATIC_LIBRARY)
vcpkg_from_sourceforge(OUT_SOURCE_PATH SOURCE_PATH
  REPO tinyxml/tinyxml
  REF 2.6.2
  FILENAME tinyxml_2_6_2.tar.gz
  SHA512 133b5db06131a90ad0c2b39b0063f1c8e65e67288a7e5d67e1f7d9ba32af10dc5dfa0462f9723985ee27debe8f09a10a25d4b5a5aaff2ede979b1cebe8e59d56)

set(TINYXML_SOURCE "${SOURCE_PATH}")
include("${CMAKE_CURRENT_LIST_DIR}/limit_tinyxml_depth.cmake")
file(COPY "${CMAKE_CURRENT_LIST_DIR}/CMakeLists.txt" DESTINATION "${SOURCE_PATH}")

vcpkg_cmake_configure(SOURCE_PATH "${SOURCE_PATH}")
vcpkg_cmake_install()
vcpkg_cmake_config_fixup()
file(REMOVE_RECURSE "${CURRENT_PACKAGES_DIR}/debug/include")
vcpkg_install_copyright(FILE_LIST "${SOURCE_PATH}/readme.txt")
