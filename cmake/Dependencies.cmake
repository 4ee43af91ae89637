# Third-party libraries: targets boost_thread and tinyxml.
if(MSVC)
  # From vcpkg.json. UNZIP32.DLL, which the product looks for when it runs, is no part of this build.
  find_package(boost_thread CONFIG REQUIRED)
  add_library(boost_thread INTERFACE)
  target_link_libraries(boost_thread INTERFACE Boost::thread)
  target_compile_definitions(boost_thread INTERFACE BOOST_ALL_NO_LIB BOOST_BIND_NO_PLACEHOLDERS)

  find_package(tinyxml CONFIG REQUIRED)
  add_library(tinyxml INTERFACE)
  target_link_libraries(tinyxml INTERFACE tinyxml::tinyxml)
  return()
endif()

# Built by `./run setup` into build/deps.
set(FOLIVO_DEPS_DIR "${PROJECT_SOURCE_DIR}/build/deps"
  CACHE PATH "Where ./run setup put the libraries")

foreach(library IN ITEMS boost_thread tinyxml)
  if(NOT EXISTS "${FOLIVO_DEPS_DIR}/lib/lib${library}.a")
    message(FATAL_ERROR "The third-party libraries are missing. Run ./run setup first.")
  endif()
  add_library(${library} INTERFACE)
  target_include_directories(${library} SYSTEM INTERFACE "${FOLIVO_DEPS_DIR}/include")
  target_link_libraries(${library} INTERFACE "${FOLIVO_DEPS_DIR}/lib/lib${library}.a")
endforeach()
target_compile_definitions(boost_thread INTERFACE
  BOOST_THREAD_USE_LIB BOOST_CHRONO_HEADER_ONLY BOOST_ALL_NO_LIB BOOST_BIND_NO_PLACEHOLDERS)

# UNZIP32.DLL is no library to link: the product looks for it when it runs. It and its license lie
# beside FolivoPlugin.dll, to be installed together.
set(unzip32_files)
foreach(file IN ITEMS UNZIP32.DLL UNZIP32-LICENSE.txt)
  if(NOT EXISTS "${FOLIVO_DEPS_DIR}/bin/${file}")
    message(FATAL_ERROR "${file} is missing. Run ./run setup first.")
  endif()
  add_custom_command(OUTPUT "${PROJECT_BINARY_DIR}/${file}"
    COMMAND "${CMAKE_COMMAND}" -E copy "${FOLIVO_DEPS_DIR}/bin/${file}" "${PROJECT_BINARY_DIR}"
    DEPENDS "${FOLIVO_DEPS_DIR}/bin/${file}"
    VERBATIM)
  list(APPEND unzip32_files "${PROJECT_BINARY_DIR}/${file}")
endforeach()
add_custom_target(unzip32 ALL DEPENDS ${unzip32_files})
