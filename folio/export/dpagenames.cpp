#include "folio/export/dpagenames.h"

#include "folio/export/dhtmlwriter.h"

namespace {

// `text` cut to at most `bytes` bytes of UTF-8, never inside a character.
QString fitBytes(const QString& text, int bytes)
{
    QString fitted;
    int used = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const bool pair = text[i].isHighSurrogate() && i + 1 < text.size();
        const QString character = text.mid(i, pair ? 2 : 1);
        used += int(character.toUtf8().size());
        if (used > bytes)
            break;
        fitted += character;
        i += pair ? 1 : 0;
    }
    return fitted;
}

} // namespace

QString DPageNames::nameFor(const QString& key, const QString& wanted, const QString& suffix)
{
    if (const auto known = m_names.constFind(key); known != m_names.constEnd())
        return known.value();
    QString base = DHTMLWriter::safeFileName(wanted);
    if (base.isEmpty())
        base = QStringLiteral("untitled");
    // Room for the suffix and a number.
    const int room = maxNameBytes - int(suffix.toUtf8().size()) - 8;
    if (base.toUtf8().size() > room)
        base = fitBytes(base, room);
    QString name = base + suffix;
    if (isTaken(name)) {
        int& next = m_nextNumber[name.toCaseFolded()];
        next = qMax(next, 2);
        do
            name = base + QLatin1Char('-') + QString::number(next++) + suffix;
        while (isTaken(name));
    }
    m_taken.insert(name.toCaseFolded());
    m_names.insert(key, name);
    return name;
}
