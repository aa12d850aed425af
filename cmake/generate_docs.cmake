# cmake -DKARVO=path/to/karvo -DOUTPUT_DIR=dir -P generate_docs.cmake
# Writes karvo's manual pages (karvo.1 and one per command, the commands
# taken from karvo.1's own list of pages) and its bash completion
# (karvo.bash), each rendered by karvo from its option definitions.
function(run_to_file file)
  execute_process(COMMAND "${KARVO}" ${ARGN} OUTPUT_FILE "${file}.new" RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${KARVO} ${ARGN} failed (${status})")
  endif()
  file(RENAME "${file}.new" "${file}")
endfunction()

file(MAKE_DIRECTORY "${OUTPUT_DIR}")
run_to_file("${OUTPUT_DIR}/karvo.1" --man-page)
run_to_file("${OUTPUT_DIR}/karvo.bash" --bash-completion)
file(READ "${OUTPUT_DIR}/karvo.1" program_page)
string(REGEX MATCHALL "fBkarvo\\\\-([a-z]+)\\\\fR\\(1\\)" references "${program_page}")
list(REMOVE_DUPLICATES references)
foreach(reference ${references})
  string(REGEX REPLACE "fBkarvo\\\\-([a-z]+).*" "\\1" command "${reference}")
  run_to_file("${OUTPUT_DIR}/karvo-${command}.1" --man-page ${command})
endforeach()
