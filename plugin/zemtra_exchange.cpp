#include "plugin/zemtra_exchange.h"

#include <algorithm>
#include <cstring>

#include "run/consistency_run.h"
#include "run/zemtra_kv.h"

unsigned long sequenceCount(const KARVO::Alignment& alignment) {
  return alignment.columns.empty() ? 0 : static_cast<unsigned long>(alignment.columns.front().size());
}

namespace {

bool hasResidueIn(const KARVO::Alignment& alignment, unsigned long row, const KARVO::ColumnRange& range) {
  for (unsigned long column = range.first; column < range.second; ++column) {
    if (alignment.getItem(row, column) != nullptr) return true;
  }
  return false;
}

// The progressive run: the range packed into the run's matrices, rows at
// most twice the range width.
std::vector<std::string> progressiveRows(const KARVO::Alignment& alignment, const KARVO::ColumnRange& range,
                                         const SentRows& sent, const ParameterSource& parameters,
                                         RunInteraction& interaction, const RunLogOptions& log, RunDetails& details) {
  RunInputs inputs(sent.rows.size(), range.second - range.first);
  fillRunInputs(alignment, range, sent.rows, inputs);
  interaction.debugMessage("Do the real thing");
  bool ok = false;
  zemtra_kv(interaction, &ok, log, inputs.len.data(), inputs.nres.data(), inputs.names, inputs.seqs, sent.fixed,
            parameters.matNo(), parameters.gapPenalty(), &details, engineOptions(parameters.engine()));
  interaction.debugMessage("Re-alignment by Zemtra done, returning results");
  return resultRows(inputs.seqs, sent.rows, sequenceCount(alignment), inputs.len[0]);
}

// The consistency run: the sent rows' ranges as text, any width back.
std::vector<std::string> consistencyRows(const KARVO::Alignment& alignment, const KARVO::ColumnRange& range,
                                         const SentRows& sent, const ParameterSource& parameters,
                                         RunInteraction& interaction, const RunLogOptions& log, RunDetails& details,
                                         std::vector<float>& columnConfidence) {
  ConsistencyRunInput input;
  input.rows = rangeTexts(alignment, range, sent.rows);
  for (const unsigned long row : sent.rows) input.names.push_back(alignment.GetSeqName(row));
  input.fixed = sent.fixed;
  input.consistencyRounds = parameters.consistencyRounds();
  input.refineIterations = parameters.refineIterations();
  input.threads = zemtra::threadCount(engineOptions(parameters.engine()));
  interaction.debugMessage("Do the real thing");
  ConsistencyRunOutput output = consistencyRun(interaction, log, input, details);
  interaction.debugMessage("Re-alignment by Zemtra done, returning results");
  // A run that did not complete hands back the rows as they were sent.
  std::vector<std::string>& sentBack = output.rows.empty() ? input.rows : output.rows;
  const std::size_t length = sentBack.front().size();
  std::vector<std::string> rows(sequenceCount(alignment), std::string(length, '-'));
  for (std::size_t i = 0; i < sent.rows.size(); ++i) rows[sent.rows[i]] = std::move(sentBack[i]);
  columnConfidence = std::move(output.columnConfidence);
  return rows;
}

}  // namespace

zemtra::EngineOptions engineOptions(const ZemtraEngineSettings& settings) {
  zemtra::EngineOptions options;
  options.reference = settings.reference;
  options.threads = settings.threads;
  return options;
}

SentRows selectSentRows(const KARVO::Alignment& alignment, const KARVO::ColumnRange& range, unsigned long prealigned) {
  const unsigned long count = sequenceCount(alignment);
  prealigned = std::min(prealigned, count);
  SentRows sent;
  sent.rows.reserve(count);
  for (unsigned long row = 0; row < prealigned; ++row) {
    if (hasResidueIn(alignment, row, range)) sent.rows.push_back(row);
  }
  sent.fixed = static_cast<unsigned int>(sent.rows.size());
  for (unsigned long row = prealigned; row < count; ++row) {
    if (hasResidueIn(alignment, row, range)) sent.rows.push_back(row);
  }
  return sent;
}

RunInputs::RunInputs(unsigned long rows, unsigned long width)
    : seqs(rows, columnsFor(width)), names(rows, 8), len(rows, width), nres(rows, 0) {}

std::uint64_t RunInputs::bytesFor(unsigned long rows, unsigned long width) {
  std::uint64_t bytes = KARVO::Matrix<char>::bytesFor(rows, columnsFor(width));
  bytes = KARVO::bytesPlus(bytes, KARVO::Matrix<char>::bytesFor(rows, 8));
  return KARVO::bytesPlus(bytes, KARVO::bytesTimes(rows, 2 * sizeof(unsigned long)));
}

void fillRunInputs(const KARVO::Alignment& alignment, const KARVO::ColumnRange& range,
                   const std::vector<unsigned long>& sent, RunInputs& inputs) {
  const unsigned long width = range.second - range.first;
  for (std::size_t i = 0; i < sent.size(); ++i) {
    const unsigned long row = sent[i];
    char* cells = inputs.seqs[i];
    unsigned long residues = 0;
    for (unsigned long j = 0; j < width; ++j) {
      const KARVO::Residue* item = alignment.getItem(row, range.first + j);
      if (item != nullptr) {
        cells[j + 1] = item->code();
        ++residues;
      } else {
        cells[j + 1] = '-';
      }
    }
    inputs.nres[i] = residues;
    inputs.len[i] = width;

    const std::string name = alignment.GetSeqName(row);
    char* nameCells = inputs.names[i];
    std::memset(nameCells, 0, 8);
    std::memcpy(nameCells, name.data(), std::min<std::size_t>(name.size(), 7));
  }
}

std::vector<std::string> rangeTexts(const KARVO::Alignment& alignment, const KARVO::ColumnRange& range,
                                    const std::vector<unsigned long>& sent) {
  std::vector<std::string> texts;
  texts.reserve(sent.size());
  for (const unsigned long row : sent) {
    std::string text(range.second - range.first, '-');
    for (unsigned long j = 0; j < text.size(); ++j) {
      if (const KARVO::Residue* item = alignment.getItem(row, range.first + j)) text[j] = item->code();
    }
    texts.push_back(std::move(text));
  }
  return texts;
}

std::vector<std::string> resultRows(const KARVO::Matrix<char>& seqs, const std::vector<unsigned long>& sent,
                                    unsigned long hostRows, unsigned long length) {
  std::vector<std::string> rows(hostRows, std::string(length, '-'));
  for (std::size_t i = 0; i < sent.size(); ++i) rows[sent[i]].assign(seqs[i] + 1, length);
  return rows;
}

bool exchangeAlignment(KARVO::Alignment& alignment, ParameterSource& parameters, RunInteraction& interaction,
                       ZemtraRunReport* report) {
  ZemtraRunReport unused;
  ZemtraRunReport& out = report != nullptr ? *report : unused;

  const unsigned long count = sequenceCount(alignment);
  if (!parameters.ask(static_cast<unsigned int>(count))) {
    interaction.debugMessage(" ZemtraClass::doZemtra() ... CANCELLED ");
    out.exchange = ExchangeOutcome::Declined;
    return false;
  }

  interaction.debugMessage("Prepare data for ZEMTRA.");
  // A single prealigned sequence is no prealigned block.
  const int prealigned = parameters.fixedSubAli();
  const unsigned long blockSize = prealigned < 2 ? 0 : static_cast<unsigned long>(prealigned);

  const KARVO::ColumnRange range = alignment.selection;
  if (range.first >= range.second) {
    interaction.debugMessage("No range set for alignment");
    out.exchange = ExchangeOutcome::NoRange;
    return false;
  }

  const SentRows sent = selectSentRows(alignment, range, blockSize);
  out.sentRows = sent.rows;
  out.fixed = sent.fixed;
  if (sent.rows.size() == sent.fixed) {
    interaction.debugMessage("No additional sequences to align");
    out.exchange = ExchangeOutcome::NoAdditionalSequences;
    return false;
  }
  // One sequence has nothing to be aligned with; refusing here leaves the
  // alignment exactly as it was.
  if (sent.rows.size() < 2) {
    interaction.debugMessage("Fewer than two sequences to align");
    out.exchange = ExchangeOutcome::FewerThanTwo;
    return false;
  }

  for (std::size_t i = sent.fixed; i < sent.rows.size(); ++i) alignment.packRow(sent.rows[i], range);

  RunLogOptions log;
  log.folder = parameters.logFolder();
  log.name = parameters.logName();
  log.writeFile = parameters.writeLogFile();
  if (parameters.wantLogText()) log.text = &out.logText;
  log.keepTables = parameters.wantTables();

  RunDetails details;
  const std::vector<std::string> rows =
      parameters.method() == ZemtraMethod::Consistency
          ? consistencyRows(alignment, range, sent, parameters, interaction, log, details, out.columnConfidence)
          : progressiveRows(alignment, range, sent, parameters, interaction, log, details);
  alignment.rearrange(range, rows);
  alignment.stripGapCols({0, alignment.columnCount()});

  out.run = std::move(details);
  out.exchange = ExchangeOutcome::Rewritten;

  interaction.debugMessage("DECRYPT ready");
  return true;
}
