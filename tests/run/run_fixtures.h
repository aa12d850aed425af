// Inputs of one run and a private personal temporary directory for it.
#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QTemporaryDir>
#include <cstring>
#include <initializer_list>
#include <string>
#include <vector>

#include "core/matrix.h"

namespace run_test {

// Rows of one selected range: every row as wide as the range, gaps
// included; the working alignment is twice as wide, as the host makes it.
struct RunInputs {
  RunInputs(std::initializer_list<const char*> nameList, std::initializer_list<std::string> rows)
      : names(nameList.size(), 8), seqs(rows.size(), 2 * (rows.size() == 0 ? 1 : rows.begin()->size())) {
    unsigned long r = 0;
    for (const char* name : nameList) {
      std::memset(names[r], 0, names.cols());
      std::strncpy(names[r], name, names.cols() - 1);
      ++r;
    }
    r = 0;
    for (const std::string& row : rows) {
      std::memset(seqs[r], 0, seqs.cols());
      std::memcpy(seqs[r] + 1, row.data(), row.size());
      len.push_back(row.size());
      unsigned long residues = 0;
      for (char c : row) residues += c != '-';
      nres.push_back(residues);
      ++r;
    }
  }

  std::string row(unsigned long r) const { return std::string(seqs[r] + 1, len[r]); }

  KARVO::Matrix<char> names;
  KARVO::Matrix<char> seqs;
  std::vector<unsigned long> len;
  std::vector<unsigned long> nres;
};

inline std::string readFile(const QString& path) {
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) return "<missing>";
  const QByteArray bytes = file.readAll();
  return std::string(bytes.constData(), static_cast<std::size_t>(bytes.size()));
}

inline void writeFile(const QString& path, const std::string& text) {
  QFile file(path);
  if (file.open(QIODevice::WriteOnly | QIODevice::Truncate)) file.write(text.data(), static_cast<qint64>(text.size()));
}

// Points the host's personal temporary directory at a fresh directory for
// as long as it lives.
class PersonalTmpDir {
 public:
  PersonalTmpDir() { use(dir_.path()); }
  ~PersonalTmpDir() { qunsetenv("KARVO_TMPDIR"); }
  PersonalTmpDir(const PersonalTmpDir&) = delete;
  PersonalTmpDir& operator=(const PersonalTmpDir&) = delete;

  static void use(const QString& path) { qputenv("KARVO_TMPDIR", QFile::encodeName(path)); }
  QString path() const { return dir_.path(); }
  QString file(const QString& name) const { return dir_.path() + "/" + name; }
  std::string loggerText() const { return readFile(file("karvo.log")); }

 private:
  QTemporaryDir dir_;
};

}  // namespace run_test
