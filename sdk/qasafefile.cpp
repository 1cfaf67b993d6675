#include "sdk/qasafefile.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr qint64 BufferSize = 1 << 16;

// The permissions a new file gets: what the user's umask allows of rw-rw-rw-.
unsigned newFileMode()
{
    static const unsigned mode = [] {
        const mode_t mask = ::umask(022);
        ::umask(mask);
        return 0666u & ~unsigned(mask);
    }();
    return mode;
}

QString reasonOf(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

} // namespace

QASafeFile::QASafeFile(const QString& path) : m_path(path) {}

QASafeFile::~QASafeFile()
{
    discard();
}

bool QASafeFile::open()
{
    discard();
    m_error.clear();
    const QByteArray target = QFile::encodeName(m_path);
    struct stat existing;
    if (::lstat(target.constData(), &existing) == 0) {
        if (S_ISLNK(existing.st_mode))
            return fail(QStringLiteral("it is a symbolic link"));
        if (!S_ISREG(existing.st_mode))
            return fail(QStringLiteral("it is not a regular file"));
        // The rename would replace a file its owner made read-only; the user must say so first.
        if (::access(target.constData(), W_OK) != 0)
            return failErrno(errno);
        m_mode = existing.st_mode & 07777;
        m_replacesFile = true;
    } else if (errno != ENOENT) {
        return failErrno(errno);
    } else {
        m_mode = newFileMode();
        m_replacesFile = false;
    }

    // The temporary name must fit where the target's name fits: a name of 255 bytes leaves no
    // room for the dot and the random ending, so it is shortened.
    const QFileInfo info(m_path);
    const QByteArray name = QFile::encodeName(info.fileName()).left(NAME_MAX - 8);
    QByteArray pattern = QFile::encodeName(info.absolutePath()) + "/." + name + ".XXXXXX";
    const int descriptor = ::mkstemp(pattern.data());
    if (descriptor < 0)
        return failErrno(errno);
    m_descriptor = descriptor;
    m_temporaryPath = pattern;
    if (::fchmod(m_descriptor, m_mode) != 0)
        return failErrno(errno);
    m_buffer.reserve(BufferSize);
    return true;
}

bool QASafeFile::write(const char* data, qint64 size)
{
    if (m_descriptor < 0)
        return m_error.isEmpty() ? fail(QStringLiteral("the file is not open")) : false;
    if (m_buffer.size() + size <= BufferSize) {
        m_buffer.append(data, size);
        return true;
    }
    if (!flushBuffer())
        return false;
    if (size <= BufferSize) {
        m_buffer.append(data, size);
        return true;
    }
    m_buffer = QByteArray::fromRawData(data, size);
    const bool written = flushBuffer();
    m_buffer = QByteArray();
    m_buffer.reserve(BufferSize);
    return written;
}

bool QASafeFile::flushBuffer()
{
    QString reason;
    if (!QASafeWrite::writeAll(m_descriptor, m_buffer, &reason))
        return fail(reason);
    m_buffer.clear();
    return true;
}

bool QASafeFile::commit()
{
    if (m_descriptor < 0)
        return m_error.isEmpty() ? fail(QStringLiteral("the file is not open")) : false;
    if (!flushBuffer())
        return false;
    // Replacing a file: its new bytes must be on disk before the name moves to them.
    if (m_replacesFile && ::fsync(m_descriptor) != 0)
        return failErrno(errno);
    const int descriptor = m_descriptor;
    m_descriptor = -1;
    if (::close(descriptor) != 0)
        return failErrno(errno);
    if (::rename(m_temporaryPath.constData(), QFile::encodeName(m_path).constData()) != 0)
        return failErrno(errno);
    m_temporaryPath.clear();
    return true;
}

void QASafeFile::discard()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
    m_descriptor = -1;
    if (!m_temporaryPath.isEmpty())
        ::unlink(m_temporaryPath.constData());
    m_temporaryPath.clear();
    m_buffer.clear();
}

bool QASafeFile::fail(const QString& reason)
{
    m_error = QStringLiteral("Cannot write %1: %2").arg(m_path, reason);
    discard();
    return false;
}

bool QASafeFile::failErrno(int error)
{
    return fail(reasonOf(error));
}

namespace QASafeWrite {

bool writeAll(int descriptor, const QByteArray& bytes, QString* error)
{
    const char* next = bytes.constData();
    qint64 left = bytes.size();
    while (left > 0) {
        const ssize_t written = ::write(descriptor, next, size_t(left));
        if (written < 0) {
            if (errno == EINTR)
                continue;
            if (error)
                *error = reasonOf(errno);
            return false;
        }
        next += written;
        left -= written;
    }
    return true;
}

bool writeFile(const QString& path, const QByteArray& bytes, QString* error)
{
    QASafeFile file(path);
    if (file.open() && file.write(bytes) && file.commit())
        return true;
    if (error)
        *error = file.errorString();
    return false;
}

bool copyFile(const QString& source, const QString& target, QString* error)
{
    auto refuse = [&](const QString& reason) {
        if (error)
            *error = QStringLiteral("Cannot read %1: %2").arg(source, reason);
        return false;
    };
    QFile input(source);
    QString reason;
    if (!openRegularFile(input, &reason))
        return refuse(reason);
    QASafeFile output(target);
    if (!output.open()) {
        if (error)
            *error = output.errorString();
        return false;
    }
    QByteArray chunk(BufferSize, Qt::Uninitialized);
    for (;;) {
        const qint64 got = input.read(chunk.data(), chunk.size());
        if (got < 0)
            return refuse(input.errorString());
        if (got == 0)
            break;
        if (!output.write(chunk.constData(), got)) {
            if (error)
                *error = output.errorString();
            return false;
        }
    }
    if (output.commit())
        return true;
    if (error)
        *error = output.errorString();
    return false;
}

bool isRegularFile(const QString& path)
{
    struct stat status;
    return ::stat(QFile::encodeName(path).constData(), &status) == 0 && S_ISREG(status.st_mode);
}

bool openRegularFile(QFile& file, QString* error)
{
    auto refuse = [&](const QString& reason) {
        if (error)
            *error = reason;
        return false;
    };
    // Without O_NONBLOCK, opening a FIFO would wait for a writer.
    const int descriptor =
        ::open(QFile::encodeName(file.fileName()).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0)
        return refuse(reasonOf(errno));
    struct stat checked;
    const bool regular = ::fstat(descriptor, &checked) == 0 && S_ISREG(checked.st_mode);
    ::close(descriptor);
    if (!regular)
        return refuse(QStringLiteral("it is not a regular file"));
    // Opened again by name, so that the file keeps its name; it must be the file checked.
    if (!file.open(QIODevice::ReadOnly))
        return refuse(file.errorString());
    struct stat opened;
    if (::fstat(file.handle(), &opened) != 0 || opened.st_dev != checked.st_dev ||
        opened.st_ino != checked.st_ino) {
        file.close();
        return refuse(QStringLiteral("it was replaced while being opened"));
    }
    return true;
}

} // namespace QASafeWrite
