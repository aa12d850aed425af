# Run by CPack on its staging folder before the packages are made, for what
# Debian packages carry and a plain install tree does not: manual pages
# compressed (gzip -9n: no name or time stamp in the file) and a changelog.
file(GLOB_RECURSE pages "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*.1")
list(FILTER pages INCLUDE REGEX "/share/man/man1/[^/]+\\.1$")
foreach(page ${pages})
  execute_process(COMMAND gzip -9nf "${page}" RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "gzip ${page} failed")
  endif()
endforeach()

# Each package's Debian changelog, one entry for this version.
string(TIMESTAMP changelog_date "%a, %d %b %Y %H:%M:%S +0000" UTC)
file(GLOB components LIST_DIRECTORIES true "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*")
foreach(component_dir ${components})
  get_filename_component(component ${component_dir} NAME)
  string(TOUPPER ${component} component)
  set(package "${CPACK_DEBIAN_${component}_PACKAGE_NAME}")
  if(NOT IS_DIRECTORY ${component_dir} OR package STREQUAL "")
    continue()
  endif()
  set(doc_dir "${component_dir}${CPACK_PACKAGING_INSTALL_PREFIX}/share/doc/${package}")
  file(MAKE_DIRECTORY "${doc_dir}")
  file(WRITE "${doc_dir}/changelog"
    "${package} (${CPACK_PACKAGE_VERSION}) unstable; urgency=medium\n\n"
    "  * Version ${CPACK_PACKAGE_VERSION}.\n\n"
    " -- ${CPACK_PACKAGE_CONTACT}  ${changelog_date}\n")
  execute_process(COMMAND gzip -9nf "${doc_dir}/changelog")
endforeach()
