#pragma once

// Looks at a written HTML page for anything a browser would run: script elements (and other
// embedding elements), event handler attributes, "javascript:", "vbscript:" or "data:" addresses.
// Attribute values are read as a browser reads them: quoted or not, character references decoded.

#include <QRegularExpression>
#include <QString>

namespace pageOracle {

inline QString decodeReferences(const QString& value)
{
    static const QRegularExpression reference(
        QStringLiteral("&(#[xX][0-9a-fA-F]+|#[0-9]+|[a-zA-Z]+);?"));
    QString decoded;
    qsizetype last = 0;
    for (auto it = reference.globalMatch(value); it.hasNext();) {
        const QRegularExpressionMatch match = it.next();
        decoded += value.mid(last, match.capturedStart() - last);
        const QString name = match.captured(1);
        bool ok = false;
        uint code = 0;
        if (name.startsWith(QLatin1String("#x")) || name.startsWith(QLatin1String("#X")))
            code = name.mid(2).toUInt(&ok, 16);
        else if (name.startsWith(QLatin1Char('#')))
            code = name.mid(1).toUInt(&ok, 10);
        if (ok && code > 0 && code < 0x110000)
            decoded += QString::fromUcs4(reinterpret_cast<const char32_t*>(&code), 1);
        else if (name == QLatin1String("colon"))
            decoded += QLatin1Char(':');
        else if (name == QLatin1String("Tab") || name == QLatin1String("NewLine"))
            decoded += QLatin1Char(' ');
        else
            decoded += match.captured(0);
        last = match.capturedEnd();
    }
    return decoded + value.mid(last);
}

// What a browser would run in the address `value`, or an empty string.
inline QString activeAddress(const QString& value)
{
    QString address;
    for (QChar c : decodeReferences(value)) {
        if (c.unicode() > 0x20)
            address += c.toLower();
    }
    for (const char* scheme : {"javascript:", "vbscript:", "data:"}) {
        if (address.startsWith(QLatin1String(scheme)))
            return QStringLiteral("a %1 address").arg(QLatin1String(scheme));
    }
    return QString();
}

inline bool isSpace(QChar c)
{
    return c == QLatin1Char(' ') || c == QLatin1Char('\t') || c == QLatin1Char('\n') ||
           c == QLatin1Char('\r') || c == QLatin1Char('\f');
}

// The first thing in `page` that a browser would run, described; empty when there is none. One
// pass over the page: tags are read with their attributes, quoted or not.
inline QString activeContent(const QString& page)
{
    const qsizetype size = page.size();
    qsizetype i = 0;
    while ((i = page.indexOf(QLatin1Char('<'), i)) >= 0) {
        ++i;
        if (i >= size || !page.at(i).isLetter())
            continue;
        const qsizetype nameStart = i;
        while (i < size && !isSpace(page.at(i)) && page.at(i) != QLatin1Char('>') &&
               page.at(i) != QLatin1Char('/'))
            ++i;
        const QString element = page.mid(nameStart, i - nameStart).toLower();
        for (const char* embedding : {"script", "iframe", "object", "embed", "frame", "base"}) {
            if (element == QLatin1String(embedding))
                return QStringLiteral("a <%1> element").arg(element);
        }
        while (i < size && page.at(i) != QLatin1Char('>')) {
            if (isSpace(page.at(i)) || page.at(i) == QLatin1Char('/')) {
                ++i;
                continue;
            }
            const qsizetype attributeStart = i;
            while (i < size && !isSpace(page.at(i)) && page.at(i) != QLatin1Char('>') &&
                   page.at(i) != QLatin1Char('/') && page.at(i) != QLatin1Char('='))
                ++i;
            const QString name = page.mid(attributeStart, i - attributeStart).toLower();
            while (i < size && isSpace(page.at(i)))
                ++i;
            QString value;
            if (i < size && page.at(i) == QLatin1Char('=')) {
                ++i;
                while (i < size && isSpace(page.at(i)))
                    ++i;
                if (i < size &&
                    (page.at(i) == QLatin1Char('"') || page.at(i) == QLatin1Char('\''))) {
                    const QChar quote = page.at(i);
                    const qsizetype valueStart = ++i;
                    i = page.indexOf(quote, i);
                    if (i < 0)
                        i = size;
                    value = page.mid(valueStart, i - valueStart);
                    ++i;
                } else {
                    const qsizetype valueStart = i;
                    while (i < size && !isSpace(page.at(i)) && page.at(i) != QLatin1Char('>'))
                        ++i;
                    value = page.mid(valueStart, i - valueStart);
                }
            }
            if (name.startsWith(QLatin1String("on")))
                return QStringLiteral("an event attribute %1 on <%2>").arg(name, element);
            const QString address = activeAddress(value);
            if (!address.isEmpty() &&
                (name == QLatin1String("href") || name == QLatin1String("src") ||
                 name == QLatin1String("action") || name == QLatin1String("formaction") ||
                 name == QLatin1String("xlink:href") || name == QLatin1String("srcset")))
                return address + QStringLiteral(" in %1 of <%2>").arg(name, element);
        }
    }
    return QString();
}

} // namespace pageOracle
