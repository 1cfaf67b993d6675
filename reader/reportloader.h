#pragma once

#include "folio/styles/dstyle.h"

#include <QString>
#include <memory>

class DDocument;
class QAReporterData;
class ReadProgress;

// Where and why reading a file failed. `line` and `column` are 0 when the file could not be
// opened at all; `message` ends without a line feed. `cancelled` is set when the user stopped
// the reading: nothing is wrong with the file.
struct ReportLoadError
{
    QString message;
    int line = 0;
    int column = 0;
    bool cancelled = false;

    // "PATH:LINE:COLUMN: message", or "PATH: message" where there is no place.
    QString describe(const QString& path) const;
};

// Reads the result file at `path` into a new record, its document items styled from `styles`.
// With a `progress`, the reading reports to it and the user may cancel it. On failure or a
// cancel returns null and fills `error`; running out of memory is such a failure, and what was
// read so far is freed before it returns.
std::unique_ptr<QAReporterData> loadReport(const QString& path, const DStyleList& styles,
                                           ReadProgress* progress, ReportLoadError* error);

// Reads one report document (a result file's nodes and totals are left out). Null when it cannot
// be read, with the reason ("FILE:LINE:COLUMN: message") in `reason` when given.
std::unique_ptr<DDocument> readXrdFile(const QString& path, const DStyleList& styles,
                                       ReadProgress* progress, QString* reason = nullptr);
