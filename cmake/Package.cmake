# Debian packages of the installation (cpack -G DEB in the build directory), split as Debian splits
# a C++ library: the runtime library with its bundles, its -dev package (headers, link name, CMake
# and pkg-config files) and the norvik program (with its completions and compressed manual page).
# Installed under /usr with the library in the multiarch directory; the dependencies on system
# libraries are read from the binaries by dpkg-shlibdeps.
set(CPACK_GENERATOR "DEB")
set(CPACK_PACKAGE_NAME "norvik-foundation-kit")
set(CPACK_PACKAGE_VENDOR "Norvik")
set(CPACK_PACKAGE_CONTACT "Norvik developers <dev@norvik.app>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX "/usr")
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime dev program)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_LIBDIR})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://norvik.app")

set(norvik_runtime_package "libnorvikfoundation${PROJECT_VERSION_MAJOR}")
set(norvik_exact_runtime "${norvik_runtime_package} (= ${PROJECT_VERSION})")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${norvik_runtime_package})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION "libs")
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
    "recurrence texts, lunar and other calendars, shared settings (library)
The foundation library of the task-and-calendar application: one-line texts of recurrence rules
in 37 languages, the Chinese, Korean and Vietnamese lunar calendars with festivals and solar
terms, the Hebrew, Hijri, Persian and Indian calendars, and the settings shared by the
application's processes. This package holds the shared library and its translations.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME "libnorvikfoundation-dev")
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION "libdevel")
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS ${norvik_exact_runtime})
set(CPACK_COMPONENT_DEV_DESCRIPTION
    "recurrence texts, lunar and other calendars, shared settings (development files)
The foundation library of the task-and-calendar application: one-line texts of recurrence rules
in 37 languages, lunar and other calendars, and shared settings. This package holds the C++20
headers, the CMake package (find_package(NorvikFoundationKit)) and the pkg-config file
(norvikfoundation).")

set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME "norvik")
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION "utils")
set(CPACK_DEBIAN_PROGRAM_PACKAGE_DEPENDS ${norvik_exact_runtime})
set(CPACK_COMPONENT_PROGRAM_DESCRIPTION
    "month calendars with lunar texts, repeat-rule texts and iCalendar feeds
norvik is the command-line program of the task-and-calendar application's foundation library:
month calendars with lunar days, festivals and solar terms, iCalendar export, the texts and
occurrences of repeat rules, and the shared settings.")
include(CPack)
