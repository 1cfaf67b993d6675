#include "folio/reader/damlhandler.h"

#include "folio/model/ddocument.h"
#include "folio/model/dlink.h"
#include "folio/model/dstringpool.h"
#include "folio/reader/damlattributes.h"

#include <array>
#include <vector>

namespace {

// Elements that are not items.
enum : int
{
    StylesElement = DItem::TypeCount,
    StyleElement,
    UnknownElement
};

int elementKind(const QString& name)
{
    // Asked once per element read: the names are told apart by their length and first letter
    // before any comparison, which costs far less than hashing every name.
    struct Entry
    {
        QLatin1String name;
        int kind;
    };
    constexpr qsizetype longest = 16;
    static const std::array<std::vector<Entry>, longest + 1> byLength = [] {
        std::array<std::vector<Entry>, longest + 1> table;
        const auto add = [&table](const char* element, int kind) {
            const QLatin1String name(element);
            if (name.size() <= longest)
                table[size_t(name.size())].push_back({name, kind});
        };
        for (int type = 0; type < DItem::TypeCount; ++type) {
            if (type != DItem::Text) // text items come from character data only
                add(strItemType(DItem::Type(type)), type);
        }
        add("STYLES", StylesElement);
        add("STYLE", StyleElement);
        return table;
    }();
    if (name.isEmpty() || name.size() > longest)
        return UnknownElement;
    for (const Entry& entry : byLength[size_t(name.size())]) {
        if (entry.name.front() == name.front() && name == entry.name)
            return entry.kind;
    }
    return UnknownElement;
}

// Reads typed attribute values of one element and keeps the first error met.
class AttributeReader
{
public:
    AttributeReader(const char* element, const DAmlAttributes& attributes,
                    DStringPool<DString>* repeated = nullptr)
        : m_element(element), m_attributes(attributes), m_repeated(repeated)
    {
    }

    QString text(const char* name) const { return m_attributes.value(name); }
    DString utf8(const char* name) const
    {
        const char* raw = m_attributes.raw(name);
        return raw ? DString(std::string_view(raw)) : DString();
    }
    // A value that many elements share (a link's target), stored once for all of them.
    DString shared(const char* name) const
    {
        const char* raw = m_attributes.raw(name);
        if (!raw)
            return DString();
        return m_repeated ? m_repeated->get(raw) : DString(std::string_view(raw));
    }

    int integer(const char* name, int fallback)
    {
        const QString raw = m_attributes.value(name);
        if (raw.isNull())
            return fallback;
        bool ok = false;
        const int value = raw.trimmed().toInt(&ok);
        if (!ok)
            fail(name, raw, "is not a whole number");
        return ok ? value : fallback;
    }

    double number(const char* name)
    {
        const QString raw = m_attributes.value(name);
        if (raw.isNull())
            return 0;
        bool ok = false;
        const double value = raw.trimmed().toDouble(&ok);
        if (!ok)
            fail(name, raw, "is not a number");
        return ok ? value : 0;
    }

    bool boolean(const char* name)
    {
        const QString raw = m_attributes.value(name).trimmed().toLower();
        if (raw.isEmpty() || raw == QLatin1String("0") || raw == QLatin1String("false") ||
            raw == QLatin1String("no"))
            return false;
        if (raw == QLatin1String("1") || raw == QLatin1String("true") ||
            raw == QLatin1String("yes"))
            return true;
        fail(name, m_attributes.value(name), "is neither true nor false");
        return false;
    }

    DColor color(const char* name)
    {
        const QString raw = m_attributes.value(name);
        if (raw.isEmpty())
            return DColor();
        const DColor value = DColor::fromString(raw.trimmed());
        if (!value.isValid())
            fail(name, raw, "is not a colour");
        return value;
    }

    // Blank-separated fractions of a table's width.
    QList<double> fractions(const char* name)
    {
        QList<double> values;
        const QString raw = m_attributes.value(name);
        for (const QString& part : raw.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
            bool ok = false;
            const double value = part.toDouble(&ok);
            if (!ok || value < 0) {
                fail(name, raw, "is not a list of fractions");
                return {};
            }
            values.append(value);
        }
        return values;
    }

    const QString& error() const { return m_error; }

private:
    void fail(const char* name, const QString& raw, const char* problem)
    {
        if (m_error.isEmpty())
            m_error = QStringLiteral("attribute '%1' of %2: '%3' %4\n")
                          .arg(QLatin1String(name), QLatin1String(m_element), raw,
                               QLatin1String(problem));
    }

    const char* m_element;
    const DAmlAttributes& m_attributes;
    DStringPool<DString>* m_repeated;
    QString m_error;
};

template <class Item> std::unique_ptr<Item> withTarget(AttributeReader& in)
{
    auto item = std::make_unique<Item>();
    item->setTarget(in.shared("target"));
    return item;
}

template <class Entry> std::unique_ptr<Entry> entry(AttributeReader& in)
{
    auto item = withTarget<Entry>(in);
    item->setText(in.utf8("text"));
    return item;
}

// A new item of `kind` with the attributes the markup gives that kind.
DItemPtr createItem(DItem::Type kind, AttributeReader& in)
{
    switch (kind) {
    case DItem::Document: {
        auto item = std::make_unique<DDocument>();
        item->setTitle(in.text("title"));
        return item;
    }
    case DItem::Section:
        return std::make_unique<DSection>();
    case DItem::Title:
        return std::make_unique<DTitle>();
    case DItem::Header:
        return std::make_unique<DHeader>();
    case DItem::Footer:
        return std::make_unique<DFooter>();
    case DItem::PageBreak:
        return std::make_unique<DPageBreak>();
    case DItem::Paragraph:
        return std::make_unique<DParagraph>();
    case DItem::Image: {
        auto item = std::make_unique<DImage>();
        item->setSource(in.utf8("src"));
        item->setWidth(in.integer("width", 0));
        item->setHeight(in.integer("height", 0));
        return item;
    }
    case DItem::List: {
        auto item = std::make_unique<DList>();
        item->setOrdered(in.boolean("ordered"));
        return item;
    }
    case DItem::Link:
        return std::make_unique<DLink>(in.shared("target"));
    case DItem::Tag:
        return std::make_unique<DTag>(in.utf8("name"));
    case DItem::Table: {
        auto item = std::make_unique<DTable>(in.integer("code", 2));
        item->setWidths(in.fractions("widths"));
        return item;
    }
    case DItem::Row:
        return std::make_unique<DRow>();
    // In the markup, span="3" is a cell over three columns, as in HTML; the item counts the
    // columns it covers beyond its own. A span below one is one.
    case DItem::Cell:
        return std::make_unique<DCell>(qMax(1, in.integer("span", 1)) - 1);
    case DItem::CellText:
        return std::make_unique<DCellText>(in.utf8("text"), qMax(1, in.integer("span", 1)) - 1);
    case DItem::TagPointer:
        return withTarget<DTagPointer>(in);
    case DItem::PopupLink:
        return withTarget<DPopupLink>(in);
    case DItem::Popup:
        return withTarget<DPopup>(in);
    case DItem::Summary:
        return std::make_unique<DSummary>();
    case DItem::SEntry:
        return entry<DSEntry>(in);
    case DItem::Index:
        return std::make_unique<DIndex>();
    case DItem::IEntry:
        return entry<DIEntry>(in);
    case DItem::Graphic: {
        auto item = std::make_unique<DGraphic>();
        item->setTitle(in.text("title"));
        return item;
    }
    case DItem::Curve: {
        auto item = std::make_unique<DCurve>();
        item->setName(in.text("name"));
        item->setColor(in.color("color"));
        return item;
    }
    case DItem::Axis: {
        auto item = std::make_unique<DAxis>();
        item->setName(in.text("name"));
        item->setMinimum(in.number("min"));
        item->setMaximum(in.number("max"));
        return item;
    }
    case DItem::Point:
        return std::make_unique<DPoint>(in.number("x"), in.number("y"));
    case DItem::Text:
    case DItem::TypeCount:
        break;
    }
    return nullptr;
}

} // namespace

// One open element. `item` is null for the style elements; `lastChild` is the child of a
// container item linked last.
struct DAmlHandler::Frame
{
    DItem* item;
    DItem* lastChild;
    const char* name;
};

DAmlHandler::DAmlHandler() : m_targets(std::make_unique<DStringPool<DString>>()) {}
DAmlHandler::~DAmlHandler() = default;

bool DAmlHandler::startDocument()
{
    m_document.reset();
    m_frames.clear();
    m_openedItem = nullptr;
    m_error.clear();
    // Each reading starts from the given styles alone: local styles belong to one file.
    m_localStyles.clear();
    setStyles(m_styles);
    return true;
}

bool DAmlHandler::endDocument()
{
    m_targets->clear();
    return true;
}

bool DAmlHandler::startElement(const QString& qName, const DAmlAttributes& attributes)
{
    m_openedItem = nullptr;
    const int kind = elementKind(qName);
    switch (kind) {
    case UnknownElement:
        setErrorString(QStringLiteral("unknown element '%1'\n").arg(qName));
        return false;
    case StylesElement:
        m_frames.push_back({nullptr, nullptr, "STYLES"});
        return true;
    case StyleElement:
        if (m_localStylesEnabled && !defineStyle(attributes))
            return false;
        m_frames.push_back({nullptr, nullptr, "STYLE"});
        return true;
    default:
        return openItem(kind, attributes);
    }
}

bool DAmlHandler::openItem(int kind, const DAmlAttributes& attributes)
{
    const DItem::Type type = DItem::Type(kind);
    AttributeReader in(strItemType(type), attributes, m_targets.get());
    DItemPtr item = createItem(type, in);
    if (!in.error().isEmpty()) {
        setErrorString(in.error());
        return false;
    }
    if (item->isTagged())
        static_cast<DTaggedItemContainer*>(item.get())->setTag(in.utf8("tag"));
    if (const char* styleName = attributes.raw("style")) {
        if (const NamedStyle* style = m_styleByName.find(styleName)) {
            // Numbered when first used, so that styles no item uses stay out of the table.
            if (!style->number)
                style->number = DStyleTable::numberOf(style->style);
            item->setStyleNumber(style->number);
        }
    }

    DItem* opened = item.get();
    if (type == DItem::Document) {
        if (m_document) {
            setErrorString(QStringLiteral("a file holds only one DOCUMENT\n"));
            return false;
        }
        m_document.reset(static_cast<DDocument*>(item.release()));
    } else if (!linkItem(std::move(item))) {
        return false;
    }
    m_frames.push_back({opened, nullptr, strItemType(type)});
    m_openedItem = opened;
    return true;
}

bool DAmlHandler::linkItem(DItemPtr item)
{
    if (m_frames.empty()) {
        setErrorString(QStringLiteral("%1 must stand inside a DOCUMENT\n")
                           .arg(QLatin1String(strItemType(item->type()))));
        return false;
    }
    Frame& frame = m_frames.back();
    DItemContainer* container = frame.item ? frame.item->asContainer() : nullptr;
    if (!container) {
        setErrorString(
            QStringLiteral("%1 cannot contain %2\n")
                .arg(QLatin1String(frame.name), QLatin1String(strItemType(item->type()))));
        return false;
    }
    item->setParent(container);
    DItem* linked = item.get();
    if (frame.lastChild)
        frame.lastChild->setNext(std::move(item));
    else
        container->setFirstChild(std::move(item));
    frame.lastChild = linked;
    return true;
}

bool DAmlHandler::defineStyle(const DAmlAttributes& attributes)
{
    AttributeReader in("STYLE", attributes);
    const QString name = in.text("name");
    if (name.isEmpty()) {
        setErrorString(QStringLiteral("STYLE without a name\n"));
        return false;
    }
    for (const DStylePtr& style : std::as_const(m_localStyles)) {
        if (style->name() == name) {
            setErrorString(QStringLiteral("style '%1' is defined twice\n").arg(name));
            return false;
        }
    }
    DStylePtr style(new DStyle(name));
    style->setFamily(in.text("family"));
    style->setSize(in.integer("size", 0));
    style->setBold(in.boolean("bold"));
    style->setItalic(in.boolean("italic"));
    style->setUnderline(in.boolean("underline"));
    style->setColor(in.color("color"));
    style->setBackground(in.color("background"));
    style->setIndent(in.integer("indent", 0));
    style->setPre(in.boolean("pre"));
    const QString align = in.text("align");
    DStyle::Alignment alignment = DStyle::AlignLeft;
    if (!align.isEmpty() && !DStyle::alignFromName(align, &alignment)) {
        setErrorString(QStringLiteral("attribute 'align' of STYLE: '%1' is not one of left, "
                                      "center, right, justify\n")
                           .arg(align));
        return false;
    }
    style->setAlign(alignment);
    if (!in.error().isEmpty()) {
        setErrorString(in.error());
        return false;
    }
    m_localStyles.append(style);
    indexStyle(style);
    return true;
}

bool DAmlHandler::endElement(const QString& qName)
{
    if (m_frames.empty()) {
        setErrorString(QStringLiteral("unexpected end of %1\n").arg(qName));
        return false;
    }
    m_frames.pop_back();
    return true;
}

bool DAmlHandler::characters(const DString& text)
{
    const Frame* frame = m_frames.empty() ? nullptr : &m_frames.back();
    if (!frame || !frame->item || !frame->item->isContainer()) {
        setErrorString(
            frame
                ? QStringLiteral("text is not allowed inside %1\n").arg(QLatin1String(frame->name))
                : QStringLiteral("text must stand inside a DOCUMENT\n"));
        return false;
    }
    return linkItem(std::make_unique<DText>(text));
}

bool DAmlHandler::fatalError(const QString& message)
{
    setErrorString(message.endsWith(QLatin1Char('\n')) ? message : message + QLatin1Char('\n'));
    return false;
}

QString DAmlHandler::errorString() const
{
    return m_error;
}

void DAmlHandler::setErrorString(const QString& message)
{
    m_error = message;
}

void DAmlHandler::setStyles(const DStyleList& styles)
{
    m_styles = styles;
    m_styleByName.clear();
    for (const DStylePtr& style : styles)
        indexStyle(style);
    for (const DStylePtr& style : std::as_const(m_localStyles))
        indexStyle(style);
}

void DAmlHandler::indexStyle(const DStylePtr& style)
{
    m_styleByName.insert(style->name().toStdString(), NamedStyle{style, 0});
}

void DAmlHandler::setEnabledLocalStyle(bool on)
{
    m_localStylesEnabled = on;
}

QStringList DAmlHandler::localStyleNames() const
{
    QStringList names;
    for (const DStylePtr& style : m_localStyles)
        names.append(style->name());
    return names;
}

DItem* DAmlHandler::lastItem() const
{
    for (auto frame = m_frames.rbegin(); frame != m_frames.rend(); ++frame) {
        if (!frame->item)
            continue;
        return frame->item->isContainer() ? frame->lastChild : frame->item;
    }
    return m_document.get();
}

std::unique_ptr<DDocument> DAmlHandler::takeDocument()
{
    m_frames.clear();
    m_openedItem = nullptr;
    return std::move(m_document);
}
