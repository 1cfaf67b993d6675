#pragma once

#include "defects/defectstore.h"

#include <QDockWidget>

class QLabel;
class QLineEdit;
class QPushButton;
class QSortFilterProxyModel;
class QStandardItemModel;
class QTableView;
class QTreeWidget;

// The Defects dock: the defects of the store in a sortable table, a filter box, closing and
// reopening the selected ones, and the rows shown exported as CSV. Activating a row (double
// click, Return) asks for its result item to be shown.
class DefectsDock : public QDockWidget
{
    Q_OBJECT

public:
    enum Column
    {
        IdColumn,
        StateColumn,
        HeadlineColumn,
        ItemColumn,
        FileColumn,
        FiledColumn,
        ReferenceColumn,
        ColumnCount
    };

    explicit DefectsDock(QWidget* parent);
    ~DefectsDock() override;

    void setStorePath(const QString& path);
    // Reads the store again; a store that cannot be read is said in the dock. Shown again, the
    // dock reads the store only when another program changed it since.
    void refresh();

Q_SIGNALS:
    void openRequested(const Defect& defect);
    // Defects were closed or reopened here.
    void closedChanged();

private:
    // The defects shown, in the order shown.
    QList<Defect> shownDefects() const;
    // An empty model with the column titles.
    QStandardItemModel* newModel();
    // What changes in the store file with every change to it; empty when it cannot be read.
    QString storeStamp() const;
    QList<Defect> selectedDefects() const;
    void setSelectedClosed(bool closed);
    void exportCsv();
    void updateButtons();
    void showMessage(const QString& text, bool error);

    QString m_storePath;
    QString m_readStamp;     // storeStamp() when the store was last read
    QList<Defect> m_defects; // by row of the model
    QStandardItemModel* m_model;
    QSortFilterProxyModel* m_proxy;
    QTableView* m_table;
    QLineEdit* m_filter;
    QPushButton* m_close;
    QPushButton* m_reopen;
    QPushButton* m_export;
    QLabel* m_message;
    QTreeWidget* m_reviews; // one row a review
};
