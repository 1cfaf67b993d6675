#pragma once

#include <QByteArray>
#include <QString>

class QFile;

// Writes a file completely or not at all. The bytes go to a temporary file beside the target;
// only when every byte has been written and the file closed without error does it take the
// target's name. A full disk, a read-only folder or a cancelled run leave the old file as it was.
// A target that is a symbolic link, a directory or a device is refused: nothing is written
// through a link.
class QASafeFile
{
public:
    explicit QASafeFile(const QString& path);
    ~QASafeFile();
    QASafeFile(const QASafeFile&) = delete;
    QASafeFile& operator=(const QASafeFile&) = delete;

    bool open();
    bool write(const char* data, qint64 size);
    bool write(const QByteArray& bytes) { return write(bytes.constData(), bytes.size()); }
    // Replaces the target; false (and the old file kept) when anything failed since open().
    bool commit();
    // Throws the written bytes away; the target stays as it was.
    void discard();

    const QString& path() const { return m_path; }
    // "Cannot write PATH: reason" after a failure, empty otherwise.
    const QString& errorString() const { return m_error; }

private:
    bool flushBuffer();
    bool fail(const QString& reason);
    bool failErrno(int error);

    QString m_path;
    QByteArray m_temporaryPath;
    QByteArray m_buffer;
    QString m_error;
    int m_descriptor = -1;
    unsigned m_mode = 0;
    bool m_replacesFile = false;
};

namespace QASafeWrite {

// The whole of `bytes` as the file `path`, or nothing; `error` gets the reason.
bool writeFile(const QString& path, const QByteArray& bytes, QString* error);

// A byte-for-byte copy of the regular file `source` as `target`, or nothing.
bool copyFile(const QString& source, const QString& target, QString* error);

// Writes the whole of `bytes` to the open file `descriptor`, going on after short writes; false
// with the system's reason (without the name) in `error` otherwise.
bool writeAll(int descriptor, const QByteArray& bytes, QString* error);

// True when `path` names a regular file, after following links: not a directory, a FIFO, a
// socket or a device, which would hang or never end when read.
bool isRegularFile(const QString& path);

// Opens `file` (named by its fileName()) for reading when it is a regular file: the check opens
// it without waiting, so a FIFO does not block, and the file opened must be the one checked.
// False with the reason (without the name) in `error` otherwise.
bool openRegularFile(QFile& file, QString* error);

} // namespace QASafeWrite
