#include "host/defectsdock.h"

#include "sdk/qadialogs.h"
#include "sdk/qaplaintext.h"
#include "sdk/qasafefile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSet>
#include <QSortFilterProxyModel>
#include <QStandardItemModel>
#include <QTabWidget>
#include <QTableView>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {

constexpr int DefectRole = Qt::UserRole + 1; // the row's index in the defect list

} // namespace

DefectsDock::DefectsDock(QWidget* parent) : QDockWidget(tr("Defects"), parent)
{
    setObjectName(QStringLiteral("defects"));
    auto* page = new QWidget(this);
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(2, 2, 2, 2);
    auto* bar = new QHBoxLayout;
    m_filter = new QLineEdit(page);
    m_filter->setPlaceholderText(tr("Filter defects"));
    m_filter->setClearButtonEnabled(true);
    m_close = new QPushButton(tr("C&lose Defect"), page);
    m_reopen = new QPushButton(tr("&Reopen"), page);
    m_export = new QPushButton(tr("E&xport CSV..."), page);
    bar->addWidget(m_filter, 1);
    bar->addWidget(m_close);
    bar->addWidget(m_reopen);
    bar->addWidget(m_export);
    layout->addLayout(bar);

    m_model = newModel();
    m_proxy = new QSortFilterProxyModel(this);
    m_proxy->setSourceModel(m_model);
    m_proxy->setFilterKeyColumn(-1);
    m_proxy->setFilterCaseSensitivity(Qt::CaseInsensitive);
    m_proxy->setSortRole(Qt::UserRole);
    m_table = new QTableView(page);
    m_table->setModel(m_proxy);
    m_table->setSortingEnabled(true);
    m_table->sortByColumn(IdColumn, Qt::AscendingOrder);
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->verticalHeader()->hide();
    m_table->horizontalHeader()->setStretchLastSection(true);
    m_table->setWordWrap(false);
    layout->addWidget(m_table, 1);
    m_message = new QLabel(page);
    m_message->setTextFormat(Qt::PlainText); // it names the store and quotes SQLite
    m_message->setWordWrap(true);
    m_message->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_message->hide();
    layout->addWidget(m_message);
    // The reviews kept in the same store, beside the defects.
    m_reviews = new QTreeWidget(this);
    m_reviews->setObjectName(QStringLiteral("reviews"));
    m_reviews->setRootIsDecorated(false);
    m_reviews->setSortingEnabled(true);
    m_reviews->setHeaderLabels(
        {tr("Status"), tr("Identity"), tr("Rule"), tr("Who"), tr("When"), tr("Comment")});
    m_reviews->sortByColumn(1, Qt::AscendingOrder);
    auto* views = new QTabWidget(this);
    views->setObjectName(QStringLiteral("defectsViews"));
    views->addTab(page, tr("&Defects"));
    views->addTab(m_reviews, tr("Re&views"));
    setWidget(views);

    connect(m_filter, &QLineEdit::textChanged, m_proxy,
            &QSortFilterProxyModel::setFilterFixedString);
    connect(m_table, &QAbstractItemView::activated, this, [this](const QModelIndex& index) {
        const int row = index.data(DefectRole).toInt();
        if (row >= 0 && row < m_defects.size())
            Q_EMIT openRequested(m_defects.at(row));
    });
    connect(m_table->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &DefectsDock::updateButtons);
    connect(m_close, &QPushButton::clicked, this, [this] { setSelectedClosed(true); });
    connect(m_reopen, &QPushButton::clicked, this, [this] { setSelectedClosed(false); });
    connect(m_export, &QPushButton::clicked, this, &DefectsDock::exportCsv);
    connect(this, &QDockWidget::visibilityChanged, this, [this](bool visible) {
        if (visible && storeStamp() != m_readStamp)
            refresh();
    });
    updateButtons();
}

DefectsDock::~DefectsDock() = default;

void DefectsDock::setStorePath(const QString& path)
{
    m_storePath = path;
    refresh();
}

QStandardItemModel* DefectsDock::newModel()
{
    auto* model = new QStandardItemModel(0, ColumnCount, this);
    model->setHorizontalHeaderLabels({tr("Id"), tr("State"), tr("Headline"), tr("Item"), tr("File"),
                                      tr("Filed"), tr("External Reference")});
    return model;
}

QString DefectsDock::storeStamp() const
{
    // SQLite counts the transactions committed to a database in bytes 24 to 27 of its header;
    // the size and the time tell a file put in the store's place.
    QFile store(m_storePath);
    if (!QASafeWrite::openRegularFile(store, nullptr))
        return QString();
    const QByteArray header = store.read(28);
    const QFileInfo info(store);
    return QStringLiteral("%1 %2 %3")
        .arg(QString::fromLatin1(header.mid(24).toHex()))
        .arg(info.size())
        .arg(info.lastModified().toMSecsSinceEpoch());
}

void DefectsDock::refresh()
{
    m_readStamp = storeStamp(); // before reading: a change while reading is read next time
    DefectStore store(m_storePath);
    QList<Defect> defects;
    const bool read = store.read(&defects);
    QList<Review> reviews;
    m_reviews->clear();
    if (read && store.readReviews(&reviews)) {
        QList<QTreeWidgetItem*> rows;
        for (const Review& review : std::as_const(reviews)) {
            rows.append(new QTreeWidgetItem(
                {review.status, review.identity, review.rule, review.who,
                 QLocale().toString(review.when.toLocalTime(), QLocale::ShortFormat),
                 review.comment}));
        }
        m_reviews->addTopLevelItems(rows);
    }
    m_defects = defects;
    // The rows go into a model of their own, shown once filled: added one by one under the
    // sorting proxy, each would be sorted in on its own.
    QStandardItemModel* model = newModel();
    for (qsizetype row = 0; row < m_defects.size(); ++row) {
        const Defect& defect = m_defects.at(row);
        const QString state = defect.closed ? tr("closed") : tr("open");
        const QString file = QDir::toNativeSeparators(defect.file);
        const QDateTime filed = defect.filed.toLocalTime();
        const struct
        {
            QString text;
            QVariant sortKey;
        } cells[ColumnCount] = {
            {QString::number(defect.id), defect.id},
            {state, state},
            {defect.headline, defect.headline},
            {defect.item(), defect.item()},
            {QFileInfo(defect.file).fileName(), file},
            {QLocale().toString(filed, QLocale::ShortFormat), defect.filed},
            {defect.externalReference, defect.externalReference},
        };
        QList<QStandardItem*> items;
        for (const auto& cell : cells) {
            auto* item = new QStandardItem(cell.text);
            item->setData(cell.sortKey, Qt::UserRole);
            item->setData(int(row), DefectRole);
            items.append(item);
        }
        items[FileColumn]->setToolTip(QAPlainText::toolTip(file));
        items[HeadlineColumn]->setToolTip(QAPlainText::toolTip(defect.description));
        model->appendRow(items);
    }
    m_proxy->setSourceModel(model);
    delete m_model;
    m_model = model;
    // Every column as wide as its texts, the headline within reason.
    m_table->resizeColumnsToContents();
    m_table->setColumnWidth(HeadlineColumn, qMin(m_table->columnWidth(HeadlineColumn), 460));
    if (read)
        showMessage(m_defects.isEmpty()
                        ? tr("No defects filed in %1").arg(QDir::toNativeSeparators(m_storePath))
                        : QString(),
                    false);
    else
        showMessage(store.errorString(), true);
    updateButtons();
}

QList<Defect> DefectsDock::shownDefects() const
{
    QList<Defect> shown;
    for (int row = 0; row < m_proxy->rowCount(); ++row)
        shown.append(m_defects.at(m_proxy->index(row, 0).data(DefectRole).toInt()));
    return shown;
}

QList<Defect> DefectsDock::selectedDefects() const
{
    QList<Defect> selected;
    for (const QModelIndex& index : m_table->selectionModel()->selectedRows())
        selected.append(m_defects.at(index.data(DefectRole).toInt()));
    return selected;
}

void DefectsDock::updateButtons()
{
    bool anyOpen = false;
    bool anyClosed = false;
    for (const Defect& defect : selectedDefects()) {
        anyOpen = anyOpen || !defect.closed;
        anyClosed = anyClosed || defect.closed;
    }
    m_close->setEnabled(anyOpen);
    m_reopen->setEnabled(anyClosed);
    m_export->setEnabled(!m_defects.isEmpty());
}

void DefectsDock::setSelectedClosed(bool closed)
{
    QList<qint64> ids;
    for (const Defect& defect : selectedDefects()) {
        if (defect.closed != closed)
            ids.append(defect.id);
    }
    if (ids.isEmpty())
        return;
    DefectStore store(m_storePath);
    if (!store.setClosed(ids, closed)) {
        QADialogs::warning(this, windowTitle(), store.errorString());
        return;
    }
    Q_EMIT closedChanged();
    // The same rows stay selected across the new reading.
    refresh();
    const QSet<qint64> changed(ids.cbegin(), ids.cend());
    QItemSelection selection;
    for (int row = 0; row < m_proxy->rowCount(); ++row) {
        const QModelIndex index = m_proxy->index(row, 0);
        if (changed.contains(m_defects.at(index.data(DefectRole).toInt()).id))
            selection.select(index, index);
    }
    m_table->selectionModel()->select(selection,
                                      QItemSelectionModel::Select | QItemSelectionModel::Rows);
}

void DefectsDock::exportCsv()
{
    const QString title = tr("Export Defects");
    const QString path = QADialogs::current().saveFileName(
        this, title, QDir::home().filePath(QStringLiteral("defects.csv")),
        tr("CSV files (*.csv);;All files (*)"));
    if (path.isEmpty())
        return;
    const QList<Defect> shown = shownDefects();
    QString error;
    if (!QASafeWrite::writeFile(path, DefectFormat::toCsv(shown), &error)) {
        QADialogs::warning(this, title, error);
        return;
    }
    showMessage(tr("%n defect(s) exported to %1", nullptr, int(shown.size()))
                    .arg(QDir::toNativeSeparators(path)),
                false);
}

void DefectsDock::showMessage(const QString& text, bool error)
{
    m_message->setText(text);
    m_message->setStyleSheet(error ? QStringLiteral("color: #b00020;") : QString());
    m_message->setVisible(!text.isEmpty());
}
