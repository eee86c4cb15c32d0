# What `cmake --install` writes: the libraries, their headers, a CMake package and a pkg-config file.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/stiltforge)

install(TARGETS stiltforge stiltforge_static EXPORT stiltforge
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/stiltforge
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})

install(EXPORT stiltforge NAMESPACE stiltforge:: FILE stiltforge-targets.cmake
  DESTINATION ${package_dir})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/stiltforge-config.cmake.in
  stiltforge-config.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(stiltforge-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/stiltforge-config.cmake
  ${PROJECT_BINARY_DIR}/stiltforge-config-version.cmake
  DESTINATION ${package_dir})

# Relative to the file itself, so that the installed folder may be moved.
file(RELATIVE_PATH prefix_of_pc
  ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
set(static_libraries ${CMAKE_CXX_IMPLICIT_LINK_LIBRARIES})
list(FILTER static_libraries INCLUDE REGEX "^(stdc\\+\\+|c\\+\\+|c\\+\\+abi|m)$")
list(REMOVE_DUPLICATES static_libraries)
if(STILTFORGE_MESH)
  list(PREPEND static_libraries minizip expat z)
endif()
list(TRANSFORM static_libraries PREPEND -l)
list(JOIN static_libraries " " static_libraries)
configure_file(${CMAKE_CURRENT_LIST_DIR}/stiltforge.pc.in
  ${PROJECT_BINARY_DIR}/stiltforge.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/stiltforge.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
