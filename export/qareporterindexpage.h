#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <functional>

class QAReporterData;

// The top of the exported summary page, for a reader who opens only that page: a heading naming
// the result files and the date, the totals, a bar of passed, failed and inconclusive results
// drawn as inline SVG, and the failed items as links into the report pages. `pageOf` gives the
// page of the report document with a tag.
QByteArray indexPagePreamble(const QList<QAReporterData*>& reports, const QDateTime& when,
                             const std::function<QString(const QString& tag)>& pageOf);
