#pragma once

#include "import/jsonallocator.h"

#include <QByteArray>
#include <functional>

class QFile;
struct ImportError;

// Reads the whole SARIF log `input` into `json` and parses it there into `log`, whose strings
// stay in `json`. False with the place of the fault in `error` (line and column for bad JSON, a
// JSON path for a log of the wrong shape: not an object, another version, no array of runs).
// `read` is called once the bytes are read.
bool parseSarifLog(QFile& input, QByteArray& json, SarifJson::Document& log, ImportError* error,
                   const std::function<void()>& read = {});
