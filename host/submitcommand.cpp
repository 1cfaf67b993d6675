#include "host/submitcommand.h"

#include <QEventLoop>
#include <QProcess>
#include <QRegularExpression>
#include <QTimer>

namespace {

// One output of the command: its first bytes, up to maxKeptOutput, and whether there were more.
class KeptOutput
{
public:
    void append(const QByteArray& bytes)
    {
        const qsizetype room = SubmitCommand::maxKeptOutput - m_bytes.size();
        m_bytes += bytes.left(qMax<qsizetype>(room, 0));
        m_cut = m_cut || bytes.size() > room;
    }
    // The text kept, trimmed, with a note at the end when it was cut.
    QString text() const
    {
        const QString kept = QString::fromLocal8Bit(m_bytes).trimmed();
        return m_cut ? kept + QStringLiteral(" [cut after %1 MiB]")
                                  .arg(SubmitCommand::maxKeptOutput / (1024 * 1024))
                     : kept;
    }

private:
    QByteArray m_bytes;
    bool m_cut = false;
};

// Words as a POSIX shell would split them, quotes and backslashes included, with nothing
// expanded: 'single' quotes keep everything, "double" quotes keep all but \" and \\. A quote
// left open is said in `problem`.
QStringList splitWords(const QString& line, QString* problem)
{
    QStringList words;
    QString word;
    bool inWord = false;
    QChar quote;
    for (qsizetype i = 0; i < line.size(); ++i) {
        const QChar c = line.at(i);
        if (quote == QLatin1Char('\'')) {
            if (c == quote)
                quote = QChar();
            else
                word += c;
        } else if (quote == QLatin1Char('"')) {
            if (c == quote)
                quote = QChar();
            else if (c == QLatin1Char('\\') && i + 1 < line.size() &&
                     (line.at(i + 1) == QLatin1Char('"') || line.at(i + 1) == QLatin1Char('\\')))
                word += line.at(++i);
            else
                word += c;
        } else if (c.isSpace()) {
            if (inWord)
                words.append(word);
            word.clear();
            inWord = false;
        } else {
            inWord = true;
            if (c == QLatin1Char('\'') || c == QLatin1Char('"'))
                quote = c;
            else if (c == QLatin1Char('\\') && i + 1 < line.size())
                word += line.at(++i);
            else
                word += c;
        }
    }
    if (inWord)
        words.append(word);
    if (!quote.isNull())
        *problem = QStringLiteral("a %1 quote is not closed").arg(quote);
    return words;
}

// A placeholder such as {id}, its name captured.
const QRegularExpression& placeholderPattern()
{
    static const QRegularExpression placeholder(QStringLiteral("\\{([A-Za-z_]+)\\}"));
    return placeholder;
}

} // namespace

SubmitCommand::SubmitCommand(const QString& commandLine)
    : m_words(splitWords(commandLine, &m_problem))
{
    static const QStringList known{QStringLiteral("{headline}"),
                                   QStringLiteral("{description_file}"),
                                   QStringLiteral("{attachment}"), QStringLiteral("{id}")};
    for (const QString& word : std::as_const(m_words)) {
        QRegularExpressionMatchIterator found = placeholderPattern().globalMatch(word);
        while (found.hasNext() && m_problem.isEmpty()) {
            const QString name = found.next().captured();
            if (!known.contains(name))
                m_problem = QStringLiteral("%1 is no placeholder; there are %2")
                                .arg(name, known.join(QStringLiteral(", ")));
        }
    }
}

QStringList SubmitCommand::expand(const Values& values) const
{
    static const QString attachment = QStringLiteral("attachment");
    // One pass over the word as written: the values go in verbatim and are never searched for
    // placeholders themselves.
    const auto fill = [&values](const QString& word, const QString& attachmentPath) {
        QString filled;
        qsizetype copied = 0;
        QRegularExpressionMatchIterator found = placeholderPattern().globalMatch(word);
        while (found.hasNext()) {
            const QRegularExpressionMatch match = found.next();
            const QString name = match.captured(1);
            const auto value = values.constFind(name);
            if (value == values.constEnd())
                continue;
            filled += QStringView(word).mid(copied, match.capturedStart() - copied);
            filled += name == attachment ? attachmentPath : value->value(0);
            copied = match.capturedEnd();
        }
        filled += QStringView(word).mid(copied);
        return filled;
    };
    QStringList expanded;
    for (const QString& word : m_words) {
        if (!word.contains(QStringLiteral("{attachment}")) || !values.contains(attachment)) {
            expanded.append(fill(word, QString()));
            continue;
        }
        for (const QString& path : values.value(attachment))
            expanded.append(fill(word, path));
    }
    return expanded;
}

SubmitCommand::Result SubmitCommand::run(const Values& values, int timeLimitSeconds,
                                         const CancelCheck& cancelled) const
{
    Result result;
    const QStringList words = expand(values);
    if (words.isEmpty()) {
        result.error = QStringLiteral("No submit command is set");
        return result;
    }
    QProcess process;
    process.setProgram(words.first());
    process.setArguments(words.mid(1));
    process.setStandardInputFile(QProcess::nullDevice());
    // What the command writes is taken as it comes, so that a flood never piles up.
    KeptOutput output;
    KeptOutput errors;
    QObject::connect(&process, &QProcess::readyReadStandardOutput, &process,
                     [&] { output.append(process.readAllStandardOutput()); });
    QObject::connect(&process, &QProcess::readyReadStandardError, &process,
                     [&] { errors.append(process.readAllStandardError()); });
    process.start();
    if (!process.waitForStarted()) {
        result.error = QStringLiteral("The submit command %1 cannot be started: %2")
                           .arg(words.first(), process.errorString());
        return result;
    }
    enum
    {
        Running,
        Finished,
        TimedOut,
        Cancelled
    } ending = Running;
    QEventLoop loop;
    QObject::connect(&process, &QProcess::finished, &loop, [&] {
        ending = Finished;
        loop.quit();
    });
    QTimer limit;
    limit.setSingleShot(true);
    QObject::connect(&limit, &QTimer::timeout, &loop, [&] {
        ending = TimedOut;
        loop.quit();
    });
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        if (cancelled && cancelled()) {
            ending = Cancelled;
            loop.quit();
        }
    });
    limit.start(timeLimitSeconds * 1000);
    poll.start(100);
    if (process.state() != QProcess::NotRunning)
        loop.exec();
    else
        ending = Finished;
    if (ending != Finished) {
        process.disconnect(&loop);
        process.kill();
        process.waitForFinished();
        if (ending == Cancelled) {
            result.error = QStringLiteral("The submit command %1 was cancelled").arg(words.first());
            return result;
        }
        const QString seconds = timeLimitSeconds == 1
                                    ? QStringLiteral("1 second")
                                    : QStringLiteral("%1 seconds").arg(timeLimitSeconds);
        result.error =
            QStringLiteral("The submit command %1 did not finish within %2 and was stopped")
                .arg(words.first(), seconds);
        return result;
    }
    output.append(process.readAllStandardOutput());
    errors.append(process.readAllStandardError());
    result.output = output.text();
    const QString said = errors.text();
    if (process.exitStatus() != QProcess::NormalExit) {
        result.error = said.isEmpty()
                           ? QStringLiteral("The submit command %1 crashed").arg(words.first())
                           : said;
        return result;
    }
    if (process.exitCode() != 0) {
        result.error = said.isEmpty() ? QStringLiteral("The submit command %1 failed with exit "
                                                       "status %2")
                                            .arg(words.first())
                                            .arg(process.exitCode())
                                      : said;
        return result;
    }
    result.succeeded = true;
    return result;
}

QString SubmitCommand::quoted(const QStringList& words)
{
    static const QRegularExpression plain(QStringLiteral("^[A-Za-z0-9_@%+=:,./{}-]+$"));
    QStringList parts;
    for (const QString& word : words) {
        if (plain.match(word).hasMatch()) {
            parts.append(word);
        } else {
            QString escaped = word;
            escaped.replace(QLatin1Char('\''), QLatin1String("'\\''"));
            parts.append(QLatin1Char('\'') + escaped + QLatin1Char('\''));
        }
    }
    return parts.join(QLatin1Char(' '));
}
