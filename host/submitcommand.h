#pragma once

#include <QHash>
#include <QString>
#include <QStringList>
#include <functional>

// A team's own tracker client, as the user configured it: a program and its arguments, in which
// {headline}, {description_file}, {attachment} and {id} stand for the defect's values. It is run
// directly, never through a shell, so a value is always one argument whatever it holds.
class SubmitCommand
{
public:
    // `commandLine` is split into words as a shell would (quotes group), but nothing expands.
    explicit SubmitCommand(const QString& commandLine);

    bool isEmpty() const { return m_words.isEmpty(); }
    // The program run, as written.
    QString program() const { return m_words.value(0); }
    // What is wrong with the command line (a quote not closed, an unknown placeholder), or empty.
    const QString& problem() const { return m_problem; }

    // The placeholders' values by name; {attachment} may have several (or none). Placeholders
    // without a value are left as they are.
    using Values = QHash<QString, QStringList>;
    // The program and its arguments with the values put in. An argument holding {attachment} is
    // given once per attachment, and left out when there is none.
    QStringList expand(const Values& values) const;

    // The most kept of what the command writes on each of its outputs; the rest is read and
    // thrown away, and the text kept says that it was cut.
    static constexpr qsizetype maxKeptOutput = 1024 * 1024;

    struct Result
    {
        bool succeeded = false;
        QString output; // standard output, trimmed: what the tracker answered
        QString error;  // why it failed
    };
    // Asked a few times a second while the command runs; true stops it.
    using CancelCheck = std::function<bool()>;
    // Runs the command and waits for it at most `timeLimitSeconds`; a command still running then,
    // or cancelled, is killed. Events are handled meanwhile: the caller keeps other input away.
    Result run(const Values& values, int timeLimitSeconds,
               const CancelCheck& cancelled = CancelCheck()) const;

    // `words` as a command line for a shell, each quoted where needed.
    static QString quoted(const QStringList& words);

private:
    QString m_problem;
    QStringList m_words;
};
