#pragma once

#include <QByteArray>
#include <QByteArrayView>

// A text kept up to a limit, as long captured output and long messages are shown: the first 200
// lines, at most 16 KiB. What comes after the cut is not kept, only counted in lines, so that a
// note can say what was left out.
class CappedText
{
public:
    static constexpr int MaxLines = 200;
    static constexpr qsizetype MaxBytes = 1 << 14;

    void append(QByteArrayView text);
    const QByteArray& text() const { return m_text; }
    bool cut() const { return m_cut; }
    // Lines left out, a part of a line counted as one.
    qint64 droppedLines() const { return m_droppedLines + (m_droppedPartLine ? 1 : 0); }

private:
    QByteArray m_text;
    int m_lines = 0;
    qint64 m_droppedLines = 0;
    bool m_droppedPartLine = false; // the text left out ends inside a line
    bool m_cut = false;
};
