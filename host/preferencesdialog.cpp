#include "host/preferencesdialog.h"

#include "sdk/preferenceitem.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QPushButton>
#include <QStackedWidget>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <utility>

PreferencesDialog::PreferencesDialog(PreferencePageInterface* root, QWidget* parent)
    : QDialog(parent)
{
    setWindowTitle(tr("Preferences"));
    m_tree = new QTreeWidget(this);
    m_tree->setHeaderHidden(true);
    m_tree->setMaximumWidth(220);
    m_stack = new QStackedWidget(this);
    m_buttons =
        new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Apply |
                                 QDialogButtonBox::Cancel | QDialogButtonBox::RestoreDefaults,
                             this);
    auto* pages = new QHBoxLayout;
    pages->addWidget(m_tree);
    pages->addWidget(m_stack, 1);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(pages);
    layout->addWidget(m_buttons);

    addPages(root);
    m_tree->expandAll();
    if (m_tree->topLevelItemCount() > 0)
        m_tree->setCurrentItem(m_tree->topLevelItem(0));

    connect(m_tree, &QTreeWidget::currentItemChanged, this, [this](QTreeWidgetItem* item) {
        if (item)
            m_stack->setCurrentIndex(item->data(0, Qt::UserRole).toInt());
    });
    connect(m_buttons, &QDialogButtonBox::accepted, this, &PreferencesDialog::accept);
    connect(m_buttons, &QDialogButtonBox::rejected, this, &PreferencesDialog::reject);
    connect(m_buttons->button(QDialogButtonBox::Apply), &QPushButton::clicked, this,
            &PreferencesDialog::applyAll);
    connect(m_buttons->button(QDialogButtonBox::RestoreDefaults), &QPushButton::clicked, this,
            &PreferencesDialog::restoreDefaults);
}

// Walks the tree with a stack of its own: a plug-in may nest pages as deep as it likes.
void PreferencesDialog::addPages(PreferencePageInterface* root)
{
    std::vector<std::pair<PreferencePageInterface*, QTreeWidgetItem*>> pending;
    if (root)
        pending.emplace_back(root, nullptr);
    while (!pending.empty()) {
        auto [page, parentItem] = pending.back();
        pending.pop_back();
        auto* item = parentItem ? new QTreeWidgetItem(parentItem) : new QTreeWidgetItem(m_tree);
        item->setText(0, page->title());
        item->setData(0, Qt::UserRole, int(m_pages.size()));
        QWidget* widget = page->createWidget(m_stack);
        if (!widget)
            widget = new QWidget(m_stack);
        m_stack->addWidget(widget);
        m_pages.push_back({page, widget});
        page->updateContents();
        // The sibling goes first onto the stack so that the child's subtree is done before it.
        if (PreferencePageInterface* next = page->next())
            pending.emplace_back(next, parentItem);
        if (PreferencePageInterface* child = page->child())
            pending.emplace_back(child, item);
    }
}

void PreferencesDialog::applyPages()
{
    for (const Page& page : m_pages)
        page.page->apply();
}

void PreferencesDialog::applyAll()
{
    applyPages();
    m_applied = true;
    if (m_valuesReader)
        m_appliedValues = m_valuesReader();
    Q_EMIT applied();
}

void PreferencesDialog::restoreDefaults()
{
    if (PreferencePageInterface* page = currentPage()) {
        page->defaults();
        page->updateContents();
    }
}

PreferencePageInterface* PreferencesDialog::currentPage() const
{
    const int index = m_stack->currentIndex();
    return index >= 0 && index < int(m_pages.size()) ? m_pages[index].page : nullptr;
}

void PreferencesDialog::accept()
{
    applyPages();
    if (!m_applied || !m_valuesReader || m_valuesReader() != m_appliedValues)
        Q_EMIT applied();
    QDialog::accept();
}

void PreferencesDialog::reject()
{
    for (const Page& page : m_pages)
        page.page->cancel();
    QDialog::reject();
}
