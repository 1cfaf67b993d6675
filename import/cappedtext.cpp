#include "import/cappedtext.h"

#include <algorithm>
#include <cstring>

void CappedText::append(QByteArrayView text)
{
    if (text.isEmpty())
        return;
    if (!m_cut) {
        const char* const data = text.data();
        const qsizetype room = MaxBytes - m_text.size();
        qsizetype kept = std::min(text.size(), room);
        m_cut = text.size() >= room;
        for (const char* line = data;
             (line = static_cast<const char*>(std::memchr(line, '\n', size_t(data + kept - line))));
             ++line) {
            if (++m_lines >= MaxLines) {
                kept = line - data + 1;
                m_cut = true;
                break;
            }
        }
        // Cut by size, the text ends before a character that would not fit whole.
        while (kept > 0 && kept < text.size() &&
               (static_cast<unsigned char>(data[kept]) & 0xC0) == 0x80)
            --kept;
        m_text.append(text.first(kept));
        text = text.sliced(kept);
    }
    if (text.isEmpty())
        return;
    m_droppedLines += text.count('\n');
    m_droppedPartLine = !text.endsWith('\n');
}
