// The bad-input catalogue: cases.txt lists, one block per case, the data
// file, the karvo arguments, the expected exit status and the expected
// one-line message, with optional preparations and extra checks.
#pragma once

#include <string>
#include <vector>

struct CatalogueCase {
  std::string name;
  std::string file;      // under data/; empty when generated or not needed
  std::string generate;  // "ROWSxCOLUMNS": a FASTA file of that shape
  std::vector<std::string> args;
  int status = -1;
  std::string message;            // the whole of standard error, one line
  bool messageIsPattern = false;  // '*' in message stands for any characters
  std::vector<std::string> setup;
  std::string cwd;  // below the scratch folder
  std::vector<std::string> stdoutHas;
  std::vector<std::string> stdoutLacks;
  std::vector<std::string> logHas;
  std::vector<std::string> logLacks;
  std::vector<std::string> filesExist;
  std::vector<std::string> filesAbsent;
};

// Reads the catalogue; a malformed block throws std::runtime_error naming
// its line.
std::vector<CatalogueCase> readCatalogue(const std::string& path);

// "\r", "\n", "\t" and "\\" in a value stand for those characters.
std::string unescape(const std::string& text);
