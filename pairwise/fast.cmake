# Fast pairwise routines: rolling-row dynamic programming, the multi-pair
# SIMD kernel and group comparison from residue counts. Included from
# pairwise/CMakeLists.txt; every SIMD file gets its own instruction-set flags
# and is only called after a run-time CPU check.
set(zemtra_fast_dir ${CMAKE_CURRENT_LIST_DIR})
zemtra_require(Threads libc6-dev)
add_library(zemtra_pairwise_fast STATIC
  ${zemtra_fast_dir}/engine_options.cpp
  ${zemtra_fast_dir}/fast_dp.cpp
  ${zemtra_fast_dir}/simd/dispatch.cpp
  ${zemtra_fast_dir}/fast_measures.cpp
  ${zemtra_fast_dir}/group_profile.cpp
  ${zemtra_fast_dir}/simd/pair_batch.cpp
  ${zemtra_fast_dir}/simd/fill_portable.cpp)
target_link_libraries(zemtra_pairwise_fast PUBLIC zemtra_pairwise Threads::Threads)
# The single-pair row pass is an integer-only loop that vectorises exactly;
# -O2's default cost model just declines to.
# (a GCC option; clang vectorises it without being asked)
set(zemtra_row_pass_options "$<$<CXX_COMPILER_ID:GNU>:-fvect-cost-model=dynamic>")
target_sources(zemtra_pairwise_fast PRIVATE ${zemtra_fast_dir}/simd/row_pass_baseline.cpp)
set_source_files_properties(${zemtra_fast_dir}/simd/row_pass_baseline.cpp
  PROPERTIES COMPILE_OPTIONS "${zemtra_row_pass_options}")

if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$")
  target_sources(zemtra_pairwise_fast PRIVATE
    ${zemtra_fast_dir}/simd/fill_sse2.cpp
    ${zemtra_fast_dir}/simd/fill_avx2.cpp
    ${zemtra_fast_dir}/simd/fill_avx512.cpp
    ${zemtra_fast_dir}/simd/row_pass_avx2.cpp
    ${zemtra_fast_dir}/simd/row_pass_avx512.cpp)
  set_source_files_properties(${zemtra_fast_dir}/simd/fill_sse2.cpp PROPERTIES COMPILE_OPTIONS "-msse2")
  set_source_files_properties(${zemtra_fast_dir}/simd/fill_avx2.cpp PROPERTIES COMPILE_OPTIONS "-mavx2")
  set_source_files_properties(${zemtra_fast_dir}/simd/fill_avx512.cpp
    PROPERTIES COMPILE_OPTIONS "-mavx512f;-mavx512bw")
  set_source_files_properties(${zemtra_fast_dir}/simd/row_pass_avx2.cpp
    PROPERTIES COMPILE_OPTIONS "${zemtra_row_pass_options};-mavx2")
  set_source_files_properties(${zemtra_fast_dir}/simd/row_pass_avx512.cpp
    PROPERTIES COMPILE_OPTIONS "${zemtra_row_pass_options};-mavx512f;-mavx512bw")
  target_compile_definitions(zemtra_pairwise_fast PRIVATE ZEMTRA_X86_KERNELS)
endif()
