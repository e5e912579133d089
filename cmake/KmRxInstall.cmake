# Installs the libraries, headers, CMake package and pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS KmRx KmPlatformBase EXPORT KmRxTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  PUBLIC_HEADER DESTINATION ${KMRX_INSTALL_INCLUDEDIR}
  INCLUDES DESTINATION ${KMRX_INSTALL_INCLUDEDIR})

# The sample host's API for modules, so example modules build against the package.
install(FILES host/YrxHostApi.h DESTINATION ${KMRX_INSTALL_INCLUDEDIR})

set(KMRX_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/KmRx)
install(EXPORT KmRxTargets NAMESPACE KmRx:: DESTINATION ${KMRX_CMAKE_DIR})
configure_package_config_file(cmake/KmRxConfig.cmake.in
  ${PROJECT_BINARY_DIR}/KmRxConfig.cmake INSTALL_DESTINATION ${KMRX_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KmRxConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/KmRxConfig.cmake
              ${PROJECT_BINARY_DIR}/KmRxConfigVersion.cmake
              cmake/KmRxModule.cmake
        DESTINATION ${KMRX_CMAKE_DIR})

# Relative to the .pc file, so the package can be installed under any prefix.
file(RELATIVE_PATH KMRX_PC_TO_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
configure_file(cmake/kmrx.pc.in ${PROJECT_BINARY_DIR}/kmrx.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kmrx.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
