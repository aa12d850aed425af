#include "run/qt_zemtra_kv.h"

#include <QFile>

#include "run/qt_run_interaction.h"
#include "run/zemtra_kv.h"

void zemtra_kv(bool* ok, QString logName, unsigned long* len, unsigned long* nres, const KARVO::Matrix<char>& names,
               KARVO::Matrix<char>& seqs, unsigned int fixed, int matNo, int gap) {
  QtRunInteraction interaction;
  zemtra_kv(interaction, ok, QFile::encodeName(logName).toStdString(), len, nres, names, seqs, fixed, matNo, gap,
            nullptr);
}
