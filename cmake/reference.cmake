# cmake --build build --target docs: a site of the public headers by Doxygen, and a manual page for each function.
find_package(Python3 REQUIRED COMPONENTS Interpreter)
find_package(Doxygen QUIET)
if(NOT DOXYGEN_FOUND)
  message(STATUS "docs: Doxygen not found, target left out")
  return()
endif()

set(MOXAC_DOCS_DIR ${PROJECT_BINARY_DIR}/docs)
configure_file(cmake/Doxyfile.in ${PROJECT_BINARY_DIR}/Doxyfile @ONLY)
add_custom_target(docs
  COMMAND ${Python3_EXECUTABLE} tools/reference.py check
  COMMAND ${Python3_EXECUTABLE} tools/reference.py man ${MOXAC_DOCS_DIR}/man3 ${PROJECT_VERSION}
  COMMAND Doxygen::doxygen ${PROJECT_BINARY_DIR}/Doxyfile
  WORKING_DIRECTORY ${PROJECT_SOURCE_DIR} VERBATIM)
