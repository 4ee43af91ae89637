# UNZIP32.DLL: Debian's unzip engine, as it is, behind an interface of our own (unzip).
set(UNZIP_SOURCE "" CACHE PATH "Unpacked and patched unzip source")
cmake_path(SET unzip32_folder NORMALIZE "${CMAKE_CURRENT_LIST_DIR}/../../unzip")

set(engine_sources
  api.c crc32.c crypt.c explode.c extract.c fileio.c globals.c inflate.c list.c match.c process.c
  ubz2err.c unreduce.c unshrink.c zipinfo.c
  win32/nt.c win32/win32.c win32/win32i64.c windll/windll.c)
list(TRANSFORM engine_sources PREPEND "${UNZIP_SOURCE}/")

add_library(unzip32_settings INTERFACE)
target_include_directories(unzip32_settings SYSTEM INTERFACE "${UNZIP_SOURCE}")
target_compile_definitions(unzip32_settings INTERFACE
  WIN32 FORCE_WIN32_OVER_UNIX DLL WINDLL IZ_CRCOPTIM_UNFOLDTBL
  NO_EF_UT_TIME         # would delete TZ from the environment of the whole process
  NO_W32TIMES_IZFIX     # would query the volume at each call
  NO_UNICODE_SUPPORT    # names as 5.5x gives them; and a malformed one would end the listing
  NO_WORKING_ISPRINT)   # would replace characters in names by question marks
target_compile_options(unzip32_settings INTERFACE
  -O2 "-ffile-prefix-map=${UNZIP_SOURCE}=unzip" "-ffile-prefix-map=${unzip32_folder}=unzip32"
  "$<$<COMPILE_LANGUAGE:C>:SHELL:-include \"${unzip32_folder}/engine_shim.h\">")

# The engine is written in the C of 1989 and warns of much.
add_library(unzip32_engine OBJECT ${engine_sources})
target_compile_options(unzip32_engine PRIVATE -std=gnu89 -w)
target_link_libraries(unzip32_engine PRIVATE unzip32_settings)

add_library(unzip32 SHARED
  "${unzip32_folder}/facade.c" "${unzip32_folder}/unzip32.def" $<TARGET_OBJECTS:unzip32_engine>
  $<TARGET_OBJECTS:unzip32_version>)
target_compile_options(unzip32 PRIVATE -std=gnu11 -Wall -Wextra -Werror)
target_link_options(unzip32 PRIVATE
  -s -static-libgcc LINKER:--no-insert-timestamp LINKER:--disable-auto-image-base
  LINKER:-Map,UNZIP32.map)  # ./run package reads from it what is linked
target_link_libraries(unzip32 PRIVATE unzip32_settings user32 advapi32)
set_target_properties(unzip32 PROPERTIES PREFIX "" OUTPUT_NAME UNZIP32 SUFFIX .DLL)
# Apart, as the compiler's options are none for windres.
add_library(unzip32_version OBJECT "${unzip32_folder}/unzip32.rc")

install(TARGETS unzip32 RUNTIME DESTINATION bin)
install(FILES "${UNZIP_SOURCE}/LICENSE" DESTINATION bin RENAME UNZIP32-LICENSE.txt)
