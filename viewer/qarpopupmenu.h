#pragma once

#include <QMenu>
#include <QPersistentModelIndex>

// The context menu of the outline; it remembers the entry it was opened on.
class QARPopupMenu : public QMenu
{
    Q_OBJECT

public:
    using QMenu::QMenu;

    QPersistentModelIndex listItem; // invalid on empty space, or once the outline is cleared
};
