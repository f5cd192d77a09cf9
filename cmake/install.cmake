# cmake --install: headers, libraries, the CMake package, the pkg-config files, manual pages.
include(CMakePackageConfigHelpers)

install(TARGETS moxac moxac_static moxcore moxcore_static EXPORT moxacTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  PUBLIC_HEADER DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES include/moxac.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/moxac DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/moxac)
install(EXPORT moxacTargets NAMESPACE moxac:: DESTINATION ${package_dir})
configure_package_config_file(cmake/moxacConfig.cmake.in ${PROJECT_BINARY_DIR}/moxacConfig.cmake
  INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/moxacConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/moxacConfig.cmake ${PROJECT_BINARY_DIR}/moxacConfigVersion.cmake
  DESTINATION ${package_dir})

# NAME.pc for library NAME; REQUIRES and LIBS are what a static link needs beyond it.
function(install_pkg_config name description)
  cmake_parse_arguments(PC "" "VERSION" "REQUIRES;LIBS" ${ARGN})
  if(NOT PC_VERSION)
    set(PC_VERSION ${PROJECT_VERSION})
  endif()
  # Relocatable: the prefix is told from where the .pc file lies.
  file(RELATIVE_PATH PC_TO_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
  set(PC_NAME ${name})
  set(PC_DESCRIPTION ${description})
  configure_file(${PROJECT_SOURCE_DIR}/cmake/library.pc.in ${PROJECT_BINARY_DIR}/${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endfunction()
install_pkg_config(moxcore "Allocation and processor features for moxac")
install_pkg_config(moxac ${PROJECT_DESCRIPTION} REQUIRES moxcore LIBS -lm)
install_pkg_config(moxcodec "Whole streams of MP3 and AAC, as they come" VERSION 1.0.0 REQUIRES moxac)

file(GLOB man_pages CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/man/*.[13])
foreach(page IN LISTS man_pages)
  string(REGEX MATCH "[13]$" section ${page})
  install(FILES ${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section})
endforeach()

if(PROJECT_IS_TOP_LEVEL)
  set(CPACK_GENERATOR DEB)
  set(CPACK_PACKAGE_CONTACT "The moxac developers")
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
  include(CPack)
endif()
