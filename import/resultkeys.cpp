#include "import/resultkeys.h"

#include <QCryptographicHash>

namespace {

bool isSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v';
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool isWordCharacter(char c)
{
    return isDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

// Whether `text` ends, at `end`, with `word` (in any case) that starts a word.
bool endsWithWord(QByteArrayView text, qsizetype end, QByteArrayView word)
{
    const qsizetype start = end - word.size();
    if (start < 0 || (start > 0 && isWordCharacter(text.at(start - 1))))
        return false;
    return text.sliced(start, word.size()).compare(word, Qt::CaseInsensitive) == 0;
}

// Whether the number starting at `digits` gives a line or a column: it follows a colon or a word
// that names one, with only blanks (and a '#') between.
bool isPlaceNumber(QByteArrayView text, qsizetype digits)
{
    if (digits > 0 && isWordCharacter(text.at(digits - 1)))
        return false; // a part of a name, as in "utf8"
    qsizetype end = digits;
    while (end > 0 && isSpace(text.at(end - 1)))
        --end;
    if (end > 0 && text.at(end - 1) == '#')
        --end;
    while (end > 0 && isSpace(text.at(end - 1)))
        --end;
    if (end > 0 && text.at(end - 1) == ':')
        return true;
    for (const char* word : {"line", "lines", "ln", "column", "columns", "col"}) {
        if (endsWithWord(text, end, word))
            return true;
    }
    return false;
}

} // namespace

QByteArray ResultKeys::make(const char* kind, QByteArrayView content)
{
    QByteArray key(kind);
    if (content.size() <= MaxContent) {
        key.reserve(key.size() + 1 + content.size());
        return key.append(':').append(content);
    }
    return key.append('#').append(
        QCryptographicHash::hash(content, QCryptographicHash::Sha1).toHex());
}

QByteArray ResultKeys::hashed(const char* kind, std::initializer_list<QByteArrayView> parts)
{
    QCryptographicHash hash(QCryptographicHash::Sha1);
    for (const QByteArrayView part : parts) {
        hash.addData(part);
        hash.addData(QByteArrayView("", 1));
    }
    return QByteArray(kind).append(':').append(hash.result().toHex());
}

QByteArray ResultKeys::withoutSpace(QByteArrayView text)
{
    QByteArray kept;
    kept.reserve(text.size());
    for (const char c : text) {
        if (!isSpace(c))
            kept.append(c);
    }
    return kept;
}

QByteArray ResultKeys::withoutPlaces(QByteArrayView text)
{
    QByteArray kept;
    kept.reserve(text.size());
    for (qsizetype i = 0; i < text.size();) {
        const char c = text.at(i);
        if (isSpace(c)) {
            ++i;
            continue;
        }
        if (!isDigit(c) || !isPlaceNumber(text, i)) {
            kept.append(c);
            ++i;
            continue;
        }
        // The number left out, and the end of a range of lines ("lines 3-5") with it.
        while (i < text.size() && isDigit(text.at(i)))
            ++i;
        if (i + 1 < text.size() && text.at(i) == '-' && isDigit(text.at(i + 1))) {
            for (++i; i < text.size() && isDigit(text.at(i));)
                ++i;
        }
    }
    return kept;
}

QByteArray ResultKeys::unique(const QByteArray& key)
{
    const auto digest = [](QByteArrayView text) { return quint64(qHash(text, 0)); };
    const quint64 given = digest(key);
    const auto found = m_next.constFind(given);
    if (found == m_next.constEnd()) {
        m_next.insert(given, 2);
        return key;
    }
    for (int occurrence = found.value();; ++occurrence) {
        QByteArray candidate = key + '#' + QByteArray::number(occurrence);
        const quint64 next = digest(candidate);
        if (!m_next.contains(next)) {
            m_next.insert(given, occurrence + 1);
            m_next.insert(next, 2);
            return candidate;
        }
    }
}
