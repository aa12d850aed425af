// One re-alignment run: log location, banner, pairwise phase, tables, the
// multiple alignment phase and the run log.
#pragma once

#include <string>
#include <vector>

#include "core/matrix.h"
#include "pairwise/engine_options.h"
#include "plugin/zemtra_types.h"

// Where and how the run log is kept, and what else the caller keeps.
struct RunLogOptions {
  std::string folder;           // empty: the personal temporary directory, made when missing
  std::string name;             // the file name below folder, in the file system's encoding
  bool writeFile = true;        // false: no file, no overwrite question; the text is only kept
  std::string* text = nullptr;  // when not null, receives the complete log text
  bool keepTables = false;      // the details receive the pairwise identity and distance tables
};

// The run through any interaction; logName is the file name in the file
// system's encoding. details, when not null, receives how the run ended and
// its join history. The engine is the caller's choice; every byte of the log
// and every row of the result are the same either way.
void zemtra_kv(RunInteraction& interaction, bool* ok, const std::string& logName, unsigned long* len,
               unsigned long* nres, const KARVO::Matrix<char>& names, KARVO::Matrix<char>& seqs, unsigned int fixed,
               int matNo, int gap, RunDetails* details, const zemtra::EngineOptions& engine);

// The run with its log placed as log says. A folder given by the caller must
// exist; it is not made.
void zemtra_kv(RunInteraction& interaction, bool* ok, const RunLogOptions& log, unsigned long* len, unsigned long* nres,
               const KARVO::Matrix<char>& names, KARVO::Matrix<char>& seqs, unsigned int fixed, int matNo, int gap,
               RunDetails* details, const zemtra::EngineOptions& engine);
