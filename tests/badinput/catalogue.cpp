#include "catalogue.h"

#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>

std::string unescape(const std::string& text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\' || i + 1 == text.size()) {
      out += text[i];
      continue;
    }
    const char next = text[++i];
    out += next == 'r' ? '\r' : next == 'n' ? '\n' : next == 't' ? '\t' : next;
  }
  return out;
}

namespace {

std::vector<std::string> words(const std::string& text) {
  std::istringstream in(text);
  std::vector<std::string> out;
  for (std::string word; in >> word;) out.push_back(word);
  return out;
}

[[noreturn]] void malformed(const std::string& path, int line, const std::string& problem) {
  throw std::runtime_error(path + ":" + std::to_string(line) + ": " + problem);
}

}  // namespace

std::vector<CatalogueCase> readCatalogue(const std::string& path) {
  std::ifstream in(path);
  if (!in) throw std::runtime_error("cannot read " + path);
  std::vector<CatalogueCase> cases;
  std::string line;
  int lineNo = 0;
  while (std::getline(in, line)) {
    ++lineNo;
    if (line.empty() || line.front() == '#') continue;
    const std::size_t colon = line.find(": ");
    if (colon == std::string::npos) malformed(path, lineNo, "expected 'key: value'");
    const std::string key = line.substr(0, colon);
    const std::string value = line.substr(colon + 2);
    if (key == "case") {
      cases.push_back({});
      cases.back().name = value;
      continue;
    }
    if (cases.empty()) malformed(path, lineNo, "'" + key + "' before the first 'case'");
    CatalogueCase& c = cases.back();
    static const std::map<std::string, std::string CatalogueCase::*> texts{
        {"file", &CatalogueCase::file}, {"generate", &CatalogueCase::generate}, {"cwd", &CatalogueCase::cwd}};
    static const std::map<std::string, std::vector<std::string> CatalogueCase::*> lists{
        {"setup", &CatalogueCase::setup},
        {"stdout-has", &CatalogueCase::stdoutHas},
        {"stdout-lacks", &CatalogueCase::stdoutLacks},
        {"log-has", &CatalogueCase::logHas},
        {"log-lacks", &CatalogueCase::logLacks},
        {"file-exists", &CatalogueCase::filesExist},
        {"file-absent", &CatalogueCase::filesAbsent}};
    if (texts.contains(key)) {
      c.*texts.at(key) = value;
    } else if (lists.contains(key)) {
      (c.*lists.at(key)).push_back(unescape(value));
    } else if (key == "run") {
      c.args = words(value);
    } else if (key == "status") {
      c.status = std::stoi(value);
    } else if (key == "message" || key == "message~") {
      c.messageIsPattern = key == "message~";
      c.message = unescape(value);
    } else {
      malformed(path, lineNo, "unknown key '" + key + "'");
    }
  }
  for (const CatalogueCase& c : cases) {
    if (c.status < 0 || c.args.empty()) throw std::runtime_error(path + ": case " + c.name + " lacks run or status");
  }
  return cases;
}
