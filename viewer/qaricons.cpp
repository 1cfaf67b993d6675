#include "viewer/qaricons.h"

#include "sdk/qapixmapcenter.h"

namespace {
#include "data/icons/levelerror.xpm"
#include "data/icons/levelnote.xpm"
#include "data/icons/levelwarning.xpm"
#include "data/icons/nextKO.xpm"
#include "data/icons/precKO.xpm"
#include "data/icons/reload.xpm"
#include "data/icons/reporter_16_bis.xpm"
#include "data/icons/testok.xpm"
#include "data/icons/testscomplete.xpm"
#include "data/icons/testsfailed.xpm"
#include "data/icons/testunknow.xpm"
} // namespace

namespace QARIcons {
QPixmap testOk()
{
    return GETPIX("testok_xpm", testok_xpm);
}
QPixmap testFailed()
{
    return GETPIX("testsfailed_xpm", testsfailed_xpm);
}
QPixmap testUnknown()
{
    return GETPIX("testunknow_xpm", testunknow_xpm);
}
QPixmap report()
{
    return GETPIX("reporter_16_bis_xpm", reporter_16_bis_xpm);
}
QPixmap levelError()
{
    return GETPIX("levelerror_xpm", levelerror_xpm);
}
QPixmap levelWarning()
{
    return GETPIX("levelwarning_xpm", levelwarning_xpm);
}
QPixmap levelNote()
{
    return GETPIX("levelnote_xpm", levelnote_xpm);
}
QPixmap previousFailure()
{
    return GETPIX("precKO_xpm", precKO_xpm);
}
QPixmap nextFailure()
{
    return GETPIX("nextKO_xpm", nextKO_xpm);
}
QPixmap allTests()
{
    return GETPIX("testscomplete_xpm", testscomplete_xpm);
}
QPixmap reload()
{
    return GETPIX("reload_xpm", reload_xpm);
}
QPixmap failedTests()
{
    return GETPIX("testsfailed_xpm", testsfailed_xpm);
}
} // namespace QARIcons
