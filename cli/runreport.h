#pragma once

#include <QByteArray>
#include <vector>

class ReviewedResults;
struct RunFailure;

// The failed results of a run as the places CI users look at take them.
namespace RunReport {

// A job summary may take at most this many bytes.
constexpr qsizetype MarkdownSummaryLimit = 1 << 20;

// GitLab's Code Quality report: an array of issues, each with its description, check name,
// severity, place and a fingerprint without line numbers, unique in the report.
QByteArray codeClimate(const std::vector<const RunFailure*>& failures);
// A JUnit XML report of the failures as GitLab and Jenkins read it: a suite per file (the top of
// each failure's place), a failed case per failure with its rule as class, its place as name,
// its source file and line, and its message.
QByteArray junit(const std::vector<const RunFailure*>& failures);
// What GitHub code scanning takes of one SARIF upload.
constexpr qsizetype SarifMaxResults = 25000;
constexpr qsizetype SarifMaxZipped = 10 * 1024 * 1024;

// A SARIF 2.1.0 log of the failures: one run of the tool "crcview", a rule per rule (or item
// type) met, each result with its level, message, place (the path as given: relative ones are
// taken from %SRCROOT%), and a partial fingerprint made from its identity. Results that `reviews`
// (when given) leave out are suppressed externally, with the review's comment as justification.
QByteArray sarif(const std::vector<const RunFailure*>& failures,
                 const ReviewedResults* reviews = nullptr);
// A Markdown summary: the count, then a table of the failures, cut at `limit` bytes with a note
// of how many were left out.
QByteArray markdown(const std::vector<const RunFailure*>& failures, qsizetype limit);

} // namespace RunReport
