#include "folio/model/dupdater.h"

#include "folio/model/ditem.h"

void DUpdater::doItem(DItem* item)
{
    if (DItemContainer* container = item ? item->asContainer() : nullptr) {
        for (DItem* child = container->firstChild(); child; child = child->next())
            child->setParent(container);
    }
    DIterator::doItem(item);
}
