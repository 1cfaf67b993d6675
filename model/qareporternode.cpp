#include "model/qareporternode.h"

#include "folio/model/ditem.h"

#include <ostream>

const QString QSOK = QStringLiteral("ok");
const QString QSKO = QStringLiteral("ko");
const QString QSNE = QStringLiteral("ne");

QAReporterNode::~QAReporterNode() = default;

std::ostream& operator<<(std::ostream& os, QAReporterNode& node)
{
    os << "QAReporterNode::name=" << node.name.toUtf8().constData() << "\n";
    os << "QAReporterNode::type=" << node.type.toUtf8().constData() << "\n";
    os << "QAReporterNode::stat=" << node.stat.toUtf8().constData() << "\n";
    os << "QAReporterNode::tag =" << node.tag.toUtf8().constData() << "\n";
    if (node.item)
        os << "QAReporterNode::DItem=" << strItemType(node.item->type()) << "\n";
    if (node.endItem)
        os << "QAReporterNode::DItem=" << strItemType(node.endItem->type()) << "\n";
    return os;
}
