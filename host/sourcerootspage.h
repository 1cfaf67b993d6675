#pragma once

#include "host/sourceroots.h"
#include "sdk/preferenceitem.h"

#include <QPointer>

class QTableWidget;

// The preferences page of the source roots: each missing folder and the folder looked under in
// its place, in the order they are tried; rows are added, edited in place and removed, and the
// roots change when the dialog's changes are applied.
class SourceRootsPage : public PreferenceItem
{
    Q_OBJECT

public:
    explicit SourceRootsPage(SourceRoots* roots);

    QWidget* createWidget(QWidget* parent) override;
    void updateContents() override;
    void apply() override;
    void cancel() override;
    void defaults() override;

private:
    void addRow(const SourceRoots::Root& root);

    SourceRoots* m_roots;
    QList<SourceRoots::Root> m_values; // as the page shows them when its widgets are filled
    QPointer<QTableWidget> m_table;    // the dialog owns it
};
