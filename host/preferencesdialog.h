#pragma once

#include <QByteArray>
#include <QDialog>
#include <functional>
#include <vector>

class PreferencePageInterface;
class QDialogButtonBox;
class QStackedWidget;
class QTreeWidget;
class QTreeWidgetItem;

// The studio's preferences dialog over a plug-in's page tree: the page titles on the left, the
// page shown on the right. Apply takes the values of every page; OK applies and closes; Cancel
// gives the pages' changes up; Defaults resets the page shown. The values taken are announced
// once: OK after Apply announces them again only when they differ from those applied.
class PreferencesDialog : public QDialog
{
    Q_OBJECT

public:
    // `root` (borrowed) is the first page of the tree; its siblings follow through next().
    PreferencesDialog(PreferencePageInterface* root, QWidget* parent);

    // How to read the values the pages keep, as bytes to compare: OK after Apply announces them
    // again only when they changed. Without it, OK always announces.
    void setValuesReader(std::function<QByteArray()> reader) { m_valuesReader = std::move(reader); }

    // Adds the pages of another tree (borrowed) after those shown.
    void addPages(PreferencePageInterface* root);

    void applyAll();
    void restoreDefaults();
    void accept() override;
    void reject() override;

Q_SIGNALS:
    // The pages took new values (Apply, or OK before accepted()).
    void applied();

private:
    struct Page
    {
        PreferencePageInterface* page;
        QWidget* widget;
    };
    // The page shown; null when the tree is empty.
    PreferencePageInterface* currentPage() const;
    void applyPages();

    QTreeWidget* m_tree;
    QStackedWidget* m_stack;
    QDialogButtonBox* m_buttons;
    std::vector<Page> m_pages; // in tree order; the index is the stack's and the item's data
    std::function<QByteArray()> m_valuesReader;
    bool m_applied = false;     // Apply was pressed
    QByteArray m_appliedValues; // as the reader gave them after Apply
};
