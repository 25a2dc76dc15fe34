# Installs headers, libraries, the CMake package and morvik.pc.
include(CMakePackageConfigHelpers)

install(TARGETS morvik EXPORT MorvikTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT development)
install(TARGETS morvik_static EXPORT MorvikStaticTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  COMPONENT development)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Morvik)
install(EXPORT MorvikTargets NAMESPACE Morvik:: DESTINATION ${package_dir} COMPONENT development)
install(EXPORT MorvikStaticTargets NAMESPACE Morvik:: DESTINATION ${package_dir}
  COMPONENT development)
configure_package_config_file(cmake/MorvikConfig.cmake.in MorvikConfig.cmake
  INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(MorvikConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/MorvikConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/MorvikConfigVersion.cmake
  cmake/FindMorvikOpenCV.cmake
  DESTINATION ${package_dir} COMPONENT development)

# Relative, so that the installed tree can be moved.
file(RELATIVE_PATH prefix_from_pkgconfig /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/morvik.pc.in morvik.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/morvik.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
