# cmake --install: headers, both libraries, the CMake package, the pkg-config file, manual pages.
include(CMakePackageConfigHelpers)

install(TARGETS moxac moxcore EXPORT moxacTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} PUBLIC_HEADER DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES include/moxac.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/moxac DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/moxac)
install(EXPORT moxacTargets NAMESPACE moxac:: DESTINATION ${package_dir})
configure_package_config_file(cmake/moxacConfig.cmake.in ${PROJECT_BINARY_DIR}/moxacConfig.cmake
  INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/moxacConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/moxacConfig.cmake ${PROJECT_BINARY_DIR}/moxacConfigVersion.cmake
  DESTINATION ${package_dir})

# Relocatable: the prefix is told from where the .pc file lies.
file(RELATIVE_PATH MOXAC_PC_TO_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(cmake/moxac.pc.in ${PROJECT_BINARY_DIR}/moxac.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/moxac.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

file(GLOB man_pages CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/man/*.[13])
foreach(page IN LISTS man_pages)
  string(REGEX MATCH "[13]$" section ${page})
  install(FILES ${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section})
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "The moxac developers")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
include(CPack)
