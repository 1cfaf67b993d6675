#pragma once

#include <QString>
#include <QStringList>

// crcview convert FILE [-o OUT.crc]: the result-file markup of analyzer or test results.
int convertCommand(const QStringList& arguments);

// The SARIF and JUnit XML files among a command's file arguments, replaced by the result files
// converted from them (the cache names them as the originals). Files that cannot be converted
// are reported on standard error and left out.
class ImportedFiles
{
public:
    ImportedFiles(const QString& command, QStringList* arguments);

    // False when some files were given and none of them could be converted.
    bool anyLeft() const { return m_failed.isEmpty() || m_converted > 0 || m_others > 0; }
    // The files that could not be converted, as given.
    const QStringList& failed() const { return m_failed; }
    // The command's exit status, made 2 (unreadable input) when a conversion failed.
    int exitStatus(int status) const;

private:
    QStringList m_failed;
    int m_converted = 0;
    int m_others = 0;
};
