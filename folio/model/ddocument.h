#pragma once

#include "folio/model/ditem.h"
#include "folio/model/ditems.h"

// A whole document: the root of an item tree, reached by links through its tag.
class DDocument : public DItemKind<DDocument, DTaggedItemContainer, DItem::Document>
{
public:
    const QString& title() const { return m_title; }
    void setTitle(const QString& title) { m_title = title; }

    std::unique_ptr<DDocument> copyDocument() const { return std::make_unique<DDocument>(*this); }

private:
    QString m_title;
};
