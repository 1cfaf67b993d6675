#include "host/sourcerootspage.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>
#include <algorithm>
#include <functional>

SourceRootsPage::SourceRootsPage(SourceRoots* roots)
    : PreferenceItem(tr("Source Roots"), QStringLiteral("source_roots"), QString()), m_roots(roots),
      m_values(roots->roots())
{
}

QWidget* SourceRootsPage::createWidget(QWidget* parent)
{
    auto* page = new QWidget(parent);
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(10, 10, 10, 10);
    auto* about = new QLabel(tr("A source file that is not where its report says is looked for "
                                "under the folder given in place of the missing one; the first "
                                "folder that holds it is taken."),
                             page);
    about->setWordWrap(true);
    layout->addWidget(about);

    m_table = new QTableWidget(0, 2, page);
    m_table->setObjectName(QStringLiteral("sourceRoots"));
    m_table->setHorizontalHeaderLabels({tr("Missing folder"), tr("Looked for under")});
    m_table->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    m_table->verticalHeader()->hide();
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed |
                             QAbstractItemView::AnyKeyPressed);
    layout->addWidget(m_table, 1);

    auto* buttons = new QHBoxLayout;
    auto* add = new QPushButton(tr("&Add"), page);
    auto* remove = new QPushButton(tr("&Remove"), page);
    buttons->addWidget(add);
    buttons->addWidget(remove);
    buttons->addStretch(1);
    layout->addLayout(buttons);
    connect(add, &QPushButton::clicked, this, [this] {
        addRow({});
        const int row = m_table->rowCount() - 1;
        m_table->setCurrentCell(row, 0);
        m_table->editItem(m_table->item(row, 0));
    });
    connect(remove, &QPushButton::clicked, this, [this] {
        const QModelIndexList rows = m_table->selectionModel()->selectedRows();
        QList<int> numbers;
        for (const QModelIndex& row : rows)
            numbers.append(row.row());
        std::sort(numbers.begin(), numbers.end(), std::greater<>());
        for (int row : numbers)
            m_table->removeRow(row);
    });
    return page;
}

void SourceRootsPage::addRow(const SourceRoots::Root& root)
{
    const int row = m_table->rowCount();
    m_table->insertRow(row);
    // Items show their text as it is: a folder name is never markup.
    m_table->setItem(row, 0, new QTableWidgetItem(root.from));
    m_table->setItem(row, 1, new QTableWidgetItem(root.to));
}

void SourceRootsPage::updateContents()
{
    if (!m_table)
        return;
    m_table->setRowCount(0);
    for (const SourceRoots::Root& root : std::as_const(m_values))
        addRow(root);
}

void SourceRootsPage::apply()
{
    if (m_table) {
        m_values.clear();
        for (int row = 0; row < m_table->rowCount(); ++row) {
            const QTableWidgetItem* from = m_table->item(row, 0);
            const QTableWidgetItem* to = m_table->item(row, 1);
            m_values.append({from ? from->text() : QString(), to ? to->text() : QString()});
        }
    }
    m_roots->setRoots(m_values);
    m_values = m_roots->roots();
    updateContents();
}

void SourceRootsPage::cancel()
{
    m_values = m_roots->roots();
}

void SourceRootsPage::defaults()
{
    m_values.clear();
}
