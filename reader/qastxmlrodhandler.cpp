#include "reader/qastxmlrodhandler.h"

#include "folio/reader/damlattributes.h"
#include "model/qareporterdatatree.h"
#include "reader/readprogress.h"

#include <QCoreApplication>
#include <charconv>
#include <cstring>
#include <limits>
#include <string>
#include <utility>

namespace {

QString message(const char* text)
{
    return QCoreApplication::translate("Reporter", text);
}

int clampToInt(qint64 value)
{
    if (value > std::numeric_limits<int>::max())
        return std::numeric_limits<int>::max();
    if (value < std::numeric_limits<int>::min())
        return std::numeric_limits<int>::min();
    return int(value);
}

} // namespace

int QAstXmlRodHandler::progressStep = 0;
int QAstXmlRodHandler::progressSteps = 0;

QAstXmlRodHandler::QAstXmlRodHandler() = default;
QAstXmlRodHandler::~QAstXmlRodHandler() = default;

QAstXmlRodHandler::ElementType QAstXmlRodHandler::findType(const QString& qName)
{
    // Called twice per element: the length rules out most names before any comparison.
    const QLatin1String xrod("XROD");
    const QLatin1String node("XROD:NODE");
    if (qName.size() == xrod.size() && qName == xrod)
        return XrodElement;
    if (qName.size() == node.size() && qName == node)
        return NodeElement;
    return DocumentElement;
}

bool QAstXmlRodHandler::startDocument()
{
    m_cancelled = false;
    m_tagsSinceCancelCheck = 0;
    m_pending.clear();
    m_types.clear();
    m_typeNames.clear();
    m_passed = 0;
    m_failed = 0;
    m_inconclusive = -1;
    return DAmlHandler::startDocument();
}

bool QAstXmlRodHandler::reportProgress()
{
    // Whether the user cancelled is asked once every so many tags, which costs nothing next to
    // reading them.
    constexpr int tagsPerCancelCheck = 1024;
    if (progressStep < progressSteps)
        m_progress->advance(progressStep++);
    else
        m_progress->advance(progressSteps - 1);
    if (++m_tagsSinceCancelCheck < tagsPerCancelCheck)
        return true;
    m_tagsSinceCancelCheck = 0;
    if (!m_progress->cancelled())
        return true;
    setCancelled();
    return false;
}

void QAstXmlRodHandler::setCancelled()
{
    m_cancelled = true;
    setErrorString(message("cancelled"));
}

bool QAstXmlRodHandler::startElement(const QString& qName, const DAmlAttributes& attributes)
{
    if (m_progress && !reportProgress())
        return false;
    switch (findType(qName)) {
    case XrodElement:
        return startResultTree();
    case NodeElement:
        return startNode(attributes);
    case DocumentElement:
        break;
    }
    if (!DAmlHandler::startElement(qName, attributes))
        return false;
    if (DItem* opened = openedItem()) {
        for (QAReporterNode* node : m_pending)
            node->item = opened;
        m_pending.clear();
    }
    return true;
}

bool QAstXmlRodHandler::startResultTree()
{
    auto* root = new QAReporterNode;
    if (m_dataTree)
        m_replacedTrees.push_back(std::move(m_dataTree));
    m_dataTree = std::make_unique<QAReporterDataTree>(root);
    m_typeTree = std::make_unique<QTree<QString>>();
    m_pending.push_back(root);
    return true;
}

bool QAstXmlRodHandler::startNode(const DAmlAttributes& attributes)
{
    if (!m_dataTree) {
        setErrorString(message("XROD:NODE outside of an XROD element.\n"));
        return false;
    }
    auto* node = new QAReporterNode;
    if (!m_dataTree->addChild(node, -1, nullptr)) {
        delete node;
        setErrorString(message("unvalable stack elements.\n"));
        return false;
    }
    m_dataTree->lastChild();
    if (!setAttributes(node, attributes))
        return false;
    m_pending.push_back(node);
    return true;
}

bool QAstXmlRodHandler::setAttributes(QAReporterNode* node, const DAmlAttributes& attributes)
{
    // The attributes a node keeps, found in one pass over the tag.
    struct Raw
    {
        const char* name = nullptr;
        const char* type = nullptr;
        const char* state = nullptr;
        const char* icon = nullptr;
        const char* sum = nullptr;
        const char* base = nullptr;
        const char* key = nullptr;
        const char* level = nullptr;
        const char* rule = nullptr;
    } raw;
    attributes.forEach([&raw](const char* name, const char* value) {
        static const std::pair<const char*, const char * Raw::*> kept[] = {
            {"name", &Raw::name},  {"type", &Raw::type},   {"state", &Raw::state},
            {"icone", &Raw::icon}, {"sum", &Raw::sum},     {"base", &Raw::base},
            {"key", &Raw::key},    {"level", &Raw::level}, {"rule", &Raw::rule}};
        for (const auto& [attribute, field] : kept) {
            if (name[0] == attribute[0] && std::strcmp(name, attribute) == 0) {
                raw.*field = value;
                return;
            }
        }
    });

    if (!raw.name) {
        setErrorString(message("Xml/ROD, unvalable name attribute.\n"));
        return false;
    }
    node->name = m_texts.get(raw.name);

    if (!raw.type) {
        setErrorString(message("Xml/ROD, unvalable type attribute.\n"));
        return false;
    }
    // A file has few types over many nodes: each is stored once and shared.
    const DString* type = m_typeNames.find(raw.type);
    if (!type) {
        type = &m_typeNames.insert(raw.type, DString(std::string_view(raw.type)));
        m_types.append(type->toString());
    }
    node->type = *type;

    if (raw.state)
        node->stat = m_texts.get(raw.state);
    if (raw.icon)
        node->icon = m_texts.get(raw.icon);
    char number[16];
    const auto written = std::to_chars(number, number + sizeof number, ++m_nodeCounter);
    node->tag = DString(std::string_view(number, std::size_t(written.ptr - number)));

    if (raw.sum && raw.state) {
        bool valid = false;
        const int count = QByteArrayView(raw.sum).toInt(&valid, 10);
        if (valid) {
            if (std::strcmp(raw.state, "ok") == 0) {
                m_passed += count;
            } else if (std::strcmp(raw.state, "ko") == 0) {
                m_failed += count;
            } else if (std::strcmp(raw.state, "NE") == 0) {
                if (m_inconclusive < 0)
                    m_inconclusive = 0;
                m_inconclusive += count;
            }
        }
    }

    // Every node has a key of its own: not pooled. Bases, levels and rules repeat: pooled.
    // Other attributes are not kept.
    if (raw.base)
        node->base = m_texts.get(raw.base);
    if (raw.key)
        node->key = DString(std::string_view(raw.key));
    if (raw.level)
        node->level = m_texts.get(raw.level);
    if (raw.rule)
        node->rule = m_texts.get(raw.rule);
    return true;
}

bool QAstXmlRodHandler::endElement(const QString& qName)
{
    switch (findType(qName)) {
    case XrodElement:
        if (m_pending.empty())
            return true;
        setErrorString(message("nested XMLROD init element.\n"));
        return false;
    case NodeElement:
        return endNode();
    case DocumentElement:
        break;
    }
    return DAmlHandler::endElement(qName);
}

bool QAstXmlRodHandler::endNode()
{
    QAReporterNode* closing = m_dataTree->iterator()->current();
    m_dataTree->up();
    if (m_pending.empty()) {
        closing->endItem = lastItem();
        return true;
    }
    QAReporterNode* waiting = m_pending.back();
    m_pending.pop_back();
    if (waiting == closing)
        return true;
    setErrorString(message("unvalable stack elements.\n"));
    return false;
}

std::unique_ptr<QAReporterDataTree> QAstXmlRodHandler::takeDataTree()
{
    return std::move(m_dataTree);
}

std::unique_ptr<QTree<QString>> QAstXmlRodHandler::takeTypeTree()
{
    return std::move(m_typeTree);
}

int QAstXmlRodHandler::passed() const
{
    return clampToInt(m_passed);
}

int QAstXmlRodHandler::failed() const
{
    return clampToInt(m_failed);
}

int QAstXmlRodHandler::inconclusive() const
{
    return clampToInt(m_inconclusive);
}
