#include "filter/failurecounts.h"

#include "model/qareporternode.h"

#include <QCoreApplication>
#include <QStringList>

FailureCounts& FailureCounts::operator+=(const FailureCounts& other)
{
    errors += other.errors;
    warnings += other.warnings;
    notes += other.notes;
    failed += other.failed;
    return *this;
}

void FailureCounts::addFailure(const QAReporterNode& node)
{
    if (node.level == QLatin1String("error"))
        ++errors;
    else if (node.level == QLatin1String("warning"))
        ++warnings;
    else if (node.level == QLatin1String("note"))
        ++notes;
    else
        ++failed;
}

QString FailureCounts::text() const
{
    const auto part = [](int count, const char* one, const char* many) {
        return QCoreApplication::translate("Outline", count == 1 ? one : many).arg(count);
    };
    QStringList parts;
    if (errors > 0)
        parts.append(part(errors, "%1 error", "%1 errors"));
    if (warnings > 0)
        parts.append(part(warnings, "%1 warning", "%1 warnings"));
    if (notes > 0)
        parts.append(part(notes, "%1 note", "%1 notes"));
    if (failed > 0)
        parts.append(part(failed, "%1 failed", "%1 failed"));
    return parts.join(QStringLiteral(", "));
}
