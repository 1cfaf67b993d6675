#include "host/defecttracker.h"

#include "host/submitcommand.h"
#include "import/importcache.h"
#include "sdk/qasafefile.h"
#include "sdk/studiointerface.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <algorithm>

namespace {

QString sqlText(const QString& text)
{
    if (text.isNull())
        return QStringLiteral("NULL");
    QString quoted = text;
    quoted.replace(QLatin1Char('\''), QLatin1String("''"));
    return QLatin1Char('\'') + quoted + QLatin1Char('\'');
}

// An empty text is stored as NULL, as the store does.
QString orNull(const QString& text)
{
    return sqlText(text.isEmpty() ? QString() : text);
}

} // namespace

DefectTracker::DefectTracker(const QString& storePath, QObject* parent)
    : QObject(parent), m_storePath(storePath)
{
}

DefectTracker::~DefectTracker() = default;

void DefectTracker::setStorePath(const QString& path)
{
    if (path == m_storePath)
        return;
    m_storePath = path;
    m_draft.reset();
    Q_EMIT storePathChanged();
}

quint16 DefectTracker::succeeded()
{
    m_error.clear();
    m_commandLine = commandLine().toLocal8Bit();
    return 1;
}

quint16 DefectTracker::failed(const QString& reason)
{
    m_error = reason.toLocal8Bit();
    m_commandLine = commandLine().toLocal8Bit();
    return 0;
}

QString DefectTracker::noteOf(const Review& review)
{
    QString note = tr("Reviewed: %1 by %2 at %3")
                       .arg(review.status, review.who,
                            review.when.toString(QStringLiteral("yyyy-MM-dd hh:mm 'UTC'")));
    if (!review.comment.isEmpty())
        note += QLatin1Char('\n') + review.comment;
    return note;
}

QList<ReviewRecord> DefectTracker::reviewRecords() const
{
    DefectStore store(m_storePath);
    QList<Review> reviews;
    if (!store.readReviews(&reviews))
        return {};
    QList<ReviewRecord> records;
    for (const Review& review : std::as_const(reviews)) {
        if (review.status != QLatin1String("unreviewed"))
            records.append({review.identity, review.rule, review.status, noteOf(review)});
    }
    return records;
}

QList<DefectRecord> DefectTracker::openDefects() const
{
    DefectStore store(m_storePath);
    QList<Defect> defects;
    if (!store.read(&defects))
        return {};
    QList<DefectRecord> records;
    for (const Defect& defect : std::as_const(defects)) {
        if (!defect.closed)
            records.append({defect.id, defect.file, defect.itemPath, defect.headline});
    }
    return records;
}

bool DefectTracker::recordReview(const QString& identity, const QString& rule,
                                 const QString& status, const QString& comment, QString* error)
{
    Review review;
    review.identity = identity;
    review.rule = rule;
    review.status = status;
    review.comment = comment;
    review.who = QStringLiteral("unknown");
    for (const char* name : {"USER", "LOGNAME", "USERNAME"}) {
        const QString user = qEnvironmentVariable(name);
        if (!user.isEmpty()) {
            review.who = user;
            break;
        }
    }
    review.when = QDateTime::currentDateTimeUtc();
    review.when.setTime(
        QTime(review.when.time().hour(), review.when.time().minute(), review.when.time().second()));
    DefectStore store(m_storePath);
    if (store.writeReviews({review}, false)) {
        Q_EMIT reviewed();
        return true;
    }
    if (error)
        *error = store.errorString();
    return false;
}

quint16 DefectTracker::open()
{
    m_draft.reset();
    DefectStore store(m_storePath);
    if (!store.prepareForFiling())
        return failed(store.errorString());
    m_draft.emplace();
    if (m_locateItem)
        m_draft->itemPath = m_locateItem();
    return succeeded();
}

quint16 DefectTracker::setHeadline(const char* headline)
{
    if (!m_draft)
        return failed(tr("No defect is open"));
    const QString text = QString::fromLocal8Bit(headline).trimmed();
    if (text.isEmpty())
        return failed(tr("A defect needs a headline"));
    m_draft->headline = text;
    return succeeded();
}

quint16 DefectTracker::setDescription(const char* description)
{
    if (!m_draft)
        return failed(tr("No defect is open"));
    m_draft->description = QString::fromLocal8Bit(description);
    return succeeded();
}

quint16 DefectTracker::attachFile(const char* label, const char* path)
{
    if (!m_draft)
        return failed(tr("No defect is open"));
    // A result file converted from an analyzer's or a test run's log: the log is attached, not
    // its copy in the cache.
    const QString file = ImportCache::originalOf(
        QDir::cleanPath(QFileInfo(QString::fromLocal8Bit(path)).absoluteFilePath()));
    const QString shown = QDir::toNativeSeparators(file);
    if (!QFileInfo::exists(file))
        return failed(tr("The attachment %1 does not exist").arg(shown));
    if (!QASafeWrite::isRegularFile(file))
        return failed(tr("The attachment %1 is not a regular file").arg(shown));
    QFile readable(file);
    if (!readable.open(QIODevice::ReadOnly))
        return failed(
            tr("The attachment %1 cannot be read: %2").arg(shown, readable.errorString()));
    m_draft->attachments.append({QString::fromLocal8Bit(label), file, readable.size(), QString()});
    // The defect names the log too: the converted copy goes when the log is converted again, the
    // log is opened through the same conversion.
    if (m_draft->file.isEmpty())
        m_draft->file = file;
    return succeeded();
}

quint16 DefectTracker::setDetail(const char* name, const char* value)
{
    if (!m_draft)
        return failed(tr("No defect is open"));
    const QByteArray key(name);
    const QString text = QString::fromLocal8Bit(value);
    if (key == "source_path")
        m_draft->sourcePath = text;
    else if (key == "source_line")
        m_draft->sourceLine = qMax(0, text.toInt());
    else if (key == "rule")
        m_draft->rule = text;
    else if (key == "level")
        m_draft->level = text;
    else if (key == "message")
        m_draft->message = text;
    else if (key == "snippet")
        m_draft->snippet = text;
    else
        return failed(tr("A defect keeps no detail named %1").arg(QString::fromLocal8Bit(name)));
    return succeeded();
}

bool DefectTracker::hashAttachments(QString* error)
{
    for (DefectAttachment& attachment : m_draft->attachments) {
        const QString shown = QDir::toNativeSeparators(attachment.path);
        QFile file(attachment.path);
        if (!QASafeWrite::isRegularFile(attachment.path) || !file.open(QIODevice::ReadOnly)) {
            *error = tr("The attachment %1 is gone since it was attached").arg(shown);
            return false;
        }
        QCryptographicHash hash(QCryptographicHash::Sha256);
        if (!hash.addData(&file)) {
            *error = tr("The attachment %1 cannot be read: %2").arg(shown, file.errorString());
            return false;
        }
        attachment.size = file.size();
        attachment.sha256 = QString::fromLatin1(hash.result().toHex());
    }
    return true;
}

bool DefectTracker::handToTeamTracker(const SubmitCommand& command, qint64 id, QString* reference,
                                      QString* reason)
{
    // The description goes to the client as a file: it may be long and hold anything.
    QTemporaryDir folder;
    if (!folder.isValid()) {
        *reason = tr("No temporary folder for the description: %1").arg(folder.errorString());
        return false;
    }
    const QString descriptionFile = folder.filePath(QStringLiteral("description.txt"));
    if (!QASafeWrite::writeFile(descriptionFile, m_draft->description.toUtf8(), reason))
        return false;
    QStringList attachments;
    for (const DefectAttachment& attachment : std::as_const(m_draft->attachments))
        attachments.append(attachment.path);
    m_commandLine = commandLine(descriptionFile, id).toLocal8Bit();
    // The studio shows that it waits for the client, and takes no other input meanwhile than
    // the Cancel of its progress display.
    if (m_studio)
        m_studio->startProgress(0, tr("Handing the defect to %1").arg(command.program()),
                                tr("Cancel"));
    StudioInterface* studio = m_studio;
    const SubmitCommand::Result result = command.run(
        {{QStringLiteral("headline"), {m_draft->headline}},
         {QStringLiteral("description_file"), {descriptionFile}},
         {QStringLiteral("attachment"), attachments},
         {QStringLiteral("id"), {QString::number(id)}}},
        m_settings.timeLimitSeconds, [studio] { return studio && studio->progressCancelled(); });
    if (m_studio)
        m_studio->endProgress();
    *reference = result.output;
    *reason = result.error;
    return result.succeeded;
}

quint16 DefectTracker::submit(int)
{
    if (!m_draft)
        return failed(tr("No defect is open"));
    if (m_draft->headline.isEmpty()) {
        m_draft.reset();
        return failed(tr("The defect has no headline: nothing was filed"));
    }
    if (m_duplicate) {
        DefectStore filed(m_storePath);
        QList<Defect> defects;
        if (filed.read(&defects)) {
            const auto same =
                std::find_if(defects.cbegin(), defects.cend(), [this](const Defect& one) {
                    return !one.closed && one.file == m_draft->file &&
                           one.itemPath == m_draft->itemPath;
                });
            if (same != defects.cend() && !m_duplicate(*same)) {
                m_draft.reset();
                return failed(
                    tr("The item already has defect %1: nothing was filed").arg(same->id));
            }
        }
    }
    if (m_settings.reviewBeforeFiling && m_review && !m_review(*m_draft)) {
        m_draft.reset();
        return failed(tr("The defect was given up in its review: nothing was filed"));
    }
    if (m_draft->headline.trimmed().isEmpty()) {
        m_draft.reset();
        return failed(tr("The defect has no headline: nothing was filed"));
    }
    QString error;
    if (!hashAttachments(&error)) {
        m_draft.reset();
        return failed(error);
    }
    const SubmitCommand command(m_settings.submitCommand);
    if (!command.problem().isEmpty()) {
        m_draft.reset();
        return failed(tr("The submit command cannot be run: %1").arg(command.problem()));
    }
    m_commandLine = commandLine().toLocal8Bit(); // the hand-off gives the complete one
    DefectStore store(m_storePath);
    // The team's tracker gets the defect first, under the id it will have here; the store is
    // written only once it took it.
    if (!command.isEmpty()) {
        qint64 id = 0;
        QString reference;
        if (!store.reserveId(&id) || !handToTeamTracker(command, id, &reference, &error)) {
            m_draft.reset();
            m_error = (error.isEmpty() ? store.errorString() : error).toLocal8Bit();
            return 0;
        }
        m_draft->id = id;
        m_draft->externalReference = reference;
    }
    const bool stored = store.file(*m_draft);
    const qint64 id = m_draft->id;
    const QString reference = m_draft->externalReference;
    m_draft.reset();
    if (!stored) {
        m_error = (command.isEmpty() ? store.errorString()
                                     : tr("The team's tracker took the defect (%1), but it "
                                          "could not be kept here: %2")
                                           .arg(reference, store.errorString()))
                      .toLocal8Bit();
        return 0;
    }
    m_error.clear();
    Q_EMIT filed(id);
    return 1;
}

const char* DefectTracker::getCmdLine()
{
    return m_commandLine.constData();
}

int DefectTracker::activatedCmdLine() const
{
    return m_settings.echoCommandLines ? 1 : 0;
}

const char* DefectTracker::getErrorMessage() const
{
    return m_error.constData();
}

QString DefectTracker::commandLine(const QString& descriptionFile, qint64 id) const
{
    const SubmitCommand command(m_settings.submitCommand);
    if (command.isEmpty())
        return storeCommandLine();
    SubmitCommand::Values values;
    if (m_draft && !m_draft->headline.isEmpty())
        values.insert(QStringLiteral("headline"), {m_draft->headline});
    if (!descriptionFile.isEmpty())
        values.insert(QStringLiteral("description_file"), {descriptionFile});
    if (id > 0)
        values.insert(QStringLiteral("id"), {QString::number(id)});
    if (m_draft && (!m_draft->attachments.isEmpty() || id > 0)) {
        QStringList attachments;
        for (const DefectAttachment& attachment : std::as_const(m_draft->attachments))
            attachments.append(attachment.path);
        values.insert(QStringLiteral("attachment"), attachments);
    }
    return SubmitCommand::quoted(command.expand(values));
}

QString DefectTracker::storeCommandLine() const
{
    QString statements = QStringLiteral("BEGIN;");
    if (m_draft) {
        QStringList path;
        for (const QString& part : m_draft->itemPath) {
            QString escaped = part;
            escaped.replace(QLatin1Char('\\'), QLatin1String("\\\\"))
                .replace(QLatin1Char('"'), QLatin1String("\\\""));
            path.append(QLatin1Char('"') + escaped + QLatin1Char('"'));
        }
        statements +=
            QStringLiteral(" INSERT INTO defects (state, headline, description, item_path, file,"
                           " filed, source_path, source_line, rule, level, message, snippet)"
                           " VALUES ('open', %1, %2, %3, %4,"
                           " strftime('%Y-%m-%dT%H:%M:%SZ', 'now'), %5, %6, %7, %8, %9, %10);")
                .arg(sqlText(m_draft->headline.isEmpty() ? QString() : m_draft->headline),
                     sqlText(m_draft->description),
                     sqlText(QLatin1Char('[') + path.join(QLatin1Char(',')) + QLatin1Char(']')),
                     sqlText(m_draft->file.isEmpty() ? QString() : m_draft->file),
                     orNull(m_draft->sourcePath),
                     m_draft->sourceLine > 0 ? QString::number(m_draft->sourceLine)
                                             : QStringLiteral("NULL"),
                     orNull(m_draft->rule), orNull(m_draft->level), orNull(m_draft->message),
                     orNull(m_draft->snippet));
        for (const DefectAttachment& attachment : m_draft->attachments)
            statements +=
                QStringLiteral(" INSERT INTO attachments (defect, label, path, size,"
                               " sha256) VALUES ((SELECT max(id) FROM defects), %1, %2,"
                               " %3, %4);")
                    .arg(sqlText(attachment.label), sqlText(attachment.path),
                         QString::number(attachment.size),
                         sqlText(attachment.sha256.isEmpty() ? QString() : attachment.sha256));
    }
    statements += QStringLiteral(" COMMIT;");
    return SubmitCommand::quoted({QStringLiteral("sqlite3"), m_storePath, statements});
}
