#include "model/qareporterdatatree.h"

QAReporterDataTree::QAReporterDataTree(QAReporterNode* root)
    : QObject(nullptr), QTree<QAReporterNode>(root)
{
    setAutoDelete(true);
}

QAReporterDataTree::~QAReporterDataTree() = default;
