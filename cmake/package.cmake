# Debian packages with CPack, one per install component, built from the
# configured build folder with `cpack -G DEB` (into a folder of one's own
# with -B). A server install takes karvo alone and pulls in no Qt:
#   karvo           command line, host libraries, window-less plug-in
#   karvo-gui       the window and the windowed plug-in (Qt 6)
#   zemtra-dev      headers, CMake package, pkg-config file
#   python3-zemtra  the zemtra Python module
# Library dependencies on other Debian packages are computed with
# dpkg-shlibdeps; those between these packages are stated below.
set(CPACK_PACKAGE_NAME zemtra)
set(CPACK_PACKAGE_VENDOR "Zemtra developers")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
# Each package's description below starts with its own synopsis line, so no
# summary common to all of them is set.
set(CPACK_PACKAGE_HOMEPAGE_URL "https://zemtra.invalid/")
set(ZEMTRA_PACKAGE_MAINTAINER "Zemtra developers <maintainers@zemtra.invalid>"
  CACHE STRING "Maintainer field of the Debian packages")
set(CPACK_PACKAGE_CONTACT "${ZEMTRA_PACKAGE_MAINTAINER}")
set(CPACK_STRIP_FILES ON)

set(CPACK_COMPONENTS_ALL runtime dev)
if(TARGET karvo_gui)
  list(APPEND CPACK_COMPONENTS_ALL gui)
endif()
if(ZEMTRA_PYTHON AND NOT ZEMTRA_PYTHON_BUNDLE)
  list(APPEND CPACK_COMPONENTS_ALL python)
endif()

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# dpkg-shlibdeps runs in each component's staging folder; the libraries of
# the karvo package, which the others link, are in its folder beside it.
# The dependencies on the karvo package itself are stated below.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
  ../runtime${CPACK_PACKAGING_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}
  ../runtime${CPACK_PACKAGING_INSTALL_PREFIX}/${ZEMTRA_PLUGIN_INSTALL_DIR})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
# A component's DEPENDS below become "karvo (= VERSION)" in Depends.
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_PACKAGE_SECTION science)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME karvo)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "re-aligns column ranges of protein multiple alignments
The karvo command line with the window-less Zemtra plug-in and the host
libraries libkarvo_core and libkarvo_formats. Loads no toolkit.")

set(CPACK_DEBIAN_GUI_PACKAGE_NAME karvo-gui)
set(CPACK_DEBIAN_GUI_PACKAGE_SECTION science)
set(CPACK_COMPONENT_GUI_DEPENDS runtime)
set(CPACK_DEBIAN_GUI_DESCRIPTION "karvo's desktop window and the windowed Zemtra plug-in
The alignment window of karvo (karvo gui), the windowed plug-in
libZemtra.so.0 and the dialog library libkarvo, built on Qt 6.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME zemtra-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEV_DEPENDS runtime)
set(CPACK_DEBIAN_DEV_DESCRIPTION "development files for hosts of the Zemtra plug-in
The plug-in contract header zemtra/zemtra_plugin.h, the host library
headers, the CMake package (find_package(Zemtra)) and zemtra.pc.")

set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-zemtra)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_COMPONENT_PYTHON_DEPENDS runtime)
# The module is built for this interpreter's version.
if(Python3_FOUND)
  math(EXPR python_next_minor "${Python3_VERSION_MINOR} + 1")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
    "python3 (>= ${Python3_VERSION_MAJOR}.${Python3_VERSION_MINOR}), python3 (<< ${Python3_VERSION_MAJOR}.${python_next_minor})")
endif()
set(CPACK_DEBIAN_PYTHON_DESCRIPTION "Python module running the Zemtra plug-in in-process
zemtra.realign re-aligns Biopython alignments, lists of pairs or dicts with
the window-less plug-in, without starting karvo.")

# Compressed manual pages and a changelog in every package.
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/package_staging.cmake)
# The packages with libraries in the linker's folder have the loader's cache
# refreshed by a trigger.
file(WRITE ${CMAKE_BINARY_DIR}/cmake/debian/triggers "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${CMAKE_BINARY_DIR}/cmake/debian/triggers)
set(CPACK_DEBIAN_GUI_PACKAGE_CONTROL_EXTRA ${CMAKE_BINARY_DIR}/cmake/debian/triggers)

include(CPack)
