#pragma once

#include <QString>

// What a viewer asks the studio to show of a source file: the place a link leads to and, when it
// is a finding's own place, what the finding says there. Paths are absolute or relative to the
// report, as written; texts are plain.
struct SourceRequest
{
    QString path;
    int line = 0;     // the first line of the place, from 1
    int lastLine = 0; // its last line when it spans several, as far as the report tells; else 0
    QString message;  // the finding's message, shown at its line
    QString snippet;  // the code the report quotes for the place

    // The place as a location text for StudioInterface::openLocation(): "PATH line N".
    QString location() const { return path + QStringLiteral(" line ") + QString::number(line); }
};
