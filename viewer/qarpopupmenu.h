#pragma once

#include <QMenu>

class QTreeWidgetItem;

// The context menu of the outline; it remembers the entry it was opened on.
class QARPopupMenu : public QMenu
{
    Q_OBJECT

public:
    using QMenu::QMenu;

    QTreeWidgetItem* listItem = nullptr;
};
