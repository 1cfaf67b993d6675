#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <vector>

struct RunFailure;

// How crcview's reports write failed results: as JSON strings, and as rows of Markdown tables
// cut to fit a size.
namespace FailureTexts {

void appendJsonString(QByteArray& out, QByteArrayView text);
// Text of a run shown as it is in Markdown: no markup of its own takes effect, and it stays in
// its table cell.
QByteArray markdownText(const QString& text);
// "src/a.c:42", "src/a.c", or empty when the failure names no source.
QString sourceOf(const RunFailure& failure);

// Markdown tables of failures written into `out` up to `limit` bytes, with room kept for a note
// on what was left out. Bytes are counted: never fewer than the characters they make.
class MarkdownTables
{
public:
    MarkdownTables(QByteArray* out, qsizetype limit) : m_out(out), m_limit(limit) {}

    // A heading, the table's header and a row per failure, as many as fit; returns how many.
    qsizetype add(const QByteArray& heading, const QByteArray& header,
                  const std::vector<const RunFailure*>& failures,
                  QByteArray (*row)(const RunFailure&));
    bool full() const { return m_full; }

private:
    QByteArray* m_out;
    qsizetype m_limit;
    bool m_full = false;
};

} // namespace FailureTexts
