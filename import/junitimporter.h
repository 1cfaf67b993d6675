#pragma once

#include <QString>

class MarkupWriter;
class QFile;
struct ImportError;

// Turns a JUnit XML report into result-file markup: Suite > Test nodes, streamed from the open
// `input` in two passes (the first finds each suite's verdict, the second writes).
bool importJUnit(QFile& input, const QString& directory, MarkupWriter& out, ImportError* error);
