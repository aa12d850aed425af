# What `cmake --install build --prefix PREFIX` puts where (GNU layout, see
# install_layout.cmake), in four components that become the Debian packages:
#   runtime  bin/karvo, libkarvo_core, libkarvo_formats, the window-less
#            plug-in libZemtraBatch.so.0, manual pages, bash completion
#   gui      the window: libkarvo_gui, libkarvo, libZemtra.so.0 (Qt 6)
#   dev      the contract header and host headers, the CMake package
#            (find_package(Zemtra)) and the pkg-config file zemtra.pc
#   python   the zemtra module, in the interpreter's site folder
# Every path between installed binaries is relative ($ORIGIN), so a tree
# moved to another prefix still runs.
include(CMakePackageConfigHelpers)

# The host libraries carry a SONAME; the plug-ins have theirs (.so.0) already.
set_target_properties(karvo_core karvo_formats PROPERTIES SOVERSION 0)
if(TARGET karvo)
  set_target_properties(karvo PROPERTIES SOVERSION 0)
endif()

# The headers the plug-in contract needs besides itself, in one list: the
# contract goes to include/zemtra/zemtra_plugin.h, these below include/zemtra
# keeping their folders, the way the contract includes them. The contract
# needs nothing but the standard library and its own types.
set(ZEMTRA_CONTRACT_HEADERS plugin/zemtra_types.h)
# The host platform's headers (libkarvo_core, libkarvo_formats; libkarvo's
# with the window), below include/karvo.
set(KARVO_CORE_HEADERS host/alignment.h host/config.h host/file_io.h host/logger.h)
set(KARVO_FORMATS_HEADERS
  formats/alignment_formats.h
  formats/alignment_io.h
  formats/gzip.h
  formats/input_notes.h
  formats/phylo_tree.h)
set(KARVO_WINDOW_HEADERS host/base_dialog.h host/widget_factory.h)

set(ZEMTRA_CONTRACT_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/zemtra)
set(KARVO_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/karvo)

# --- Binaries ---------------------------------------------------------------

zemtra_install_rpath(karvo_app ${CMAKE_INSTALL_BINDIR} ${CMAKE_INSTALL_LIBDIR})
install(TARGETS karvo_app RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)

# The host libraries: $ORIGIN for each other (and for the Python package,
# which puts them beside its module).
foreach(library karvo_core karvo_formats)
  zemtra_install_rpath(${library} ${CMAKE_INSTALL_LIBDIR} ${CMAKE_INSTALL_LIBDIR})
endforeach()
target_include_directories(karvo_core INTERFACE $<INSTALL_INTERFACE:${KARVO_INCLUDEDIR}>)
install(TARGETS karvo_core karvo_formats EXPORT ZemtraTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev)

# The plug-ins find the host libraries two folders up; $ORIGIN serves the
# Python package's single folder.
foreach(plugin ZemtraBatch Zemtra)
  if(TARGET ${plugin})
    zemtra_install_rpath(${plugin} ${ZEMTRA_PLUGIN_INSTALL_DIR} ${ZEMTRA_PLUGIN_INSTALL_DIR} ${CMAKE_INSTALL_LIBDIR})
  endif()
endforeach()
install(TARGETS ZemtraBatch LIBRARY DESTINATION ${ZEMTRA_PLUGIN_INSTALL_DIR} COMPONENT runtime NAMELINK_SKIP)

if(TARGET karvo_gui)
  zemtra_install_rpath(karvo ${CMAKE_INSTALL_LIBDIR} ${CMAKE_INSTALL_LIBDIR})
  zemtra_install_rpath(karvo_gui ${ZEMTRA_PRIVATE_LIBDIR} ${CMAKE_INSTALL_LIBDIR})
  target_include_directories(karvo INTERFACE $<INSTALL_INTERFACE:${KARVO_INCLUDEDIR}>)
  install(TARGETS karvo EXPORT ZemtraGuiTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT gui NAMELINK_COMPONENT dev)
  install(TARGETS Zemtra LIBRARY DESTINATION ${ZEMTRA_PLUGIN_INSTALL_DIR} COMPONENT gui NAMELINK_SKIP)
  install(TARGETS karvo_gui LIBRARY DESTINATION ${ZEMTRA_PRIVATE_LIBDIR} COMPONENT gui NAMELINK_SKIP)
endif()

# --- Headers, CMake package, pkg-config ---------------------------------------

install(FILES plugin/zemtra_plugin.h DESTINATION ${ZEMTRA_CONTRACT_INCLUDEDIR} COMPONENT dev)
foreach(header ${ZEMTRA_CONTRACT_HEADERS})
  get_filename_component(folder ${header} DIRECTORY)
  install(FILES ${header} DESTINATION ${ZEMTRA_CONTRACT_INCLUDEDIR}/${folder} COMPONENT dev)
endforeach()
foreach(header ${KARVO_CORE_HEADERS} ${KARVO_FORMATS_HEADERS})
  get_filename_component(folder ${header} DIRECTORY)
  install(FILES ${header} DESTINATION ${KARVO_INCLUDEDIR}/${folder} COMPONENT dev)
endforeach()
if(TARGET karvo)
  install(FILES ${KARVO_WINDOW_HEADERS} DESTINATION ${KARVO_INCLUDEDIR}/host COMPONENT dev)
endif()

# Zemtra::plugin_headers: the contract (and the alignment it takes, from
# libkarvo_core) for a host that loads the plug-in with dlopen.
add_library(zemtra_plugin_headers INTERFACE)
set_target_properties(zemtra_plugin_headers PROPERTIES EXPORT_NAME plugin_headers)
target_include_directories(zemtra_plugin_headers INTERFACE
  $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}> $<INSTALL_INTERFACE:${ZEMTRA_CONTRACT_INCLUDEDIR}>)
target_link_libraries(zemtra_plugin_headers INTERFACE karvo_core ${CMAKE_DL_LIBS})
install(TARGETS zemtra_plugin_headers EXPORT ZemtraTargets)

install(EXPORT ZemtraTargets NAMESPACE Zemtra:: DESTINATION ${ZEMTRA_CMAKE_INSTALL_DIR} COMPONENT dev)
if(TARGET karvo)
  # With the window's package, next to the libraries it names.
  install(EXPORT ZemtraGuiTargets NAMESPACE Zemtra:: DESTINATION ${ZEMTRA_CMAKE_INSTALL_DIR} COMPONENT gui)
endif()
configure_package_config_file(cmake/ZemtraConfig.cmake.in ${CMAKE_BINARY_DIR}/cmake/ZemtraConfig.cmake
  INSTALL_DESTINATION ${ZEMTRA_CMAKE_INSTALL_DIR}
  PATH_VARS ZEMTRA_PLUGIN_INSTALL_DIR)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/cmake/ZemtraConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/cmake/ZemtraConfig.cmake ${CMAKE_BINARY_DIR}/cmake/ZemtraConfigVersion.cmake
  DESTINATION ${ZEMTRA_CMAKE_INSTALL_DIR} COMPONENT dev)

# zemtra.pc, relative to its own folder so that a moved tree stays right.
zemtra_relative_dir(pc_to_prefix ${CMAKE_INSTALL_LIBDIR}/pkgconfig "")
configure_file(cmake/zemtra.pc.in ${CMAKE_BINARY_DIR}/cmake/zemtra.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/cmake/zemtra.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)

# --- Manual pages and completion --------------------------------------------

# Rendered by the built karvo from its own option definitions whenever it
# changes: karvo.1 and karvo-COMMAND.1 for each command, and the bash
# completion script.
set(ZEMTRA_DOCS_DIR ${CMAKE_BINARY_DIR}/docs)
add_custom_command(OUTPUT ${ZEMTRA_DOCS_DIR}/karvo.1 ${ZEMTRA_DOCS_DIR}/karvo.bash
  COMMAND ${CMAKE_COMMAND} -DKARVO=$<TARGET_FILE:karvo_app> -DOUTPUT_DIR=${ZEMTRA_DOCS_DIR}
    -P ${PROJECT_SOURCE_DIR}/cmake/generate_docs.cmake
  DEPENDS karvo_app ${PROJECT_SOURCE_DIR}/cmake/generate_docs.cmake
  COMMENT "Manual pages and bash completion of karvo")
add_custom_target(karvo_docs ALL DEPENDS ${ZEMTRA_DOCS_DIR}/karvo.1 ${ZEMTRA_DOCS_DIR}/karvo.bash)

set(man_dir ${CMAKE_INSTALL_MANDIR}/man1)
install(DIRECTORY ${ZEMTRA_DOCS_DIR}/ DESTINATION ${man_dir} COMPONENT runtime
  FILES_MATCHING PATTERN "*.1" PATTERN "karvo-gui.1" EXCLUDE)
install(FILES ${ZEMTRA_DOCS_DIR}/karvo-gui.1 DESTINATION ${man_dir} COMPONENT gui)
install(FILES ${ZEMTRA_DOCS_DIR}/karvo.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
  RENAME karvo COMPONENT runtime)

if(ZEMTRA_BUILD_TESTS)
  include(${PROJECT_SOURCE_DIR}/tests/install/install_tests.cmake)
endif()
