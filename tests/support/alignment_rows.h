// Alignments built from rows with every column selected, their rows read
// back, and the built plug-in's entries.
#pragma once

#include <dlfcn.h>

#include <memory>
#include <string>
#include <vector>

#include "host/alignment.h"

namespace ztest {

inline std::unique_ptr<KARVO::Alignment> alignmentOf(const std::vector<std::string>& rows,
                                                     const std::string& namePrefix = "seq") {
  std::vector<KARVO::SequenceInfo> infos;
  for (std::size_t i = 0; i < rows.size(); ++i) infos.push_back({namePrefix + std::to_string(i), ""});
  auto alignment = KARVO::Alignment::fromRows(infos, rows);
  alignment->selection = {0, alignment->columnCount()};
  return alignment;
}

inline std::vector<std::string> rowsOf(const KARVO::Alignment& alignment) {
  std::vector<std::string> rows;
  for (unsigned long r = 0; r < alignment.sequenceCount(); ++r) rows.push_back(alignment.rowText(r));
  return rows;
}

#ifdef ZEMTRA_PLUGIN_PATH
// An entry of the built plug-in, loaded once as a host does; nullptr when the
// library or the entry is missing.
template <typename Fn>
Fn pluginEntry(const char* name) {
  static void* const handle = dlopen(ZEMTRA_PLUGIN_PATH, RTLD_NOW | RTLD_LOCAL);
  return handle == nullptr ? nullptr : reinterpret_cast<Fn>(dlsym(handle, name));
}
#endif

}  // namespace ztest
