#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <functional>

class QAReporterData;

// The top of the exported summary page, for a reader who opens only that page: a heading naming
// the result files and the date, the totals and a bar of passed, failed and inconclusive results
// drawn as inline SVG; the table of the reports follows it.
QByteArray indexPagePreamble(const QList<QAReporterData*>& reports, const QDateTime& when);

// The end of the summary page: the failed items of each result file as links into its report
// page, its first ones, then how many more and a link to the page. `pageOf` gives the page of
// the report document with a tag.
QByteArray indexPageFailures(const QList<QAReporterData*>& reports,
                             const std::function<QString(const QString& tag)>& pageOf);
