# libmoxac: one set of objects, two libraries. Every folder's sources belong to it.

set(MOXAC_FOLDERS frame vlc mp3 aac transform sbr util)
set(MOXAC_SOURCES)
foreach(folder IN LISTS MOXAC_FOLDERS)
  file(GLOB folder_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${folder}/*.cpp)
  list(APPEND MOXAC_SOURCES ${folder_sources})
endforeach()

add_library(moxac_objects OBJECT ${MOXAC_SOURCES})
# A few values through straight-line code: vectorised automatically, it takes twice the time.
set_source_files_properties(${PROJECT_SOURCE_DIR}/transform/mdct_short.cpp PROPERTIES
  COMPILE_OPTIONS -fno-tree-vectorize)
target_include_directories(moxac_objects PUBLIC ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR})
target_link_libraries(moxac_objects PRIVATE moxac_warnings moxac_kernel_options)
target_compile_options(moxac_objects PRIVATE -fno-exceptions)  # nothing throws; no C++ library is needed to unwind

# The shared library shows exactly the names of exports.txt; the version script comes from that list.
file(STRINGS ${PROJECT_SOURCE_DIR}/exports.txt export_names REGEX "^mox")
list(JOIN export_names ";\n    " export_lines)
set(MOXAC_VERSION_SCRIPT ${PROJECT_BINARY_DIR}/exports.map)
file(WRITE ${MOXAC_VERSION_SCRIPT} "{\n  global:\n    ${export_lines};\n  local:\n    *;\n};\n")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/exports.txt)

add_library(moxac SHARED $<TARGET_OBJECTS:moxac_objects>)
target_link_libraries(moxac PRIVATE moxcore)
target_link_options(moxac PRIVATE -Wl,--version-script=${MOXAC_VERSION_SCRIPT})
if(NOT MOXAC_SANITIZE)
  target_link_options(moxac PRIVATE -Wl,--no-undefined -Wl,--as-needed)
endif()
set_target_properties(moxac PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
  LINK_DEPENDS ${MOXAC_VERSION_SCRIPT} INSTALL_RPATH "$ORIGIN")  # libmoxcore lies beside it

add_library(moxac_static STATIC $<TARGET_OBJECTS:moxac_objects>)
set_target_properties(moxac_static PROPERTIES OUTPUT_NAME moxac)
target_link_libraries(moxac_static INTERFACE moxcore_static m)

foreach(form moxac moxac_static)
  target_include_directories(${form} INTERFACE
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  add_library(moxac::${form} ALIAS ${form})
endforeach()

# For tests and benchmarks of internal code.
add_library(moxac_internals INTERFACE)
target_include_directories(moxac_internals INTERFACE ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR})
target_link_libraries(moxac_internals INTERFACE moxac_static)
