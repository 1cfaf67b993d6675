#pragma once

#include <QByteArray>

struct RunComparison;

// The reports of a comparison of two runs, as crcview diff writes them.
namespace DiffReport {

// Comments of pull requests take at most this many characters.
constexpr qsizetype MarkdownLimit = 65536;

// The counts, then each new failure with its place and source line.
QByteArray text(const RunComparison& comparison);
// {"counts": {"new": N, "fixed": N, "still": N}, "new": [...], "fixed": [...]}, each entry with
// its identity, path of names, type, source, line and message.
QByteArray json(const RunComparison& comparison);
// A summary for a pull request's comment, at most MarkdownLimit characters: what did not fit
// is counted in a note at its end.
QByteArray markdown(const RunComparison& comparison);

} // namespace DiffReport
