#pragma once

#include <QByteArray>
#include <QSet>
#include <QString>
#include <QStringList>
#include <vector>

// A failed result of a run, as a comparison of runs reports it.
struct RunFailure
{
    quint64 id = 0; // digest of the identity, what runs are matched by
    // The key the result carries, or its path of (type, name); a path of more than 64 levels
    // is shown by its top and its end, as the names are.
    QByteArray identity;
    QStringList names; // the names from the top of the run down to the result
    QString type;
    QString source; // the source file, as the run names it; empty when none is given
    int line = 0;   // in `source`, 0 when not known
    QString message;
    int run = 0;     // the SARIF run it is in
    int result = -1; // its index in that run's results, -1 outside a SARIF log
};

// What a run says of each of its results, kept small: the failed results with what a report
// shows of them, and only the digests of the others. A failed result is a failed node with no
// failed node below it (a finding, a test), not the files and rules that fail because of it.
struct RunIdentities
{
    enum class Format
    {
        ResultFile, // a result file, or a JUnit report read as one
        Sarif       // a SARIF log, read from its JSON
    };

    QString path;
    Format format = Format::ResultFile;
    std::vector<RunFailure> failures; // in the order of the run
    QSet<quint64> others;             // digests of the keyed results that did not fail
    QSet<quint64> failedAbove;        // digests of the failed nodes with failures below them

    // The digest of a key, the same whichever format carried it.
    static quint64 keyDigest(QByteArrayView key);
};

// Reads the identities of the run in `path`: a SARIF log (*.sarif, *.sarif.json) from its JSON,
// a JUnit report (*.xml) through its converted result file, any other file as a result file.
// False, with "FILE:LINE:COLUMN: message" (or "FILE: message") in `error`, when it cannot be
// read; throws std::bad_alloc when memory runs out.
bool readRunIdentities(const QString& path, RunIdentities* run, QString* error);
