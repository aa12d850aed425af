// Alignment files. The readers are small and strict on purpose: a
// general-purpose sequence library would be a large extra dependency, and
// the usual ones (Bio++'s reader among them) report a malformed file without
// the line and column of the fault, which a user needs to fix the file. So
// every format is read here, and every error names file:line:column.
#include "formats/alignment_io.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <sstream>
#include <stdexcept>

#include "formats/alignment_formats.h"
#include "formats/gzip.h"
#include "host/file_io.h"

namespace KARVO {

namespace {

std::string errorText(const std::string& file, unsigned long line, unsigned long column, const std::string& problem) {
  std::string text = file;
  if (line > 0) text += ":" + std::to_string(line);
  if (line > 0 && column > 0) text += ":" + std::to_string(column);
  return text + ": " + problem;
}

}  // namespace

bool formats::isControlByte(unsigned char byte) {
  return (byte < 0x20 && byte != '\t' && byte != '\n' && byte != '\r') || byte == 0x7f;
}

formats::TextFile formats::splitLines(const std::string& content, const std::string& displayName) {
  formats::TextFile file{displayName, {}, std::nullopt};
  std::size_t start = 0;
  bool afterPirHeader = false;
  while (start < content.size()) {
    std::size_t end = content.find('\n', start);
    if (end == std::string::npos) end = content.size();
    std::string text = content.substr(start, end - start);
    // A header line, or the description line under a PIR header.
    const bool title = (!text.empty() && text.front() == '>') || afterPirHeader;
    afterPirHeader = isPirHeader(text);
    const auto line = static_cast<unsigned long>(file.lines.size() + 1);
    for (std::size_t i = 0; i < text.size(); ++i) {
      const auto byte = static_cast<unsigned char>(text[i]);
      if (!isControlByte(byte)) continue;
      const auto column = static_cast<unsigned long>(i + 1);
      if (byte == 0 || !title) {
        formats::fail(file, line, column,
                      "binary data (byte " + formats::describeChar(text[i]) + "), not an alignment file");
      }
      if (!file.titleControl) file.titleControl = formats::TextFile::Place{line, column, text[i]};
    }
    // "\r\r\n" comes from converting line ends twice; all of it is the end.
    while (!text.empty() && text.back() == '\r') text.pop_back();
    file.lines.push_back(std::move(text));
    start = end + 1;
  }
  return file;
}

void formats::refuseTitleControls(const TextFile& file) {
  if (const auto& place = file.titleControl) {
    formats::fail(file, place->line, place->column,
                  "binary data (byte " + formats::describeChar(place->byte) + "), not an alignment file");
  }
}

namespace {

bool startsWith(std::string_view text, std::string_view prefix) { return text.substr(0, prefix.size()) == prefix; }

bool isPhylipLike(InputFormat format) { return format == InputFormat::Phylip || format == InputFormat::PhylipRelaxed; }

// A first line that is no known banner, followed by a blank line and a
// Clustal row ("name residues [count]"): a Clustal file written by a
// program with a banner of its own.
bool looksLikeForeignClustal(const formats::TextFile& file, std::size_t first) {
  std::size_t i = first + 1;
  if (i >= file.lines.size() || !formats::isBlank(file.lines[i])) return false;
  while (i < file.lines.size() && formats::isBlank(file.lines[i])) ++i;
  if (i == file.lines.size() || formats::isBlank(file.lines[i].substr(0, 1))) return false;
  const std::vector<formats::Word> words = formats::splitWords(file.lines[i]);
  if (words.size() < 2 || words.size() > 3) return false;
  return std::all_of(words[1].text.begin(), words[1].text.end(),
                     [](char c) { return std::isalpha(static_cast<unsigned char>(c)) || c == '-' || c == '.'; });
}

// The format the content says, the name's extension (hint) deciding only
// between FASTA and A3M.
std::optional<InputFormat> detect(const formats::TextFile& file, std::size_t first,
                                  std::optional<AlignmentFormat> hint) {
  const std::string_view head =
      std::string_view(file.lines[first]).substr(file.lines[first].find_first_not_of(" \t\r"));
  const auto anyLine = [&file](std::string_view prefix) {
    return std::any_of(file.lines.begin(), file.lines.end(),
                       [prefix](const std::string& line) { return startsWith(line, prefix); });
  };
  if (head.front() == '>') {
    // A FASTA or A3M name may look like a PIR type code ("P1;x"): the
    // file's name decides.
    if (hint == AlignmentFormat::A3m) return InputFormat::A3m;
    if (formats::isPirHeader(head) && hint != AlignmentFormat::Fasta) return InputFormat::Pir;
    if (hint != AlignmentFormat::Fasta && formats::looksLikeA3m(file)) return InputFormat::A3m;
    return InputFormat::Fasta;
  }
  if (startsWith(head, "# STOCKHOLM")) return InputFormat::Stockholm;
  // Comment lines before the first header ("#A3M#", query lengths).
  if (head.front() == '#' && anyLine(">")) return InputFormat::A3m;
  if (startsWith(head, "CLUSTAL") || startsWith(head, "MUSCLE")) return InputFormat::Clustal;
  if (startsWith(head, "!!AA_MULTIPLE_ALIGNMENT") || startsWith(head, "!!NA_MULTIPLE_ALIGNMENT") ||
      startsWith(head, "PileUp")) {
    return InputFormat::Msf;
  }
  if (formats::isPhylipHeader(head)) return InputFormat::Phylip;
  const bool msfHeader = std::any_of(file.lines.begin(), file.lines.end(), [](const std::string& line) {
    return line.find("MSF:") != std::string::npos && line.find("..") != std::string::npos;
  });
  if (msfHeader) return InputFormat::Msf;
  if (looksLikeForeignClustal(file, first)) return InputFormat::Clustal;
  // Text before the first header is still FASTA, and the reader says where.
  if (anyLine(">")) return InputFormat::Fasta;
  return std::nullopt;
}

std::unique_ptr<Alignment> readAs(const formats::TextFile& file, InputFormat format, bool phylipNamesGiven) {
  switch (format) {
    case InputFormat::Fasta:
      return formats::readFasta(file);
    case InputFormat::Clustal:
      return formats::readClustal(file);
    case InputFormat::Msf:
      return formats::readMsf(file);
    case InputFormat::Stockholm:
      return formats::readStockholm(file);
    case InputFormat::Pir:
      return formats::readPir(file);
    case InputFormat::A3m:
      return formats::readA3m(file);
    case InputFormat::Phylip:
    case InputFormat::PhylipRelaxed:
      break;
  }
  if (!phylipNamesGiven) return formats::readPhylip(file, std::nullopt);
  return formats::readPhylip(
      file, format == InputFormat::Phylip ? formats::PhylipNames::Strict : formats::PhylipNames::Relaxed);
}

// The text of a file's bytes: gzip data uncompressed, a UTF-8 byte-order
// mark dropped (editors on some systems put one at the start).
std::unique_ptr<Alignment> parse(std::string content, const std::string& displayName,
                                 std::optional<InputFormat> given) {
  if (isGzip(content)) {
    try {
      content = gunzip(content);
    } catch (const std::runtime_error& error) {
      throw AlignmentReadError(displayName, 0, 0, error.what());
    }
  }
  if (content.starts_with("\xEF\xBB\xBF")) content.erase(0, 3);
  const formats::TextFile file = formats::splitLines(content, displayName);
  const auto first = std::find_if(file.lines.begin(), file.lines.end(),
                                  [](const std::string& line) { return !formats::isBlank(line); });
  if (first == file.lines.end()) formats::fail(file, 0, 0, "empty file, no sequences");
  const auto firstIndex = static_cast<std::size_t>(first - file.lines.begin());
  const std::optional<InputFormat> format =
      given ? given : detect(file, firstIndex, formatFromName(std::string(withoutGzipExtension(displayName))));
  if (!format)
    formats::fail(file, 0, 0, "unknown format (neither FASTA, Clustal, MSF, Stockholm, PHYLIP, PIR nor A3M)");
  if (*format != InputFormat::Fasta && *format != InputFormat::Pir && *format != InputFormat::A3m) {
    formats::refuseTitleControls(file);
  }
  return readAs(file, *format, given && isPhylipLike(*given));
}

struct FormatName {
  AlignmentFormat format;
  std::string_view name;
  std::vector<std::string_view> extensions;
  std::size_t shown;  // how many of the extensions messages list
};

const std::vector<FormatName> kFormatNames{
    {AlignmentFormat::Fasta, "fasta", {"fa", "fasta", "fas", "afa", "faa"}, 4},
    {AlignmentFormat::Clustal, "clustal", {"aln", "clw", "clustal"}, 2},
    {AlignmentFormat::Msf, "msf", {"msf"}, 1},
    {AlignmentFormat::Stockholm, "stockholm", {"sto", "stk"}, 2},
    {AlignmentFormat::Phylip, "phylip", {"phy", "phylip"}, 2},
    {AlignmentFormat::A3m, "a3m", {"a3m"}, 1},
};

const std::vector<std::pair<InputFormat, std::string_view>> kInputFormatNames{
    {InputFormat::Fasta, "fasta"},   {InputFormat::Clustal, "clustal"},
    {InputFormat::Msf, "msf"},       {InputFormat::Stockholm, "stockholm"},
    {InputFormat::Phylip, "phylip"}, {InputFormat::PhylipRelaxed, "phylip-relaxed"},
    {InputFormat::Pir, "pir"},       {InputFormat::A3m, "a3m"},
};

}  // namespace

AlignmentReadError::AlignmentReadError(const std::string& file, unsigned long line, unsigned long column,
                                       const std::string& problem)
    : std::runtime_error(errorText(file, line, column, problem)),
      file_(file),
      line_(line),
      column_(column),
      problem_(problem) {}

std::unique_ptr<Alignment> readAlignmentFile(const std::string& path, std::optional<InputFormat> format) {
  const bool standardInput = path == "-";
  const std::string name = standardInput ? kStandardInputName : path;
  const int fd = standardInput ? STDIN_FILENO : ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) throw AlignmentReadError(path, 0, 0, std::strerror(errno));
  std::string content;
  char buffer[65536];
  for (;;) {
    const ssize_t got = ::read(fd, buffer, sizeof buffer);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) {
      const int error = errno;
      if (!standardInput) ::close(fd);
      throw AlignmentReadError(name, 0, 0, std::strerror(error));
    }
    if (got == 0) break;
    content.append(buffer, static_cast<std::size_t>(got));
  }
  if (!standardInput) ::close(fd);
  return parse(std::move(content), name, format);
}

std::unique_ptr<Alignment> readAlignment(std::istream& in, const std::string& displayName,
                                         std::optional<InputFormat> format) {
  std::string content{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  if (in.bad()) throw AlignmentReadError(displayName, 0, 0, "read error");
  return parse(std::move(content), displayName, format);
}

std::vector<std::string> inputFormatNames() {
  std::vector<std::string> names;
  for (const auto& [format, name] : kInputFormatNames) names.emplace_back(name);
  return names;
}

std::optional<InputFormat> inputFormatFromName(const std::string& name) {
  std::string lower = name;
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  for (const auto& [format, known] : kInputFormatNames) {
    if (lower == known) return format;
  }
  return std::nullopt;
}

namespace {

unsigned long queryRow(const Alignment& alignment, const std::string& name) {
  if (name.empty()) return 0;
  for (unsigned long r = 0; r < alignment.sequenceCount(); ++r) {
    if (alignment.GetSeqName(r) == name) return r;
  }
  throw std::invalid_argument("no sequence named " + name + " for the A3M query");
}

}  // namespace

void writeAlignment(std::ostream& out, const Alignment& alignment, AlignmentFormat format,
                    const WriteOptions& options) {
  for (const ColumnMarks& line : options.columnMarks) {
    if (line.marks.size() != alignment.columnCount()) {
      throw std::invalid_argument("the " + line.tag + " line has " + std::to_string(line.marks.size()) + " marks for " +
                                  std::to_string(alignment.columnCount()) + " columns");
    }
  }
  switch (format) {
    case AlignmentFormat::Fasta:
      formats::writeFasta(out, alignment);
      return;
    case AlignmentFormat::Clustal:
      formats::writeClustal(out, alignment);
      return;
    case AlignmentFormat::Msf:
      formats::writeMsf(out, alignment);
      return;
    case AlignmentFormat::Stockholm:
      formats::writeStockholm(out, alignment, options.columnMarks);
      return;
    case AlignmentFormat::Phylip:
      formats::writePhylip(out, alignment);
      return;
    case AlignmentFormat::A3m:
      formats::writeA3m(out, alignment, queryRow(alignment, options.a3mQuery));
      return;
  }
}

void writeAlignmentFile(const std::string& path, const Alignment& alignment, AlignmentFormat format,
                        const WriteOptions& options) {
  std::ostringstream text;
  writeAlignment(text, alignment, format, options);
  writeFileAtomically(path, hasGzipExtension(path) ? gzip(text.str()) : text.str());
}

std::vector<std::string> formatNames() {
  std::vector<std::string> names;
  for (const FormatName& known : kFormatNames) names.emplace_back(known.name);
  return names;
}

std::optional<AlignmentFormat> formatFromName(const std::string& nameOrPath) {
  std::string lower(withoutGzipExtension(nameOrPath));
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  const std::size_t slash = lower.rfind('/');
  const std::size_t dot = lower.rfind('.');
  const bool hasExtension = dot != std::string::npos && (slash == std::string::npos || dot > slash);
  const std::string extension = hasExtension ? lower.substr(dot + 1) : std::string();
  for (const FormatName& known : kFormatNames) {
    if (lower == known.name) return known.format;
    if (!hasExtension) continue;
    if (std::find(known.extensions.begin(), known.extensions.end(), extension) != known.extensions.end()) {
      return known.format;
    }
  }
  return std::nullopt;
}

std::string formatChoices() {
  std::string text;
  for (const FormatName& known : kFormatNames) {
    if (!text.empty()) text += ", ";
    text += std::string(known.name) + " (";
    // The first extensions are the usual ones; the rest are accepted quietly.
    for (std::size_t e = 0; e < known.shown; ++e) text += (e > 0 ? " ." : ".") + std::string(known.extensions[e]);
    text += ")";
  }
  return text;
}

}  // namespace KARVO
