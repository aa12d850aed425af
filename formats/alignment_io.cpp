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

// Control characters other than tab and line ends mean the file is not text.
bool isBinaryByte(unsigned char byte) {
  return (byte < 0x20 && byte != '\t' && byte != '\n' && byte != '\r') || byte == 0x7f;
}

}  // namespace

formats::TextFile formats::splitLines(const std::string& content, const std::string& displayName) {
  formats::TextFile file{displayName, {}};
  unsigned long line = 1;
  std::size_t lineStart = 0;
  for (std::size_t i = 0; i < content.size(); ++i) {
    const auto byte = static_cast<unsigned char>(content[i]);
    if (byte == '\n') {
      ++line;
      lineStart = i + 1;
    } else if (isBinaryByte(byte)) {
      formats::fail(file, line, static_cast<unsigned long>(i - lineStart + 1),
                    "binary data (byte " + formats::describeChar(content[i]) + "), not an alignment file");
    }
  }
  std::size_t start = 0;
  while (start < content.size()) {
    std::size_t end = content.find('\n', start);
    if (end == std::string::npos) end = content.size();
    std::string text = content.substr(start, end - start);
    // "\r\r\n" comes from converting line ends twice; all of it is the end.
    while (!text.empty() && text.back() == '\r') text.pop_back();
    file.lines.push_back(std::move(text));
    start = end + 1;
  }
  return file;
}

namespace {

bool startsWith(std::string_view text, std::string_view prefix) { return text.substr(0, prefix.size()) == prefix; }

// The text of a file's bytes: gzip data uncompressed, a UTF-8 byte-order
// mark dropped (editors on some systems put one at the start).
std::unique_ptr<Alignment> parse(std::string content, const std::string& displayName) {
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

  const std::string_view head = std::string_view(*first).substr(first->find_first_not_of(" \t\r"));
  if (head.front() == '>') return formats::readFasta(file);
  if (startsWith(head, "CLUSTAL") || startsWith(head, "MUSCLE")) return formats::readClustal(file);
  if (startsWith(head, "# STOCKHOLM")) return formats::readStockholm(file);
  if (startsWith(head, "!!AA_MULTIPLE_ALIGNMENT") || startsWith(head, "!!NA_MULTIPLE_ALIGNMENT") ||
      startsWith(head, "PileUp")) {
    return formats::readMsf(file);
  }
  const bool msfHeader = std::any_of(file.lines.begin(), file.lines.end(), [](const std::string& line) {
    return line.find("MSF:") != std::string::npos && line.find("..") != std::string::npos;
  });
  if (msfHeader) return formats::readMsf(file);
  // Text before the first header is still FASTA, and the reader says where.
  const bool fastaHeader =
      std::any_of(file.lines.begin(), file.lines.end(), [](const std::string& line) { return startsWith(line, ">"); });
  if (fastaHeader) return formats::readFasta(file);
  formats::fail(file, 0, 0, "unknown format (neither FASTA, Clustal, MSF nor Stockholm)");
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
};

}  // namespace

AlignmentReadError::AlignmentReadError(const std::string& file, unsigned long line, unsigned long column,
                                       const std::string& problem)
    : std::runtime_error(errorText(file, line, column, problem)),
      file_(file),
      line_(line),
      column_(column),
      problem_(problem) {}

std::unique_ptr<Alignment> readAlignmentFile(const std::string& path) {
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
  return parse(std::move(content), name);
}

std::unique_ptr<Alignment> readAlignment(std::istream& in, const std::string& displayName) {
  std::string content{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  if (in.bad()) throw AlignmentReadError(displayName, 0, 0, "read error");
  return parse(std::move(content), displayName);
}

void writeAlignment(std::ostream& out, const Alignment& alignment, AlignmentFormat format) {
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
      formats::writeStockholm(out, alignment);
      return;
    case AlignmentFormat::Phylip:
      formats::writePhylip(out, alignment);
      return;
  }
}

void writeAlignmentFile(const std::string& path, const Alignment& alignment, AlignmentFormat format) {
  std::ostringstream text;
  writeAlignment(text, alignment, format);
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
