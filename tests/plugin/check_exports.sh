#!/bin/sh
# check_exports.sh LIBRARY EXPECTED: the library's defined dynamic symbols,
# demangled and sorted, must be exactly the lines of EXPECTED.
set -eu
nm -D --defined-only --demangle "$1" | sed 's/^[0-9a-f]* [A-Za-z] //' | LC_ALL=C sort | diff -u "$2" -
