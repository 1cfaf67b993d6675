#include "tests/studiotestkit.h"

#include "host/studiomainwindow.h"

#include <QMenu>
#include <QMenuBar>
#include <QTabWidget>
#include <QTest>

namespace testkit {

const QString pluginPath = QStringLiteral(CRCPLUGIN_PATH);

QAction* menuAction(QMainWindow& window, const QString& menuText, const QString& actionText)
{
    for (QAction* top : window.menuBar()->actions()) {
        if (top->text() != menuText || !top->menu())
            continue;
        for (QAction* action : top->menu()->actions()) {
            if (action->text() == actionText)
                return action;
        }
    }
    return nullptr;
}

void closeAllTabs(StudioMainWindow& studio)
{
    while (studio.tabs()->count() > 0)
        Q_EMIT studio.tabs()->tabCloseRequested(0);
    QTRY_VERIFY(studio.viewers().isEmpty());
}

} // namespace testkit
