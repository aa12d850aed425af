# The installed tree, the Debian packages and the workflow, each checked by
# pytest against this build folder: one `cmake --install` into a scratch
# prefix, one `cpack -G DEB` into a scratch folder, one Snakemake run. They
# need the whole build, so they run after it like every other test; the
# sanitizer build leaves them out (they check the layout, not memory).
# Included by cmake/install.cmake, once the interpreter is known.
if(ZEMTRA_SANITIZE)
  return()
endif()
if(NOT Python3_Interpreter_FOUND)
  message(STATUS "install tests left out: no Python interpreter")
  return()
endif()

set(install_test_environment
  ZEMTRA_BUILD_DIR=${CMAKE_BINARY_DIR}
  ZEMTRA_SOURCE_DIR=${PROJECT_SOURCE_DIR}
  ZEMTRA_INSTALL_LIBDIR=${CMAKE_INSTALL_LIBDIR}
  ZEMTRA_CXX=${CMAKE_CXX_COMPILER}
  KARVO=$<TARGET_FILE:karvo_app>)
foreach(test tree packages workflow)
  add_test(NAME install_${test}
    COMMAND ${Python3_EXECUTABLE} -m pytest -q -rs -p no:cacheprovider ${PROJECT_SOURCE_DIR}/tests/install/test_${test}.py)
  set_tests_properties(install_${test} PROPERTIES ENVIRONMENT "${install_test_environment}" TIMEOUT 600)
endforeach()
# Without Snakemake the workflow test says so and counts as skipped.
set_tests_properties(install_workflow PROPERTIES SKIP_REGULAR_EXPRESSION "snakemake is not installed")
