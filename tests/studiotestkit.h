#pragma once

// Drivers of the real crcstudio window, as the test programs use them.

#include <QString>

class QAction;
class QMainWindow;
class StudioMainWindow;

namespace testkit {

// The plug-in library crcstudio loads.
extern const QString pluginPath;

// The action of a menu of the menu bar, found by the texts a user reads (mnemonics included).
QAction* menuAction(QMainWindow& window, const QString& menuText, const QString& actionText);

// Closes every tab as its close button does, and waits until their viewers are gone.
void closeAllTabs(StudioMainWindow& studio);

} // namespace testkit
