#include "viewer/outlinemodel.h"

#include "filter/outlinequery.h"
#include "folio/model/ditems.h"
#include "model/qareporterdatatree.h"
#include "sdk/qapixmapcenter.h"
#include "sdk/qaplaintext.h"
#include "session/failurewalk.h"
#include "viewer/qaricons.h"

#include <QColor>
#include <QFont>
#include <QPainter>
#include <QPainterPath>

namespace {

// The text of an entry's message: its section's first paragraph, as much of it as a tool tip
// shows.
QString messageOf(const DItem* section)
{
    constexpr qsizetype maxLength = 600;
    const auto* container =
        section && section->isContainer() ? static_cast<const DItemContainer*>(section) : nullptr;
    const DItem* paragraph = container ? container->firstChild() : nullptr;
    while (paragraph && paragraph->type() != DItem::Paragraph)
        paragraph = paragraph->next();
    if (!paragraph)
        return QString();
    QString text;
    // Down and along the paragraph's items, without recursion.
    std::vector<const DItem*> pending{static_cast<const DItemContainer*>(paragraph)->firstChild()};
    while (!pending.empty() && text.size() < maxLength) {
        const DItem* item = pending.back();
        pending.pop_back();
        if (!item)
            continue;
        pending.push_back(item->next());
        if (item->type() == DItem::Text)
            text += static_cast<const DText*>(item)->text();
        else if (item->isContainer())
            pending.push_back(static_cast<const DItemContainer*>(item)->firstChild());
    }
    if (text.size() > maxLength)
        text = text.left(maxLength - 1) + QChar(0x2026);
    return text.trimmed();
}

// The full name of a finding's level, for its tool tip; empty for other entries.
QString levelName(const QAReporterNode& node)
{
    if (node.level == QLatin1String("error"))
        return OutlineModel::tr("Level: error");
    if (node.level == QLatin1String("warning"))
        return OutlineModel::tr("Level: warning");
    if (node.level == QLatin1String("note"))
        return OutlineModel::tr("Level: note");
    if (node.level == QLatin1String("none"))
        return OutlineModel::tr("Level: none");
    return QString();
}

// The colour of a level's names and counts; none for other levels.
QVariant levelColour(const QString& level)
{
    if (level == QLatin1String("error"))
        return QColor(0xb0, 0x1c, 0x1c);
    if (level == QLatin1String("warning"))
        return QColor(0x8a, 0x5a, 0x00);
    if (level == QLatin1String("note"))
        return QColor(0x13, 0x50, 0x8f);
    return {};
}

// The colour of a failed finding's name, by its level.
QVariant levelColour(const QAReporterNode& node)
{
    return node.stat == QSKO ? levelColour(node.level) : QVariant();
}

// The triage marks in the corners of a verdict's picture: a dot at the bottom right for a review
// (red when confirmed, grey and struck through when dismissed), a blue square at the top right
// for an open defect.
QIcon withMarks(const QIcon& verdict, const QAReporterNode& node)
{
    constexpr int side = 16;
    QPixmap picture(side, side);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    if (!verdict.isNull())
        verdict.paint(&painter, QRect(0, 0, side, side));
    if (node.review != QAReporterNode::Review::None) {
        const QRectF dot(side - 8.5, side - 8.5, 8, 8);
        painter.setPen(QPen(Qt::white, 1));
        painter.setBrush(node.dismissed() ? QColor(0x75, 0x75, 0x75) : QColor(0xc6, 0x28, 0x28));
        painter.drawEllipse(dot);
        if (node.dismissed()) {
            painter.setPen(QPen(Qt::white, 1.5));
            painter.drawLine(dot.bottomLeft() + QPointF(2, -2), dot.topRight() + QPointF(-2, 2));
        }
    }
    if (node.defectId != 0) {
        painter.setPen(QPen(Qt::white, 1));
        painter.setBrush(QColor(0x15, 0x65, 0xc0));
        painter.drawRect(QRectF(side - 6.5, 0.5, 6, 6));
    }
    painter.end();
    return QIcon(picture);
}

// What the marks say, for screen readers; empty when there are none.
QString marksText(const QAReporterNode& node)
{
    QStringList parts;
    switch (node.review) {
    case QAReporterNode::Review::Confirmed:
        parts.append(OutlineModel::tr("reviewed as confirmed"));
        break;
    case QAReporterNode::Review::FalsePositive:
        parts.append(OutlineModel::tr("reviewed as false positive"));
        break;
    case QAReporterNode::Review::Intentional:
        parts.append(OutlineModel::tr("reviewed as intentional"));
        break;
    case QAReporterNode::Review::None:
        break;
    }
    if (node.defectId != 0)
        parts.append(OutlineModel::tr("defect %1 filed").arg(node.defectId));
    return parts.join(QStringLiteral(", "));
}

} // namespace

OutlineModel::OutlineModel(QObject* parent) : QAbstractItemModel(parent)
{
    loadIcons();
}

OutlineModel::~OutlineModel() = default;

QModelIndex OutlineModel::addFile(QAReporterDataTree* tree, const QString& fileName,
                                  const QString& shownPath)
{
    OutlineNode* root = tree ? tree->rootNode() : nullptr;
    if (!root || !root->data)
        return {};
    const int row = int(m_files.size());
    beginInsertRows({}, row, row);
    const QFileInfo info(fileName);
    m_files.push_back(
        {tree, root, info, info.fileName(), shownPath.isEmpty() ? info.filePath() : shownPath});
    m_fileRows.insert(root, row);
    if (m_filtered)
        m_shown.insert(root, Shown());
    countFailures(root);
    endInsertRows();
    return index(row, NameColumn);
}

void OutlineModel::clear()
{
    beginResetModel();
    m_files.clear();
    m_fileRows.clear();
    m_shown.clear();
    m_shownChildren.clear();
    m_counts.clear();
    m_results.clear();
    loadIcons();
    endResetModel();
}

void OutlineModel::setQuery(const OutlineQuery& query)
{
    beginResetModel();
    m_filtered = !query.isEmpty();
    m_shown.clear();
    m_shownChildren.clear();
    m_counts.clear();
    m_results.clear();
    if (m_filtered) {
        for (const File& file : m_files) {
            std::vector<const OutlineNode*> order; // parents before children
            query.select(file.root, file.name,
                         [&order](const OutlineNode* node) { order.push_back(node); });
            m_shown.reserve(m_shown.size() + qsizetype(order.size()) + 1);
            m_shown.insert(file.root, Shown());
            for (const OutlineNode* node : order)
                m_shown.insert(node, Shown());
            for (const OutlineNode* node : order)
                ++m_shown[node->parent].count;
            // The children of each node side by side, in the order of the walk.
            size_t offset = m_shownChildren.size();
            const auto place = [this, &offset](const OutlineNode* node) {
                Shown& shown = m_shown[node];
                shown.first = int(offset);
                offset += size_t(shown.count);
                shown.count = 0;
            };
            place(file.root);
            for (const OutlineNode* node : order)
                place(node);
            m_shownChildren.resize(offset);
            for (const OutlineNode* node : order) {
                Shown& parent = m_shown[node->parent];
                const int row = parent.count++;
                m_shownChildren[size_t(parent.first + row)] = node;
                m_shown[node].row = row;
            }
        }
    }
    for (const File& file : m_files)
        countFailures(file.root);
    endResetModel();
}

void OutlineModel::countFailures(const OutlineNode* root)
{
    struct Frame
    {
        const OutlineNode* node;
        int next;
        FailureCounts counts;
    };
    std::vector<Frame> stack{{root, 0, {}}};
    while (!stack.empty()) {
        Frame& top = stack.back();
        const int children = shownChildCount(top.node);
        if (top.next < children) {
            const OutlineNode* child = shownChild(top.node, top.next++);
            stack.push_back({child, 0, {}});
            continue;
        }
        Frame done = top;
        stack.pop_back();
        if (done.node->parent && done.node->data->stat == QSKO && done.counts.isEmpty()) {
            m_results.insert(done.node);
            done.counts.addFailure(*done.node->data);
        }
        if (!done.counts.isEmpty() && (children > 0 || !done.node->parent))
            m_counts.insert(done.node, done.counts);
        if (!stack.empty())
            stack.back().counts += done.counts;
    }
}

void OutlineModel::loadIcons()
{
    // Taken again with each new set of rows, so that restyled pictures show.
    m_pictures.clear();
    m_report = pixmapcenter()->icon(QARIcons::report());
    m_ok = pixmapcenter()->icon(QARIcons::testOk());
    m_failed = pixmapcenter()->icon(QARIcons::testFailed());
    m_unknown = pixmapcenter()->icon(QARIcons::testUnknown());
    m_error = pixmapcenter()->icon(QARIcons::levelError());
    m_warning = pixmapcenter()->icon(QARIcons::levelWarning());
    m_note = pixmapcenter()->icon(QARIcons::levelNote());
}

int OutlineModel::shownChildCount(const OutlineNode* node) const
{
    if (!m_filtered)
        return int(node->children.size());
    const auto shown = m_shown.constFind(node);
    return shown == m_shown.constEnd() ? 0 : shown->count;
}

const OutlineNode* OutlineModel::shownChild(const OutlineNode* node, int row) const
{
    if (!m_filtered)
        return node->children[size_t(row)].get();
    return m_shownChildren[size_t(m_shown.value(node).first + row)];
}

const OutlineNode* OutlineModel::above(const QModelIndex& parent) const
{
    const OutlineNode* node = nodeOf(parent);
    return node ? node : fileRoot(parent);
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
    if (!m_filtered)
        return createIndex(node->row, NameColumn, node);
    const auto shown = m_shown.constFind(node);
    return shown == m_shown.constEnd() ? QModelIndex() : createIndex(shown->row, NameColumn, node);
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

QModelIndex OutlineModel::failureFrom(const QModelIndex& from, bool forward, bool resultsOnly) const
{
    const OutlineNode* node = above(from);
    if (!node)
        return {};
    std::vector<const OutlineNode*> roots;
    roots.reserve(m_files.size());
    for (const File& file : m_files)
        roots.push_back(file.root);
    std::function<bool(const OutlineNode*)> takes;
    if (resultsOnly)
        takes = [this](const OutlineNode* failure) { return m_results.contains(failure); };
    else if (m_filtered)
        takes = [this](const OutlineNode* failure) { return m_shown.contains(failure); };
    return indexOf(::failureFrom(roots, node, forward, takes));
}

FailureCounts OutlineModel::countsOf(const QModelIndex& index) const
{
    return m_counts.value(above(index));
}

QModelIndex OutlineModel::index(int row, int column, const QModelIndex& parent) const
{
    if (row < 0 || column < 0 || column > CountColumn)
        return {};
    if (!parent.isValid())
        return size_t(row) < m_files.size() ? createIndex(row, column, nullptr) : QModelIndex();
    const OutlineNode* node = above(parent);
    if (!node || row >= shownChildCount(node))
        return {};
    return createIndex(row, column, shownChild(node, row));
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
    const OutlineNode* node = above(parent);
    return node ? shownChildCount(node) : 0;
}

int OutlineModel::columnCount(const QModelIndex&) const
{
    return 3;
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

QIcon OutlineModel::verdictIcon(const QAReporterNode& node) const
{
    if (node.stat == QSOK)
        return m_ok;
    if (node.stat == QSKO) {
        if (node.level == QLatin1String("error"))
            return m_error;
        if (node.level == QLatin1String("warning"))
            return m_warning;
        if (node.level == QLatin1String("note"))
            return m_note;
        return m_failed;
    }
    if (node.stat == QSNE)
        return m_unknown;
    return {};
}

// The whole name (or path) first, then the message, the rule and the failures held, as plain
// text whatever the file puts in them.
QString OutlineModel::toolTip(const QModelIndex& index) const
{
    QStringList lines;
    const OutlineNode* node = nodeOf(index);
    if (!node) {
        lines.append(m_files[size_t(index.row())].shownPath);
    } else {
        const QAReporterNode& shown = *node->data;
        lines.append(shown.name);
        if (shown.newFailure)
            lines.append(tr("New since %1").arg(m_baselineName));
        const QString level = levelName(shown);
        if (!level.isEmpty())
            lines.append(level);
        const QString message = messageOf(shown.item);
        if (!message.isEmpty() && message != shown.name)
            lines.append(message);
        if (!shown.rule.isEmpty())
            lines.append(tr("Rule: %1").arg(shown.rule));
        const QString note = m_notes ? m_notes(shown) : QString();
        if (!note.isEmpty())
            lines.append(note);
    }
    const FailureCounts counts = countsOf(index);
    if (!counts.isEmpty() && (!node || !m_results.contains(node)))
        lines.append(counts.text());
    return QAPlainText::toolTip(lines.join(QLatin1Char('\n')));
}

QVariant OutlineModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid())
        return {};
    if (role == Qt::ToolTipRole)
        return toolTip(index);
    if (index.column() == CountColumn) {
        // A number, narrow beside the names, in the colour of the gravest level it counts;
        // the tool tip tells them apart.
        const OutlineNode* node = nodeOf(index);
        const FailureCounts counts =
            node && m_results.contains(node) ? FailureCounts() : countsOf(index);
        if (counts.isEmpty())
            return {};
        if (role == Qt::DisplayRole)
            return QString::number(counts.total());
        if (role == Qt::ForegroundRole)
            return counts.errors > 0     ? levelColour(QStringLiteral("error"))
                   : counts.warnings > 0 ? levelColour(QStringLiteral("warning"))
                   : counts.notes > 0    ? levelColour(QStringLiteral("note"))
                                         : QVariant(QColor(Qt::darkGray));
        if (role == Qt::TextAlignmentRole)
            return QVariant::fromValue(Qt::AlignRight | Qt::AlignVCenter);
        return {};
    }
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
            return shown->name.toString();
        if (role == Qt::DecorationRole && !shown->icon.isNull())
            return pictureOf(shown->icon);
        // A dismissed result's name is grey and slanted: read, and set aside.
        if (role == Qt::ForegroundRole)
            return shown->dismissed() ? QVariant(QColor(Qt::gray)) : levelColour(*shown);
        if (role == Qt::FontRole && (shown->newFailure || shown->dismissed())) {
            QFont font;
            font.setBold(shown->newFailure);
            font.setItalic(shown->dismissed());
            return font;
        }
        if (role == Qt::AccessibleDescriptionRole) {
            const QString marks = marksText(*shown);
            return marks.isEmpty() ? QVariant() : marks;
        }
        return {};
    }
    if (role == Qt::AccessibleTextRole) {
        const QString level = levelName(*shown);
        const QString marks = marksText(*shown);
        return level.isEmpty() || marks.isEmpty() ? level + marks
                                                  : level + QStringLiteral(", ") + marks;
    }
    if (role != Qt::DecorationRole)
        return {};
    const QIcon icon = verdictIcon(*shown);
    if (shown->review == QAReporterNode::Review::None && shown->defectId == 0)
        return icon.isNull() ? QVariant() : icon;
    return markedIcon(icon, *shown);
}

QIcon OutlineModel::markedIcon(const QIcon& verdict, const QAReporterNode& node) const
{
    const quint64 key = (quint64(verdict.cacheKey()) << 3) ^ (quint64(node.review) << 1) ^
                        quint64(node.defectId != 0);
    const auto known = m_markedIcons.constFind(key);
    if (known != m_markedIcons.constEnd())
        return known.value();
    const QIcon icon = withMarks(verdict, node);
    m_markedIcons.insert(key, icon);
    return icon;
}

QVariant OutlineModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    if (section == NameColumn)
        return tr("Name");
    if (section == CountColumn)
        return tr("Failures");
    return {};
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
