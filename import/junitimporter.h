#pragma once

#include "import/resultimport.h"

#include <QString>

class MarkupWriter;
class QFile;

// Turns a JUnit XML report into result-file markup: Suite > Test nodes, streamed from the open
// `input` in two passes (the first finds each suite's verdict, the second writes).
// `progress` is told of the work done, never null.
bool importJUnit(QFile& input, const QString& directory, MarkupWriter& out, ImportError* error,
                 const ImportProgress& progress);
