# Installation: library, public headers, resources, the norvik program, a CMake package
# (find_package(NorvikFoundationKit CONFIG) gives NorvikFoundationKit::NorvikFoundationKit) and a
# pkg-config file. Three components, one Debian package each: "runtime" (the shared library and
# its bundles), "dev" (headers, the link name, CMake and pkg-config files) and "program" (norvik,
# its completions and manual page).
include(CMakePackageConfigHelpers)

# The include directory reaches the exported target once, from its INSTALL_INTERFACE.
install(TARGETS NorvikFoundationKit EXPORT NorvikFoundationKitTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/norvik DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  COMPONENT dev)

set(NORVIK_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/NorvikFoundationKit)
install(EXPORT NorvikFoundationKitTargets
  FILE NorvikFoundationKitTargets.cmake
  NAMESPACE NorvikFoundationKit::
  DESTINATION ${NORVIK_CMAKE_DIR}
  COMPONENT dev)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/NorvikFoundationKitConfig.cmake.in
  ${PROJECT_BINARY_DIR}/NorvikFoundationKitConfig.cmake
  INSTALL_DESTINATION ${NORVIK_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/NorvikFoundationKitConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/NorvikFoundationKitConfig.cmake
              ${PROJECT_BINARY_DIR}/NorvikFoundationKitConfigVersion.cmake
        DESTINATION ${NORVIK_CMAKE_DIR}
        COMPONENT dev)

# The .pc file finds the prefix relative to itself, so that the installation can be moved.
file(RELATIVE_PATH NORVIK_PC_PREFIX_FROM_PCFILEDIR "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig"
     "/prefix")
configure_file(${PROJECT_SOURCE_DIR}/cmake/norvikfoundation.pc.in
  ${PROJECT_BINARY_DIR}/norvikfoundation.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/norvikfoundation.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
  COMPONENT dev)
