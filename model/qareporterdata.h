#pragma once

#include "model/qtree.h"

#include <QPointer>
#include <QStringList>
#include <memory>

class DDocument;
class QAReporterDataTree;

// One loaded result file: its path, node tree, report document, types and counts.
class QAReporterData
{
public:
    QAReporterData();
    virtual ~QAReporterData();
    QAReporterData(const QAReporterData&) = delete;
    QAReporterData& operator=(const QAReporterData&) = delete;

    // Path of the result file as given; two records stand for the same report when equal.
    QString fileName;
    // Owned by the record, but watched: it reads as null once destroyed elsewhere.
    QPointer<QAReporterDataTree> tree;
    std::unique_ptr<DDocument> document;
    std::unique_ptr<QTree<QString>> typeTree;
    QStringList typeList;
    qint32 failed = 0;
    qint32 passed = 0;
    qint32 inconclusive = -1; // -1: the file gave no inconclusive count
};
