#pragma once

#include "folio/model/ditems.h"

// A link: its children show, its target says where it leads. A target is one of
// "xrdlink://FILE#ANCHOR" (another report file), "PATH line N" (a source file at a line) or a
// tag link "FILE::DOCUMENT::TAG", "FILE::TAG" or "TAG".
class DLink : public DTargetItem<DLink, DTaggedItemContainer, DItem::Link>
{
public:
    explicit DLink(const QString& target = QString()) : DTargetItem(target) {}
    explicit DLink(const DString& target) : DTargetItem(target) {}

    // Divides a tag link: "A::B::C" gives (A, B, C), "A::C" gives (A, null, C), a target without
    // "::" gives (null, null, target).
    void split(QString& file, QString& document, QString& tag) const;
};
