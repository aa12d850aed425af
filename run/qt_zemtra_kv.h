// The run as a windowed host calls it: the log name as a Qt string and the
// questions and progress in Qt dialogs.
#pragma once

#include <QString>

#include "core/matrix.h"

void zemtra_kv(bool* ok, QString logName, unsigned long* len, unsigned long* nres, const KARVO::Matrix<char>& names,
               KARVO::Matrix<char>& seqs, unsigned int fixed, int matNo, int gap);
