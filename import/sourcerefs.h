#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <vector>

// A place in a source file named in a text, such as a stack trace or captured output.
struct SourceRef
{
    qsizetype start = 0; // the part of the text that names it: [start, end)
    qsizetype end = 0;
    QByteArray path;
    int line = 0; // from 1
};

// The source places a text names, in order and apart: "path:LINE" (and "path:LINE:COLUMN",
// "path:line LINE") where the path has a folder or a file extension, and Python's
// `File "path", line LINE`. Addresses ("host:80", "https://host:8080/") and times are not taken.
std::vector<SourceRef> findSourceRefs(QByteArrayView text);
