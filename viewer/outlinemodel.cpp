#include "viewer/outlinemodel.h"

#include "model/qareporterdatatree.h"
#include "sdk/qapixmapcenter.h"
#include "session/failurewalk.h"
#include "viewer/qaricons.h"

OutlineModel::OutlineModel(QObject* parent) : QAbstractItemModel(parent)
{
    loadIcons();
}

OutlineModel::~OutlineModel() = default;

QModelIndex OutlineModel::addFile(QAReporterDataTree* tree, const QString& fileName)
{
    OutlineNode* root = tree ? tree->rootNode() : nullptr;
    if (!root || !root->data)
        return {};
    const int row = int(m_files.size());
    beginInsertRows({}, row, row);
    const QFileInfo info(fileName);
    m_files.push_back({tree, root, info, info.fileName()});
    m_fileRows.insert(root, row);
    endInsertRows();
    return index(row, NameColumn);
}

void OutlineModel::clear()
{
    beginResetModel();
    m_files.clear();
    m_fileRows.clear();
    loadIcons();
    endResetModel();
}

void OutlineModel::loadIcons()
{
    // Taken again with each new set of rows, so that restyled pictures show.
    m_pictures.clear();
    m_report = pixmapcenter()->icon(QARIcons::report());
    m_ok = pixmapcenter()->icon(QARIcons::testOk());
    m_failed = pixmapcenter()->icon(QARIcons::testFailed());
    m_unknown = pixmapcenter()->icon(QARIcons::testUnknown());
}

OutlineNode* OutlineModel::nodeOf(const QModelIndex& index)
{
    return static_cast<OutlineNode*>(index.internalPointer());
}

QModelIndex OutlineModel::indexOf(const OutlineNode* node) const
{
    if (!node)
        return {};
    if (!node->parent) {
        const auto file = m_fileRows.constFind(node);
        return file == m_fileRows.constEnd() ? QModelIndex() : index(file.value(), NameColumn);
    }
    return createIndex(node->row, NameColumn, node);
}

OutlineNode* OutlineModel::fileRoot(const QModelIndex& index) const
{
    if (!index.isValid() || nodeOf(index) || size_t(index.row()) >= m_files.size())
        return nullptr;
    return m_files[size_t(index.row())].root;
}

QFileInfo OutlineModel::fileInfo(const QModelIndex& index) const
{
    const OutlineNode* node = nodeOf(index);
    if (!node)
        return index.isValid() ? m_files[size_t(index.row())].info : QFileInfo();
    while (node->parent)
        node = node->parent;
    const auto file = m_fileRows.constFind(node);
    return file == m_fileRows.constEnd() ? QFileInfo() : m_files[size_t(file.value())].info;
}

bool OutlineModel::isFailed(const QModelIndex& index)
{
    const OutlineNode* node = nodeOf(index);
    return node && node->data->stat == QSKO;
}

DItem* OutlineModel::documentItem(const QModelIndex& index) const
{
    if (const OutlineNode* node = nodeOf(index))
        return node->data->item;
    const OutlineNode* root = fileRoot(index);
    return root ? root->data->item : nullptr;
}

QModelIndex OutlineModel::failureFrom(const QModelIndex& from, bool forward) const
{
    const OutlineNode* node = nodeOf(from);
    if (!node)
        node = fileRoot(from);
    if (!node)
        return {};
    std::vector<const OutlineNode*> roots;
    roots.reserve(m_files.size());
    for (const File& file : m_files)
        roots.push_back(file.root);
    return indexOf(::failureFrom(roots, node, forward));
}

QModelIndex OutlineModel::index(int row, int column, const QModelIndex& parent) const
{
    if (row < 0 || column < 0 || column > VerdictColumn)
        return {};
    if (!parent.isValid())
        return size_t(row) < m_files.size() ? createIndex(row, column, nullptr) : QModelIndex();
    const OutlineNode* above = nodeOf(parent);
    if (!above)
        above = fileRoot(parent);
    if (!above || size_t(row) >= above->children.size())
        return {};
    return createIndex(row, column, above->children[size_t(row)].get());
}

QModelIndex OutlineModel::parent(const QModelIndex& child) const
{
    const OutlineNode* node = nodeOf(child);
    return node ? indexOf(node->parent) : QModelIndex();
}

int OutlineModel::rowCount(const QModelIndex& parent) const
{
    if (!parent.isValid())
        return int(m_files.size());
    if (parent.column() != NameColumn)
        return 0;
    const OutlineNode* above = nodeOf(parent);
    if (!above)
        above = fileRoot(parent);
    return above ? int(above->children.size()) : 0;
}

int OutlineModel::columnCount(const QModelIndex&) const
{
    return 2;
}

bool OutlineModel::hasChildren(const QModelIndex& parent) const
{
    return rowCount(parent) > 0;
}

Qt::ItemFlags OutlineModel::flags(const QModelIndex& index) const
{
    // Leaves say so, which spares the tree view a look-up per leaf when it lays out its rows.
    Qt::ItemFlags flags = QAbstractItemModel::flags(index);
    if (index.isValid() && !hasChildren(index))
        flags |= Qt::ItemNeverHasChildren;
    return flags;
}

QVariant OutlineModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid())
        return {};
    const OutlineNode* node = nodeOf(index);
    if (!node) {
        if (index.column() != NameColumn)
            return {};
        if (role == Qt::DisplayRole)
            return m_files[size_t(index.row())].name;
        if (role == Qt::DecorationRole)
            return m_report;
        return {};
    }
    const QAReporterNode* shown = node->data;
    if (index.column() == NameColumn) {
        if (role == Qt::DisplayRole)
            return shown->name;
        if (role == Qt::DecorationRole && !shown->icon.isNull())
            return pictureOf(shown->icon);
        return {};
    }
    if (role != Qt::DecorationRole)
        return {};
    if (shown->stat == QSOK)
        return m_ok;
    if (shown->stat == QSKO)
        return m_failed;
    if (shown->stat == QSNE)
        return m_unknown;
    return {};
}

QVariant OutlineModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section != NameColumn)
        return {};
    return tr("Name");
}

QIcon OutlineModel::pictureOf(const QString& fileName) const
{
    const auto known = m_pictures.constFind(fileName);
    if (known != m_pictures.constEnd())
        return known.value();
    const QString path = pixmapcenter()->getPathByFileName(fileName);
    const QIcon icon = path.isEmpty()
                           ? m_unknown
                           : pixmapcenter()->icon(pixmapcenter()->getPixmapByFilePath(path));
    m_pictures.insert(fileName, icon);
    return icon;
}
