#include "reader/qastxmlrodreader.h"

#include "folio/model/ddocument.h"
#include "model/qareporterdatatree.h"
#include "reader/qastxmlrodhandler.h"
#include "reader/readprogress.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <new>

namespace {
constexpr qint64 bytesPerStep = 50;
}

QAstXmlRodReader::QAstXmlRodReader() : m_handler(std::make_unique<QAstXmlRodHandler>())
{
    setHandler(m_handler.get());
}

QAstXmlRodReader::~QAstXmlRodReader() = default;

bool QAstXmlRodReader::parse(QIODevice* source, QFile* file, ReadProgress* progress)
{
    QAstXmlRodHandler::progressStep = 0;
    if (!progress || !file) {
        m_handler->setProgress(nullptr);
        return DAmlReader::parse(source);
    }
    m_handler->setProgress(progress);
    QAstXmlRodHandler::progressSteps = int(qMin<qint64>(file->size() / bytesPerStep, INT_MAX));
    progress->start(QAstXmlRodHandler::progressSteps,
                    QCoreApplication::translate("Reporter", "Analysing %1")
                        .arg(QFileInfo(file->fileName()).fileName()),
                    true);
    bool accepted = false;
    try {
        accepted = DAmlReader::parse(source);
    } catch (const std::bad_alloc&) {
        progress->finish(); // the caller frees what was read and says why
        throw;
    }
    // A cancel after the last check still counts: the user asked for nothing to change.
    if (accepted && progress->cancelled()) {
        m_handler->setCancelled();
        accepted = false;
    }
    // What was read of a large file takes a while to free: it goes while the display still
    // says that the reading is being cancelled.
    if (m_handler->cancelled()) {
        m_handler->takeDataTree();
        m_handler->takeTypeTree();
        m_handler->takeDocument();
    }
    progress->finish();
    return accepted;
}

QAReporterDataTree* QAstXmlRodReader::dataTree() const
{
    return m_handler->dataTree();
}

QTree<QString>* QAstXmlRodReader::typeTree() const
{
    return m_handler->typeTree();
}

QStringList QAstXmlRodReader::typeList() const
{
    return m_handler->typeList();
}

int QAstXmlRodReader::testPassed() const
{
    return m_handler->passed();
}

int QAstXmlRodReader::testFailed() const
{
    return m_handler->failed();
}

int QAstXmlRodReader::testInconclusive() const
{
    return m_handler->inconclusive();
}
