// "karvo align": re-aligns a column range of an alignment file with the
// plug-in's window-less entry point and writes the result.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace karvo_app {

struct AlignOptions {
  std::string input;
  std::string range;  // FIRST:LAST, empty for the whole alignment
  std::string matrix = "STRMAT110";
  int gap = 40;
  int prealigned = 0;
  std::string log;          // empty: the plug-in's default name
  bool noLog = false;       // no run log file at all
  std::string inputFormat;  // empty: recognised from the content
  std::string a3mQuery;     // A3M output: the query row's name; empty: the first row
  bool force = false;
  std::string output;  // empty: standard output
  std::string format;  // empty: from the output name, else FASTA
  std::string treeNewick;
  std::string treeSvg;
  std::string distances;               // pairwise tables: TSV, or PHYLIP for .phy and .dist
  std::string order = "input";         // rows of the outputs: "input" or "tree" (the guide tree's leaf order)
  std::string method = "progressive";  // "progressive" or "consistency"
  int consistencyRounds = -1;          // consistency only; -1: not given (the plug-in's default)
  int refine = -1;                     // consistency only; -1: not given (the plug-in's default)
  std::string confidence;              // consistency only: column confidences as TSV
  std::string pluginDir;
  bool quiet = false;
  bool verbose = false;
};

CLI::App* addAlignCommand(CLI::App& parent, AlignOptions& options);
int runAlign(const AlignOptions& options);

}  // namespace karvo_app
