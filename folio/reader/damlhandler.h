#pragma once

#include "folio/model/ditem.h"
#include "folio/reader/drawkeymap.h"
#include "folio/styles/dstyle.h"

#include <QStringList>
#include <memory>
#include <vector>

class DAmlAttributes;
class DString;
template <class Text> class DStringPool;
class DDocument;

// Builds a document from the events of a markup reader, one item per element and one text item
// per run of character data. Subclasses see every event first and pass on what belongs to the
// document. A callback that returns false stops the reading; errorString() then says why.
class DAmlHandler
{
public:
    DAmlHandler();
    virtual ~DAmlHandler();
    DAmlHandler(const DAmlHandler&) = delete;
    DAmlHandler& operator=(const DAmlHandler&) = delete;

    virtual bool startDocument();
    virtual bool endDocument();
    virtual bool startElement(const QString& qName, const DAmlAttributes& attributes);
    virtual bool endElement(const QString& qName);
    virtual bool characters(const DString& text);
    // A markup error found by the reader; `message` is the reader's text.
    virtual bool fatalError(const QString& message);
    // Why the reading stopped; ends in a line feed.
    virtual QString errorString() const;

    // The styles that `style` attributes name. Set before reading.
    void setStyles(const DStyleList& styles);
    // When on, STYLE elements define styles (kept in localStyles()); otherwise they are skipped.
    void setEnabledLocalStyle(bool on);
    const DStyleList& localStyles() const { return m_localStyles; }
    QStringList localStyleNames() const;

    // The item opened by the element that just started, or null when it opened none.
    DItem* openedItem() const { return m_openedItem; }
    // The last item linked at the current level: the one the next item here would follow.
    DItem* lastItem() const;

    DDocument* document() const { return m_document.get(); }
    std::unique_ptr<DDocument> takeDocument();

protected:
    void setErrorString(const QString& message);

private:
    struct Frame;
    bool openItem(int kind, const DAmlAttributes& attributes);
    bool defineStyle(const DAmlAttributes& attributes);
    bool linkItem(DItemPtr item);

    void indexStyle(const DStylePtr& style);

    DStyleList m_styles;
    // The given and local styles, keyed by the UTF-8 name, with their number in DStyleTable
    // once an item used them.
    struct NamedStyle
    {
        DStylePtr style;
        mutable std::uint32_t number;
    };
    DRawKeyMap<NamedStyle> m_styleByName;
    bool m_localStylesEnabled = false;
    DStyleList m_localStyles;
    std::unique_ptr<DDocument> m_document;
    std::vector<Frame> m_frames;
    DItem* m_openedItem = nullptr;
    QString m_error;
    // Link targets repeat ("::s1", the same source line): each is stored once.
    std::unique_ptr<DStringPool<DString>> m_targets;
};
