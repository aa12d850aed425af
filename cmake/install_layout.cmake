# Where an installed tree keeps its parts: the GNU layout under the prefix,
# with the plug-ins and the window library in a folder of karvo's own. Every
# binary finds the others through paths relative to itself ($ORIGIN), so a
# tree moved to another prefix still runs. Included before the folders, which
# take the relative paths from here.
include(GNUInstallDirs)

# Loaded by karvo only, never linked by a host: libkarvo_gui.so.0.
set(ZEMTRA_PRIVATE_LIBDIR ${CMAKE_INSTALL_LIBDIR}/karvo)
# The plug-ins an installed karvo finds without --plugin-dir.
set(ZEMTRA_PLUGIN_INSTALL_DIR ${ZEMTRA_PRIVATE_LIBDIR}/plugins)
# The CMake package a host developer loads with find_package(Zemtra).
set(ZEMTRA_CMAKE_INSTALL_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Zemtra)

# zemtra_relative_dir(VAR FROM TO): the path from one install folder to
# another (both relative to the prefix, or absolute).
function(zemtra_relative_dir var from to)
  foreach(end from to)
    if(IS_ABSOLUTE "${${end}}")
      set(${end}_full "${${end}}")
    else()
      set(${end}_full "${CMAKE_INSTALL_PREFIX}/${${end}}")
    endif()
  endforeach()
  file(RELATIVE_PATH relative "${from_full}" "${to_full}")
  string(REGEX REPLACE "/$" "" relative "${relative}")
  if(relative STREQUAL "")
    set(relative ".")
  endif()
  set(${var} "${relative}" PARENT_SCOPE)
endfunction()

# zemtra_install_rpath(TARGET FROM TO...): the installed TARGET, in folder
# FROM, finds its libraries in each of the folders TO, relative to itself.
function(zemtra_install_rpath target from)
  set(rpath "")
  foreach(to ${ARGN})
    zemtra_relative_dir(relative "${from}" "${to}")
    if(relative STREQUAL ".")
      list(APPEND rpath "\$ORIGIN")
    else()
      list(APPEND rpath "\$ORIGIN/${relative}")
    endif()
  endforeach()
  list(REMOVE_DUPLICATES rpath)
  set_target_properties(${target} PROPERTIES INSTALL_RPATH "${rpath}")
endfunction()

# What karvo adds to its own folder to find the installed plug-ins and the
# window library.
zemtra_relative_dir(ZEMTRA_PLUGIN_DIR_FROM_BIN ${CMAKE_INSTALL_BINDIR} ${ZEMTRA_PLUGIN_INSTALL_DIR})
zemtra_relative_dir(ZEMTRA_PRIVATE_LIBDIR_FROM_BIN ${CMAKE_INSTALL_BINDIR} ${ZEMTRA_PRIVATE_LIBDIR})
