#pragma once

#include <QByteArray>
#include <QString>

// Writes a report to `file`, whole or not at all (the old file kept), or to standard output when
// `file` is empty. False, with the reason on standard error, when it could not be written.
bool writeReport(const QString& file, const QByteArray& bytes);
