#pragma once

#include <QRegularExpression>
#include <QString>
#include <optional>

// A location that names a source file at a line: "PATH line N", the path not empty. The studio
// opens such locations; the viewer makes their relative paths absolute first.
struct SourceLocation
{
    QString file; // as written, without the blanks around it
    QString line; // the digits
};

// The source location `text` names; none when it is a tag ("deadline 5", "line 42").
inline std::optional<SourceLocation> parseSourceLocation(const QString& text)
{
    static const QRegularExpression atLine(QStringLiteral("^(.+) line (\\d+)\\s*$"));
    const QRegularExpressionMatch match = atLine.match(text);
    const QString file = match.captured(1).trimmed();
    if (!match.hasMatch() || file.isEmpty())
        return std::nullopt;
    return SourceLocation{file, match.captured(2)};
}
