#pragma once

// Files, the bundled examples and child processes, as the test programs use them.

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace testkit {

// The folder of the bundled example result files.
extern const QString examples;

// The bundled example `name`.
QString example(const char* name);

// Writes `contents` as the whole of the file at `path`; false when not all of it was written.
bool writeFile(const QString& path, const QByteArray& contents);

// The bytes of the file at `path`; none when it cannot be read.
QByteArray readFile(const QString& path);

// Mounts a file system of `size` (64 KiB unless told) at `point`, created first; false where
// this machine forbids it.
bool mountTinyDisk(const QString& point, const char* size = "64k");

// The output of this test program run again with `arguments` (see its main()), or why it failed.
QString runChild(const QStringList& arguments);

// How a crcview run ended: its exit status (-1 when it crashed or hung) and what it printed.
struct CrcviewRun
{
    int status = -1;
    QString out;
    QString err;
};

// Runs crcview with `arguments`; one that has not finished after `hangGuardMs` is killed.
CrcviewRun runCrcview(const QStringList& arguments, int hangGuardMs);

} // namespace testkit
