#include "model/qareporternode.h"

#include "folio/model/ditem.h"

#include <ostream>
#include <string>

const QString QSOK = QStringLiteral("ok");
const QString QSKO = QStringLiteral("ko");
const QString QSNE = QStringLiteral("ne");

std::ostream& operator<<(std::ostream& os, QAReporterNode& node)
{
    os << "QAReporterNode::name=" << std::string(node.name.utf8()) << "\n";
    os << "QAReporterNode::type=" << std::string(node.type.utf8()) << "\n";
    os << "QAReporterNode::stat=" << std::string(node.stat.utf8()) << "\n";
    os << "QAReporterNode::tag =" << std::string(node.tag.utf8()) << "\n";
    if (node.item)
        os << "QAReporterNode::DItem=" << strItemType(node.item->type()) << "\n";
    if (node.endItem)
        os << "QAReporterNode::DItem=" << strItemType(node.endItem->type()) << "\n";
    return os;
}
