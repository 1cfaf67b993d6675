#include "viewer/qarlistviewitem.h"

#include "model/qareporternode.h"
#include "sdk/qapixmapcenter.h"
#include "viewer/qaricons.h"

QARListViewItem::QARListViewItem() : QTreeWidgetItem(Type) {}

QARListViewItem::QARListViewItem(QARListViewItem* parent)
    : QTreeWidgetItem(parent, Type), ko(parent->ko)
{
}

QARListViewItem::~QARListViewItem() = default;

void QARListViewItem::decorate(QAReporterNode* shown)
{
    if (!shown->name.isNull())
        setText(0, shown->name);
    if (!shown->icon.isNull()) {
        const QString path = pixmapcenter()->getPathByFileName(shown->icon);
        setIcon(0,
                pixmapcenter()->icon(path.isEmpty() ? QARIcons::testUnknown()
                                                    : pixmapcenter()->getPixmapByFilePath(path)));
    }
    ko = false;
    if (shown->stat == QSOK) {
        setIcon(1, pixmapcenter()->icon(QARIcons::testOk()));
    } else if (shown->stat == QSKO) {
        ko = true;
        setIcon(1, pixmapcenter()->icon(QARIcons::testFailed()));
    } else if (shown->stat == QSNE) {
        setIcon(1, pixmapcenter()->icon(QARIcons::testUnknown()));
    }
    node = shown;
    item = shown->item;
}
