#pragma once

#include "import/resultimport.h"

#include <QString>

class MarkupWriter;
class QFile;

// Turns a SARIF 2.1.0 log into result-file markup: one document per run, File > Rule > Finding.
// The whole log is read from the open `input`; `directory` is the absolute folder of the log, the
// base of relative artifact locations without a known base.
// `progress` is told of the work done, never null.
bool importSarif(QFile& input, const QString& directory, MarkupWriter& out, ImportError* error,
                 const ImportProgress& progress);
