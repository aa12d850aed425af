// A plug-in for the window's tests: it rewrites the selected range (a gap
// column put in front of it), can call back into the test while it runs,
// and can fail after it has changed the alignment.
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/alignment.h"

namespace {

int failure = 0;
void (*probe)() = nullptr;

}  // namespace

extern "C" {

// 0: succeed; 1: throw std::invalid_argument; 2: throw std::bad_alloc.
void faultySetFailure(int kind) { failure = kind; }

// Called in the middle of every run, null for none.
void faultySetProbe(void (*callback)()) { probe = callback; }

bool Execute1(KARVO::Alignment& alignment) {
  const KARVO::ColumnRange range = alignment.selection;
  if (range.first >= range.second) return false;
  std::vector<std::string> rows;
  for (unsigned long row = 0; row < alignment.sequenceCount(); ++row) {
    rows.push_back("-" + alignment.rowText(row).substr(range.first, range.second - range.first));
  }
  alignment.rearrange(range, rows);
  if (probe != nullptr) probe();
  if (failure == 1) throw std::invalid_argument("rows do not fit");
  if (failure == 2) throw std::bad_alloc();
  return true;
}

void Cleanup() {}
}
