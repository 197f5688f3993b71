# Installation: library, public headers, resources, the norvik program, a CMake package
# (find_package(NorvikFoundationKit CONFIG) gives NorvikFoundationKit::NorvikFoundationKit) and a
# pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS NorvikFoundationKit EXPORT NorvikFoundationKitTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/norvik DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(NORVIK_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/NorvikFoundationKit)
install(EXPORT NorvikFoundationKitTargets
  FILE NorvikFoundationKitTargets.cmake
  NAMESPACE NorvikFoundationKit::
  DESTINATION ${NORVIK_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/NorvikFoundationKitConfig.cmake.in
  ${PROJECT_BINARY_DIR}/NorvikFoundationKitConfig.cmake
  INSTALL_DESTINATION ${NORVIK_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/NorvikFoundationKitConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/NorvikFoundationKitConfig.cmake
              ${PROJECT_BINARY_DIR}/NorvikFoundationKitConfigVersion.cmake
        DESTINATION ${NORVIK_CMAKE_DIR})

configure_file(${PROJECT_SOURCE_DIR}/cmake/norvikfoundation.pc.in
  ${PROJECT_BINARY_DIR}/norvikfoundation.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/norvikfoundation.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
