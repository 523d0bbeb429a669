# What a daemon's build needs: the two libraries, the public headers and what they include of the
# platform, a CMake package and a pkg-config file.
include(CMakePackageConfigHelpers)

if(NOT TARGET vexapolicy)
  return()
endif()

install(TARGETS vexaplatform vexapolicy EXPORT KestravTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include2/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kestrav
  FILES_MATCHING PATTERN "*.h")
install(DIRECTORY ${PROJECT_SOURCE_DIR}/platform/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kestrav/platform
  FILES_MATCHING PATTERN "*.h")
if(TARGET vexactl)
  install(TARGETS vexactl RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

set(_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Kestrav)
install(EXPORT KestravTargets NAMESPACE Kestrav:: DESTINATION ${_package_dir})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/KestravConfig.cmake.in
  ${PROJECT_BINARY_DIR}/KestravConfig.cmake INSTALL_DESTINATION ${_package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KestravConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/KestravConfig.cmake ${PROJECT_BINARY_DIR}/KestravConfigVersion.cmake
  DESTINATION ${_package_dir})

configure_file(${PROJECT_SOURCE_DIR}/cmake/kestrav.pc.in ${PROJECT_BINARY_DIR}/kestrav.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kestrav.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
