#pragma once

#include <QList>
#include <QString>

// One step of a finding's code flow: a place in a source file and what happens there.
struct SourceStep
{
    QString path;
    int line = 0; // from 1
    QString message;
};

// What a viewer asks the studio to show of a source file: the place a link leads to and, when it
// belongs to a finding, what the finding says there and the steps of its code flow. Paths are
// absolute or relative to the report, as written; texts are plain.
struct SourceRequest
{
    QString path;
    int line = 0;     // the first line of the place, from 1
    int lastLine = 0; // its last line when it spans several, as far as the report tells; else 0
    QString message;  // the finding's message, shown at its line
    QString snippet;  // the code the report quotes for the place
    QList<SourceStep> steps;
    int step = -1; // the step shown; -1 for the finding's own place

    // The place as a location text for StudioInterface::openLocation(): "PATH line N".
    QString location() const { return path + QStringLiteral(" line ") + QString::number(line); }
};
