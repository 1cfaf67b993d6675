// The one writer of every file the product writes: a file is written whole or not at all, the old
// file survives any failure, nothing is written through a link, and copies are byte for byte.

#include "sdk/qasafefile.h"
#include "tests/testkit.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

namespace {

using testkit::mountTinyDisk;

QByteArray readAll(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool put(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

bool run(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.start(program, arguments);
    return process.waitForFinished(30000) && process.exitStatus() == QProcess::NormalExit &&
           process.exitCode() == 0;
}

// What a folder holds besides `expected`: leftovers of a failed write show up here.
QStringList entries(const QString& directory)
{
    return QDir(directory).entryList(QDir::AllEntries | QDir::Hidden | QDir::System |
                                     QDir::NoDotAndDotDot);
}

} // namespace

class TestSafeFile : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QStringList m_mounts;

    // A small file system of its own, so that it can fill up or be made read-only; empty when
    // this machine does not let the test mount one.
    QString tinyFileSystem(const char* name)
    {
        const QString point = m_dir.filePath(QLatin1String(name));
        if (!mountTinyDisk(point))
            return QString();
        m_mounts.append(point);
        return point;
    }

private Q_SLOTS:
    void initTestCase() { QVERIFY(m_dir.isValid()); }

    void cleanupTestCase()
    {
        for (const QString& point : std::as_const(m_mounts))
            run(QStringLiteral("umount"), {point});
    }

    // A full disk: the write fails with the system's reason, the settings file that was there
    // keeps every byte, and no temporary file is left to fill the disk further. Whole-buffer
    // writes, many small writes and copies all behave so.
    void fullDiskKeepsTheOldFile()
    {
        const QString disk = tinyFileSystem("full");
        if (disk.isEmpty())
            QSKIP("mounting a small file system is not allowed here");
        const QString settings = disk + QStringLiteral("/settings.xml");
        const QByteArray old(13 * 1024, 'o');
        QVERIFY(put(settings, old));
        const QByteArray big(200 * 1024, 'n');

        QString error;
        QVERIFY(!QASafeWrite::writeFile(settings, big, &error));
        QVERIFY2(error.contains(settings) && error.contains(QLatin1String("No space left")),
                 qPrintable(error));
        QCOMPARE(readAll(settings), old);
        QCOMPARE(entries(disk), QStringList{QStringLiteral("settings.xml")});

        QASafeFile file(settings);
        QVERIFY(file.open());
        bool allWritten = true;
        for (int i = 0; i < 200 && allWritten; ++i)
            allWritten = file.write(QByteArray(1024, 'x'));
        QVERIFY(!allWritten || !file.commit());
        QVERIFY(!file.errorString().isEmpty());
        QCOMPARE(readAll(settings), old);

        const QString source = m_dir.filePath(QStringLiteral("big.crc"));
        QVERIFY(put(source, big));
        QVERIFY(!QASafeWrite::copyFile(source, settings, &error));
        QVERIFY2(error.contains(QLatin1String("No space left")), qPrintable(error));
        QCOMPARE(readAll(settings), old);
        QCOMPARE(entries(disk), QStringList{QStringLiteral("settings.xml")});
    }

    // A read-only folder: nothing can be written or replaced, and the reason says so.
    void readOnlyFolderKeepsTheOldFile()
    {
        const QString disk = tinyFileSystem("readonly");
        if (disk.isEmpty())
            QSKIP("mounting a small file system is not allowed here");
        const QString page = disk + QStringLiteral("/index.html");
        QVERIFY(put(page, "old page"));
        if (!run(QStringLiteral("mount"),
                 {QStringLiteral("-o"), QStringLiteral("remount,ro"), disk}))
            QSKIP("remounting read-only is not allowed here");
        QString error;
        QVERIFY(!QASafeWrite::writeFile(page, "new page", &error));
        QVERIFY2(error.contains(page) && error.contains(QLatin1String("Read-only")),
                 qPrintable(error));
        QVERIFY(!QASafeWrite::writeFile(disk + QStringLiteral("/new.html"), "new", &error));
        QCOMPARE(readAll(page), QByteArray("old page"));
        QCOMPARE(entries(disk), QStringList{QStringLiteral("index.html")});
    }

    // Targets that are not plain files are refused, and what they lead to stays untouched: a
    // link (to a file, or dangling), a directory. A replaced file keeps its permissions.
    void onlyPlainFilesAreReplaced()
    {
        const QString victim = m_dir.filePath(QStringLiteral("victim"));
        QVERIFY(put(victim, "secret"));
        const QString link = m_dir.filePath(QStringLiteral("index.html"));
        QVERIFY(QFile::link(victim, link));
        QString error;
        QVERIFY(!QASafeWrite::writeFile(link, "page", &error));
        QVERIFY2(error.contains(QLatin1String("symbolic link")), qPrintable(error));
        QCOMPARE(readAll(victim), QByteArray("secret"));
        QVERIFY(QFileInfo(link).isSymLink());

        const QString dangling = m_dir.filePath(QStringLiteral("dangling.html"));
        QVERIFY(QFile::link(m_dir.filePath(QStringLiteral("not-yet")), dangling));
        QVERIFY(!QASafeWrite::writeFile(dangling, "page", &error));
        QVERIFY(!QFileInfo::exists(m_dir.filePath(QStringLiteral("not-yet"))));

        const QString folder = m_dir.filePath(QStringLiteral("folder.html"));
        QVERIFY(QDir().mkpath(folder));
        QVERIFY(!QASafeWrite::writeFile(folder, "page", &error));
        QVERIFY(QFileInfo(folder).isDir());

        const QString privateFile = m_dir.filePath(QStringLiteral("private.xml"));
        QVERIFY(put(privateFile, "old"));
        QVERIFY(::chmod(QFile::encodeName(privateFile).constData(), 0600) == 0);
        QVERIFY(QASafeWrite::writeFile(privateFile, "new", &error));
        QCOMPARE(readAll(privateFile), QByteArray("new"));
        struct stat status;
        QVERIFY(::stat(QFile::encodeName(privateFile).constData(), &status) == 0);
        QCOMPARE(status.st_mode & 0777, 0600u);

        // A file its owner made read-only is not replaced behind their back (root may write it).
        if (::geteuid() != 0) {
            QVERIFY(::chmod(QFile::encodeName(privateFile).constData(), 0400) == 0);
            QVERIFY(!QASafeWrite::writeFile(privateFile, "newer", &error));
            QVERIFY2(error.contains(QLatin1String("ermission")), qPrintable(error));
            QCOMPARE(readAll(privateFile), QByteArray("new"));
        }

        // A name as long as a file name can be still leaves room for the temporary file.
        const QString longName = m_dir.filePath(QString(250, u'l') + QStringLiteral(".html"));
        QVERIFY2(QASafeWrite::writeFile(longName, "long", &error), qPrintable(error));
        QCOMPARE(readAll(longName), QByteArray("long"));
    }

    // Copies are the source's bytes: CR LF line ends, a last line without an end, bytes that are
    // no text. A source that is no regular file is refused at once instead of hanging.
    void copiesAreByteForByte()
    {
        QByteArray bytes;
        for (int i = 0; i < 2000; ++i)
            bytes += "<PARAGRAPH>line " + QByteArray::number(i) + "</PARAGRAPH>\r\n";
        bytes += QByteArray("\0\r\r\n\xff end", 10);
        const QString source = m_dir.filePath(QStringLiteral("crlf.xrd"));
        QVERIFY(put(source, bytes));
        const QString copy = m_dir.filePath(QStringLiteral("copy.xrd"));
        QString error;
        QVERIFY2(QASafeWrite::copyFile(source, copy, &error), qPrintable(error));
        QCOMPARE(readAll(copy), bytes);

        const QString fifo = m_dir.filePath(QStringLiteral("fifo.xrd"));
        QVERIFY(::mkfifo(QFile::encodeName(fifo).constData(), 0600) == 0);
        QVERIFY(!QASafeWrite::isRegularFile(fifo));
        QVERIFY(!QASafeWrite::copyFile(fifo, copy, &error)); // would block without the check
        QVERIFY2(error.contains(fifo) && error.contains(QLatin1String("not a regular file")),
                 qPrintable(error));
        QVERIFY(!QASafeWrite::copyFile(QStringLiteral("/dev/zero"), copy, &error));
        QVERIFY(!QASafeWrite::copyFile(m_dir.path(), copy, &error));
        QCOMPARE(readAll(copy), bytes);
        QFile input(fifo);
        QVERIFY(!QASafeWrite::openRegularFile(input, &error));
        QVERIFY(!input.isOpen());
    }
};

QTEST_GUILESS_MAIN(TestSafeFile)
#include "tst_safefile.moc"
