#pragma once

#include "model/qareporternode.h"
#include "model/qtree.h"

#include <QObject>

// The result tree of one file. It owns its nodes and their QAReporterNode objects; it is a
// QObject so that holders can watch it through a QPointer. The outline shows it through
// OutlineModel, in viewer/, so that the model stays free of widgets.
class QAReporterDataTree : public QObject, public QTree<QAReporterNode>
{
    Q_OBJECT

public:
    explicit QAReporterDataTree(QAReporterNode* root);
    ~QAReporterDataTree() override;
};
