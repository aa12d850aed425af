#include "core/diagnostics.h"

#include <QtGlobal>
#include <cstdlib>

namespace zemtra {

void debugMessage(const char* text) { qDebug("%s", text); }

void fatalExit(const char* text, int status) {
  if (text != nullptr) debugMessage(text);
  std::exit(status);
}

}  // namespace zemtra
