# What is installed: the two libraries, the tool, the listed headers, a CMake package and a
# pkg-config file. All of it may be moved to another prefix after the installation.
include(CMakePackageConfigHelpers)

# Headers, by their path below <prefix>/include/kestrav. The build folder gets the same tree, of
# links, for what is compiled as an outside user compiles it.
set(_list ${PROJECT_SOURCE_DIR}/cmake/InstalledHeaders.txt)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${_list})
file(STRINGS ${_list} _platform_headers REGEX "^platform/")
file(GLOB_RECURSE _public_headers CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR}/include2
  ${PROJECT_SOURCE_DIR}/include2/*.h)
set(KESTRAV_INSTALLED_HEADERS ${_public_headers} ${_platform_headers})
set(KESTRAV_INSTALLED_INCLUDE ${PROJECT_BINARY_DIR}/include)
file(REMOVE_RECURSE ${KESTRAV_INSTALLED_INCLUDE})
foreach(header IN LISTS KESTRAV_INSTALLED_HEADERS)
  set(source ${PROJECT_SOURCE_DIR}/${header})
  if(header IN_LIST _public_headers)
    set(source ${PROJECT_SOURCE_DIR}/include2/${header})
  endif()
  get_filename_component(folder kestrav/${header} DIRECTORY)
  install(FILES ${source} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${folder})
  file(MAKE_DIRECTORY ${KESTRAV_INSTALLED_INCLUDE}/${folder})
  file(CREATE_LINK ${source} ${KESTRAV_INSTALLED_INCLUDE}/kestrav/${header} SYMBOLIC)
endforeach()

# <kestrav/Policy.h> and "Policy.h" both work for users. EmailAddressRewriter.h needs Boost.SmartPtr.
target_include_directories(vexapolicy INTERFACE $<BUILD_INTERFACE:${KESTRAV_INSTALLED_INCLUDE}>)
target_link_libraries(vexapolicy INTERFACE Boost::headers)
target_compile_features(vexaplatform INTERFACE cxx_std_20)
install(TARGETS vexaplatform vexapolicy EXPORT KestravTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} ${CMAKE_INSTALL_INCLUDEDIR}/kestrav)
install(TARGETS vexactl RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

# Libraries and tool find each other below any prefix.
file(RELATIVE_PATH _bin_to_lib ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
set_target_properties(vexactl PROPERTIES INSTALL_RPATH "$ORIGIN/${_bin_to_lib}")
set_target_properties(vexaplatform vexapolicy PROPERTIES INSTALL_RPATH "$ORIGIN")

set(_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Kestrav)
install(EXPORT KestravTargets NAMESPACE Kestrav:: DESTINATION ${_package_dir})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/KestravConfig.cmake.in
  ${PROJECT_BINARY_DIR}/KestravConfig.cmake INSTALL_DESTINATION ${_package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KestravConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/KestravConfig.cmake ${PROJECT_BINARY_DIR}/KestravConfigVersion.cmake
  DESTINATION ${_package_dir})

file(RELATIVE_PATH KESTRAV_PC_TO_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig
  ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" KESTRAV_PC_TO_PREFIX ${KESTRAV_PC_TO_PREFIX})
configure_file(${PROJECT_SOURCE_DIR}/cmake/kestrav.pc.in ${PROJECT_BINARY_DIR}/kestrav.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kestrav.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
