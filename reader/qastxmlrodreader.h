#pragma once

#include "folio/reader/damlreader.h"

#include <QStringList>
#include <memory>

class QAReporterDataTree;
class QAstXmlRodHandler;
class QFile;
class ReadProgress;
template <class T> class QTree;

// Reads one result file in one pass: the result tree, the report document, the list of item
// types and the passed, failed and inconclusive totals. The caller takes over what was built.
class QAstXmlRodReader : public DAmlReader
{
public:
    QAstXmlRodReader();
    ~QAstXmlRodReader() override;

    QAstXmlRodHandler* handler() const { return m_handler.get(); }

    // Reads `source`. With both `file` and `progress`, the progress is reported meanwhile, and a
    // cancel there stops the reading as a failure (see QAstXmlRodHandler::cancelled()). Throws
    // std::bad_alloc when memory runs out, the progress finished.
    bool parse(QIODevice* source, QFile* file, ReadProgress* progress);

    QAReporterDataTree* dataTree() const;
    QTree<QString>* typeTree() const;
    QStringList typeList() const;
    int testPassed() const;
    int testFailed() const;
    int testInconclusive() const;

private:
    std::unique_ptr<QAstXmlRodHandler> m_handler;
};
