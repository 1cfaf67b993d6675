#include "sdk/qaucmverification.h"

#include <QHash>
#include <QStringList>

namespace {

QHash<QString, QString> fields(const QString& text)
{
    QHash<QString, QString> values;
    for (const QString& line : text.split(QLatin1Char('\n'))) {
        const qsizetype equals = line.indexOf(QLatin1Char('='));
        if (equals > 0)
            values.insert(line.left(equals), line.mid(equals + 1));
    }
    return values;
}

} // namespace

bool QAUcmVerification::accepts(const char* text, QString* problem)
{
    if (!text) {
        *problem = QStringLiteral("the library carries no verification text");
        return false;
    }
    const QHash<QString, QString> theirs = fields(QString::fromLatin1(text));
    const QHash<QString, QString> ours = fields(QString::fromLatin1(expected()));
    for (const char* key : {"pattern", "version", "flags", "buildkey"}) {
        const QString name = QString::fromLatin1(key);
        if (theirs.value(name) != ours.value(name)) {
            *problem = QStringLiteral("%1 is \"%2\", this studio needs \"%3\"")
                           .arg(name, theirs.value(name), ours.value(name));
            return false;
        }
    }
    return true;
}
