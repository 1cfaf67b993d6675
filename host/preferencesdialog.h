#pragma once

#include <QDialog>
#include <vector>

class PreferencePageInterface;
class QDialogButtonBox;
class QStackedWidget;
class QTreeWidget;
class QTreeWidgetItem;

// The studio's preferences dialog over a plug-in's page tree: the page titles on the left, the
// page shown on the right. Apply takes the values of every page; OK applies and closes; Cancel
// gives the pages' changes up; Defaults resets the page shown. The values taken are announced
// once: OK after Apply announces them again only when the pages were edited in between.
class PreferencesDialog : public QDialog
{
    Q_OBJECT

public:
    // `root` (borrowed) is the first page of the tree; its siblings follow through next().
    PreferencesDialog(PreferencePageInterface* root, QWidget* parent);

    void applyAll();
    void restoreDefaults();
    // The page shown; null when the tree is empty.
    PreferencePageInterface* currentPage() const;
    // Shows the page of the given tag; false when there is none.
    bool showPage(const QString& tag);

    QTreeWidget* pageTree() const { return m_tree; }
    QDialogButtonBox* buttons() const { return m_buttons; }

    void accept() override;
    void reject() override;

Q_SIGNALS:
    // The pages took new values (Apply, or OK before accepted()).
    void applied();

protected:
    // Notes the user's edits in the pages.
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    struct Page
    {
        PreferencePageInterface* page;
        QWidget* widget;
    };
    void addPages(PreferencePageInterface* root);

    QTreeWidget* m_tree;
    QStackedWidget* m_stack;
    QDialogButtonBox* m_buttons;
    std::vector<Page> m_pages; // in tree order; the index is the stack's and the item's data
    bool m_applied = false;    // Apply was pressed
    bool m_editedSinceApply = false;
};
