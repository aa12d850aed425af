// Entry points of the plug-in, looked up by name. libZemtra.so.0 has them
// all; libZemtraBatch.so.0, the same plug-in without its window for hosts
// that have none, has all but Execute1 and loads no toolkit.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "run/run_interaction.h"
#include "run/zemtra_kv.h"

namespace KARVO {
class Alignment;
}

// The four run parameters that the dialog otherwise asks for.
struct ZemtraParameters {
  int matNo = 0;
  int gap = 40;
  int prealigned = 0;
  std::string logName = "zemtra.log";  // in the file system's encoding
};

// A node of the guide tree as the tree builder places it; left and right
// index the node list (-1 for none); index is the run row of a leaf, -1 for
// an inner node.
struct GuideTreeNode {
  int id = 0;
  int size = 1;
  long index = -1;
  float height = 0.0f;
  float x = 0.0f;
  int left = -1;
  int right = -1;
};

// What a window-less host learns about one call.
enum class ExchangeOutcome {
  Rewritten,              // the run driver ran and the range was written back
  NoRange,                // "No range set for alignment"
  NoAdditionalSequences,  // "No additional sequences to align"
  FewerThanTwo,           // "Fewer than two sequences to align"
  Declined,               // the parameters were not given (dialog cancelled)
};

struct ZemtraRunReport {
  // Set by the caller: whether to build the guide tree. The tree builder
  // ends the process when it runs out of memory, so a host that draws no
  // tree leaves it off and keeps every allocation failure catchable.
  bool wantTree = true;
  ExchangeOutcome exchange = ExchangeOutcome::NoRange;
  RunDetails run;                       // valid when exchange is Rewritten
  std::vector<unsigned long> sentRows;  // host row of each run row
  unsigned int fixed = 0;
  std::vector<GuideTreeNode> tree;  // empty unless the tree phase ran
  int treeRoot = -1;
};

extern "C" {

// Shows the parameter dialog (libZemtra.so.0 only) and re-aligns the alignment's selected range.
// True when the alignment was rewritten. Exceptions of the host's alignment
// (std::invalid_argument from rearrange for strings that do not fit, which
// the plug-in never builds) and std::bad_alloc pass to the caller.
bool Execute1(KARVO::Alignment& alignment);

// Nothing to release: the plug-in keeps no state between calls.
void Cleanup();

// Window-less entry point: the same steps as Execute1 without the dialog.
// report may be null.
bool ExecuteWithParameters(KARVO::Alignment& alignment, const ZemtraParameters& parameters, RunInteraction& interaction,
                           ZemtraRunReport* report);

using ExecuteWithParametersFn = bool (*)(KARVO::Alignment&, const ZemtraParameters&, RunInteraction&, ZemtraRunReport*);

// Where the plug-in's own debug texts go (the fixed texts written just
// before the engine ends the process, among them): at first standard error
// in libZemtraBatch.so.0 and Qt's debug output in libZemtra.so.0; null
// means standard error. Returns the previous output.
using DebugOutputFn = void (*)(const char* text);
DebugOutputFn SetDebugOutput(DebugOutputFn output);
using SetDebugOutputFn = DebugOutputFn (*)(DebugOutputFn);

// Bytes a run of that many sequences over a range of width columns holds at
// its peak, worked out from the sizes the run allocates: the engine and
// thread count it will use (threads 0: as the run chooses them, from
// ZEMTRA_REFERENCE_ENGINE and ZEMTRA_THREADS or one per core). Saturates
// instead of overflowing.
std::uint64_t EstimateRunMemory(unsigned long sequences, unsigned long width, unsigned threads);
using EstimateRunMemoryFn = std::uint64_t (*)(unsigned long, unsigned long, unsigned);
}
