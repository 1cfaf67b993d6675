#include "reader/reportloader.h"

#include "folio/model/ddocument.h"
#include "model/qareporterdata.h"
#include "model/qareporterdatatree.h"
#include "reader/qastxmlrodhandler.h"
#include "reader/qastxmlrodreader.h"
#include "sdk/qasafefile.h"

#include <QFile>
#include <new>

namespace {

std::unique_ptr<QAReporterData> readReport(const QString& path, const DStyleList& styles,
                                           ReadProgress* progress, ReportLoadError* error)
{
    // Only regular files: a FIFO or a device would block or never end.
    QFile file(path);
    QString reason;
    if (!QASafeWrite::openRegularFile(file, &reason)) {
        *error = {QStringLiteral("cannot open the file: %1").arg(reason), 0, 0};
        return nullptr;
    }
    QAstXmlRodReader reader;
    QAstXmlRodHandler* handler = reader.handler();
    handler->setStyles(styles);
    if (!reader.parse(&file, &file, progress)) {
        QString message = reader.errorString();
        if (message.endsWith(QLatin1Char('\n')))
            message.chop(1);
        *error = {message, reader.lineNumber(), reader.columnNumber(), handler->cancelled()};
        return nullptr;
    }
    auto record = std::make_unique<QAReporterData>();
    record->fileName = path;
    record->tree = handler->takeDataTree().release();
    record->typeTree = handler->takeTypeTree();
    record->document = handler->takeDocument();
    record->typeList = handler->typeList();
    record->passed = handler->passed();
    record->failed = handler->failed();
    record->inconclusive = handler->inconclusive();
    return record;
}

} // namespace

std::unique_ptr<QAReporterData> loadReport(const QString& path, const DStyleList& styles,
                                           ReadProgress* progress, ReportLoadError* error)
{
    try {
        return readReport(path, styles, progress, error);
    } catch (const std::bad_alloc&) {
        // What was read so far went with the reader; the message needs little memory.
        *error = {QStringLiteral("out of memory: reading the file needs more memory than this "
                                 "process may use"),
                  0, 0};
        return nullptr;
    }
}

QString ReportLoadError::describe(const QString& path) const
{
    if (line > 0)
        return QStringLiteral("%1:%2:%3: %4").arg(path).arg(line).arg(column).arg(message);
    return QStringLiteral("%1: %2").arg(path, message);
}

std::unique_ptr<DDocument> readXrdFile(const QString& path, const DStyleList& styles,
                                       ReadProgress* progress, QString* reason)
{
    ReportLoadError error;
    std::unique_ptr<QAReporterData> record = loadReport(path, styles, progress, &error);
    if (!record && reason)
        *reason = error.describe(path);
    return record ? std::move(record->document) : nullptr;
}
