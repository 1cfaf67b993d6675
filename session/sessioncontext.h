#pragma once

#include "folio/styles/dstyle.h"

#include <QString>
#include <QStringList>

class ReadProgress;

// What a session asks of the program it runs in: a viewer window answers from its studio and
// preferences, the command line from its own place. The defaults are those of a program without
// either: files as named, no search path, the current directory, no styles, no progress shown.
class SessionContext
{
public:
    virtual ~SessionContext();

    // The file the result file `path` was made from (converted analyser or test results), so
    // that the links of the report are taken beside the file the user opened.
    virtual QString originalFileOf(const QString& path) const;
    // Folders where documents look for their pictures.
    virtual QStringList documentSearchPath() const;
    // The folder the HTML export's settings ("dhtml.cfg") are read from.
    virtual QString currentDirectory() const;
    // The display styles documents are read with.
    virtual DStyleList styles() const;
    // Where readings report their progress; null for none.
    virtual ReadProgress* readProgress();

    // The display styles of an installation: DIRECTORY/lib/reporterstyle.aml.
    static QString styleFilePath(const QString& installDirectory);
};
