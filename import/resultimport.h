#pragma once

#include <QString>
#include <QStringList>
#include <functional>

class QFile;

// What a failed import tells the user: the file, where in it (a line and column, or a JSON path
// in the message), and why.
struct ImportError
{
    QString file;
    QString message;
    int line = 0;
    int column = 0;

    // "FILE:LINE:COLUMN: message", or "FILE: message" when no position is known.
    QString text() const;
};

enum class ImportFormat
{
    None,  // a result file, read as it is
    Sarif, // a SARIF 2.1.0 log of a static analyzer
    JUnit  // a JUnit XML report of a test runner
};

// The format a file is imported from, told by its name.
ImportFormat importFormatOf(const QString& path);
// The file name patterns of the files imported, for file dialogs and drops.
QStringList importPatterns();

// Told how far an import has come, in thousandths of the whole.
using ImportProgress = std::function<void(int permille)>;
constexpr int ImportSteps = 1000;

// Writes the result-file markup for the analyzer or test results `input` as the file `output`,
// completely or not at all. On failure `error` says why and `output` is left as it was.
bool importResults(const QString& input, const QString& output, ImportError* error,
                   const ImportProgress& progress = {});
// The same for `input` opened for reading already (see QASafeWrite::openRegularFile), read from
// its start and named by its fileName().
bool importResults(QFile& input, const QString& output, ImportError* error,
                   const ImportProgress& progress = {});
