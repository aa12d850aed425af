// The exchange between the host's alignment and a run: which rows are sent,
// how they are packed into the run's matrices and how the result goes back.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "core/matrix.h"
#include "host/alignment.h"
#include "pairwise/engine_options.h"
#include "plugin/zemtra_plugin.h"

// Where the run parameters come from: the dialog, or a host without windows.
class ParameterSource {
 public:
  virtual ~ParameterSource() = default;

  // Asks for the parameters; sequenceCount bounds the prealigned count.
  // False means the user declined the run.
  virtual bool ask(unsigned int sequenceCount) = 0;

  virtual int fixedSubAli() const = 0;
  virtual int matNo() const = 0;
  virtual int gapPenalty() const = 0;
  // The log file name in the file system's encoding.
  virtual std::string logName() const = 0;
  // The folder the log is written in; empty for the personal temporary
  // directory.
  virtual std::string logFolder() const { return {}; }
  // False: no log file, only the text.
  virtual bool writeLogFile() const { return true; }
  // The method and the consistency method's settings; the dialog runs the
  // progressive method.
  virtual ZemtraMethod method() const { return ZemtraMethod::Progressive; }
  virtual int consistencyRounds() const { return ZemtraParameters{}.consistencyRounds; }
  virtual int refineIterations() const { return ZemtraParameters{}.refineIterations; }
  // True: the report keeps the complete log text.
  virtual bool wantLogText() const { return false; }
  // True: the report keeps the pairwise identity and distance tables. The
  // dialog's host, the window, draws the guide tree, which needs them.
  virtual bool wantTables() const { return true; }
  // The engine and thread count the run uses.
  virtual ZemtraEngineSettings engine() const = 0;
};

// The number of sequences as the plug-in counts them: the entries of the
// first column, 0 when the alignment has no columns.
unsigned long sequenceCount(const KARVO::Alignment& alignment);

struct SentRows {
  std::vector<unsigned long> rows;  // host rows, the prealigned ones first
  unsigned int fixed = 0;           // entries of rows taken from the prealigned block
};

// The rows with at least one residue in range: first those of the leading
// prealigned rows, then the others, each group in row order.
SentRows selectSentRows(const KARVO::Alignment& alignment, const KARVO::ColumnRange& range, unsigned long prealigned);

// What one run is given. seqs has twice the range width in columns; cell 0 of
// each row and the cells after the range are left for the run.
struct RunInputs {
  RunInputs(unsigned long rows, unsigned long width);

  // Columns of seqs for a range of that width.
  static unsigned long columnsFor(unsigned long width) { return 2 * width; }
  // Bytes the constructor allocates.
  static std::uint64_t bytesFor(unsigned long rows, unsigned long width);

  KARVO::Matrix<char> seqs;
  KARVO::Matrix<char> names;
  std::vector<unsigned long> len;
  std::vector<unsigned long> nres;
};

// Copies the range of every sent row into seqs (residue codes and '-'), its
// residue count into nres and the first seven characters of its name,
// NUL-padded to eight bytes, into names.
void fillRunInputs(const KARVO::Alignment& alignment, const KARVO::ColumnRange& range,
                   const std::vector<unsigned long>& sent, RunInputs& inputs);

// One string of length characters per host row: cells 1 to length of the
// row's seqs row for sent rows, all gaps for the others.
std::vector<std::string> resultRows(const KARVO::Matrix<char>& seqs, const std::vector<unsigned long>& sent,
                                    unsigned long hostRows, unsigned long length);

// The range of every sent row as text: residue codes and '-'.
std::vector<std::string> rangeTexts(const KARVO::Alignment& alignment, const KARVO::ColumnRange& range,
                                    const std::vector<unsigned long>& sent);

// The exchange with the parameters from the dialog and the run's Qt dialogs.
bool doZemtra(KARVO::Alignment& alignment);

// The engine options of a host's settings.
zemtra::EngineOptions engineOptions(const ZemtraEngineSettings& settings);

// The whole exchange of one call: asks the parameters, sends the selected
// range through the run of the method they name and writes the result back
// (for a run that did not complete, the sent rows as they were sent). True when the alignment
// was rewritten. report, when not null, learns how the call went. The host's
// rearrange throws std::invalid_argument for strings that do not fit; the
// strings built here always fit, and anything thrown passes to the caller.
bool exchangeAlignment(KARVO::Alignment& alignment, ParameterSource& parameters, RunInteraction& interaction,
                       ZemtraRunReport* report);
