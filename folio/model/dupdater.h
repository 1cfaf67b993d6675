#pragma once

#include "folio/model/diterator.h"

// Recomputes what the library derives from a finished document: the parent link of every item,
// so that a document assembled by hand or copied piece by piece is consistent.
class DUpdater : public DIterator
{
public:
    void doItem(DItem* item) override;
};
