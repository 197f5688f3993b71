# A Debian package of the installation (cpack -G DEB in the build directory): the library, its
# headers, the CMake package and pkg-config files, the norvik program with its resources, shell
# completions and manual page. Installed under /usr; the runtime dependencies are read from the
# binaries by dpkg-shlibdeps.
set(CPACK_GENERATOR "DEB")
set(CPACK_PACKAGE_NAME "norvik-foundation-kit")
set(CPACK_PACKAGE_VENDOR "Norvik")
set(CPACK_PACKAGE_CONTACT "Norvik developers <dev@norvik.app>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
    "Recurrence texts, lunar and other calendars, shared settings, and the norvik program")
set(CPACK_PACKAGE_DESCRIPTION
    "The foundation library of the task-and-calendar application with its headers, CMake and "
    "pkg-config files, and norvik, its command-line program: month calendars with lunar texts, "
    "festivals and solar terms, iCalendar export, repeat-rule texts and the shared settings.")
set(CPACK_PACKAGING_INSTALL_PREFIX "/usr")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION "libdevel")
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_LIBDIR})
# What a consumer of the headers compiles against.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS
    "libicu-dev, libical-dev, libsqlite3-dev, libplist-dev, libglib2.0-dev, libsecret-1-dev, nlohmann-json3-dev")
include(CPack)
