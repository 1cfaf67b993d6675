#pragma once

#include <QPixmap>

// The viewer's built-in pictures, served through the studio's picture cache.
namespace QARIcons {
QPixmap testOk();       // green check mark: passed
QPixmap testFailed();   // red cross: failed
QPixmap testUnknown();  // orange question mark: not evaluated, or a missing picture
QPixmap report();       // a result file in the outline
QPixmap levelError();   // an analyzer's failed finding of level "error": red disc with a cross
QPixmap levelWarning(); // of level "warning": amber triangle with an exclamation mark
QPixmap levelNote();    // of level "note": blue disc with an "i"
QPixmap previousFailure();
QPixmap nextFailure();
QPixmap allTests();    // the mode button while all results show
QPixmap failedTests(); // the mode button while only failures show
QPixmap reload();      // the Reload entry of the commands menu
} // namespace QARIcons
