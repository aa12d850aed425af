// Average-linkage cluster tree interleaved with the progressive alignment of
// the joined groups.
#pragma once

#include <cstdint>
#include <ostream>

#include "core/matrix.h"
#include "pairwise/engine_options.h"
#include "plugin/zemtra_types.h"
#include "tree/join_routines.h"

// The tree phase: the guide tree with its progressive merges, recording the
// joins and the family table into history when it is not null (the log and
// every result are the same either way). Both engines give the same bytes.
void tree_kv(std::ostream& log, int matNo, int gap, int* alen, const KARVO::Matrix<char>& names,
             const KARVO::Matrix<float>& fscore, FamilyTable& family, KARVO::Matrix<int>& cmp,
             KARVO::Matrix<char>& seqs, unsigned long* len, KARVO::Matrix<long>& path, unsigned int fixed,
             JoinHistory* history, const zemtra::EngineOptions& engine);

// Bytes tree_kv allocates at most for ns sequences in a working alignment of
// columns columns (seqs.cols()), with that engine, for distances that
// ClusterTracker::applies to (as a run's capped ones are).
std::uint64_t treePhaseBytes(unsigned long ns, unsigned long columns, const zemtra::EngineOptions& engine);
