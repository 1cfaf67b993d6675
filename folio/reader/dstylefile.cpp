#include "folio/reader/dstylefile.h"

#include "folio/reader/damlhandler.h"
#include "folio/reader/damlreader.h"

#include <QFile>

DStyleFile DStyleFile::read(const QString& path)
{
    DStyleFile read;
    QFile file(path);
    if (!file.exists()) {
        read.error = QStringLiteral("%1: the style file is missing; documents are shown "
                                    "without styles")
                         .arg(path);
        qWarning("%s", qPrintable(read.error));
        return read;
    }
    if (!file.open(QIODevice::ReadOnly)) {
        read.error = QStringLiteral("%1: cannot be read: %2").arg(path, file.errorString());
        qWarning("%s", qPrintable(read.error));
        return read;
    }
    DAmlHandler handler;
    handler.setEnabledLocalStyle(true);
    DAmlReader reader(&handler);
    if (reader.parse(&file)) {
        read.names = handler.localStyleNames();
    } else {
        read.error =
            QStringLiteral("%1:%2: %3")
                .arg(path, QString::number(reader.lineNumber()), reader.errorString().trimmed());
        qWarning("%s", qPrintable(read.error));
    }
    read.styles = handler.localStyles();
    return read;
}
