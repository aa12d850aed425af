// What a consistency run hands its host besides the rows, in the shapes the
// progressive run uses: the guide tree as a join history, and square tables
// over the run rows.
#pragma once

#include <string>
#include <vector>

#include "consistency/consistency.h"
#include "plugin/zemtra_types.h"

// The guide tree's joins as a join history: each join names the lowest run
// row of either group (the lower one first, and the merged group keeps it),
// its distance is 1 - expected accuracy of the two groups, and families
// holds one row, the leaves in joining order (1-based), which is the
// branching order the tree drawing takes. The first fixed - 1 joins, those
// of a prealigned block of two or more rows, get NaN like the progressive
// run's block, which was never compared either.
JoinHistory joinHistoryOf(const std::vector<zemtra::consistency::TreeJoin>& tree, unsigned long rows, unsigned fixed);

// n x n, row-major: for every pair of rows, the percent of identical
// residues among the columns where both have one (0 when there is none);
// 100 on the diagonal. rows are aligned rows of one width, '-' for gaps.
std::vector<float> alignedIdentity(const std::vector<std::string>& rows);

// n x n, row-major: for every pair of rows, the distance of the join that
// united them in the guide tree; 0 on the diagonal.
std::vector<float> joinDistanceTable(const std::vector<zemtra::consistency::TreeJoin>& tree, unsigned long rows);
