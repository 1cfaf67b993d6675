#include "sdk/qaresfile.h"

#include "sdk/qasafefile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QXmlStreamReader>
#include <climits>

namespace {

const QString rootElement = QStringLiteral("resources");

// Whether every character of `text` may stand in an XML document.
bool fitsXml(const QString& text)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t c = text[i].unicode();
        if (QChar::isHighSurrogate(c)) {
            if (i + 1 < text.size() && QChar::isLowSurrogate(text[i + 1].unicode())) {
                ++i;
                continue;
            }
            return false;
        }
        if (QChar::isLowSurrogate(c) || c == 0xFFFE || c == 0xFFFF)
            return false;
        if (c < 0x20 && c != u'\t' && c != u'\n' && c != u'\r')
            return false;
    }
    return true;
}

// Strings XML cannot carry are kept as their UTF-16 code units, little-endian, in base64: exact
// for any string, lone surrogates included.
QString encodeBase64(const QString& text)
{
    QByteArray units;
    units.reserve(text.size() * 2);
    for (QChar c : text) {
        units.append(char(c.unicode() & 0xFF));
        units.append(char(c.unicode() >> 8));
    }
    return QString::fromLatin1(units.toBase64());
}

bool decodeBase64(const QString& encoded, QString* text)
{
    const auto decoded =
        QByteArray::fromBase64Encoding(encoded.toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded || decoded.decoded.size() % 2 != 0)
        return false;
    const QByteArray& units = decoded.decoded;
    text->clear();
    text->reserve(units.size() / 2);
    for (qsizetype i = 0; i < units.size(); i += 2)
        text->append(QChar(char16_t(uchar(units[i]) | uchar(units[i + 1]) << 8)));
    return true;
}

QString pathOf(const QStringList& groups, const QString& name)
{
    return (groups + QStringList(name)).join(QLatin1Char('/'));
}

// Writes the document text. Elements without children close at once ("<x .../>"); nested
// elements are indented by their depth, up to a limit, so that a deep tree stays linear in size.
class XmlWriter
{
public:
    XmlWriter() { m_text = QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"); }

    // Opens an element at `depth` (0 for the document element).
    void startElement(const QString& name, int depth)
    {
        closeStartTag();
        indent(depth);
        m_text += QLatin1Char('<') + name;
        m_open.push_back(name);
        m_startTagOpen = true;
    }

    void attribute(const char* name, const QString& value)
    {
        m_text += QLatin1Char(' ') + QLatin1String(name) + QStringLiteral("=\"");
        for (QChar c : value) {
            switch (c.unicode()) {
            case u'&':
                m_text += QStringLiteral("&amp;");
                break;
            case u'<':
                m_text += QStringLiteral("&lt;");
                break;
            case u'>':
                m_text += QStringLiteral("&gt;");
                break;
            case u'"':
                m_text += QStringLiteral("&quot;");
                break;
            // Written as references: a reader turns them into spaces otherwise.
            case u'\t':
                m_text += QStringLiteral("&#9;");
                break;
            case u'\n':
                m_text += QStringLiteral("&#10;");
                break;
            case u'\r':
                m_text += QStringLiteral("&#13;");
                break;
            default:
                m_text += c;
            }
        }
        m_text += QLatin1Char('"');
    }

    // Ends the innermost element, opened at `depth`.
    void endElement(int depth)
    {
        if (m_startTagOpen) {
            m_text += QStringLiteral("/>\n");
        } else {
            indent(depth);
            m_text += QStringLiteral("</") + m_open.back() + QStringLiteral(">\n");
        }
        m_startTagOpen = false;
        m_open.pop_back();
    }

    QByteArray bytes() const { return m_text.toUtf8(); }

private:
    static constexpr int maxIndent = 32;

    void indent(int depth) { m_text += QString(qMin(depth, maxIndent), QLatin1Char(' ')); }

    void closeStartTag()
    {
        if (m_startTagOpen)
            m_text += QStringLiteral(">\n");
        m_startTagOpen = false;
    }

    QString m_text;
    std::vector<QString> m_open;
    bool m_startTagOpen = false;
};

// The reading of one document: keeps the open groups and the first error.
class Reader
{
public:
    Reader(QIODevice* input, const QString& fileName) : m_xml(input), m_fileName(fileName) {}

    std::unique_ptr<QAResGroup> read(QString* error)
    {
        while (!m_xml.atEnd() && m_error.isEmpty()) {
            switch (m_xml.readNext()) {
            case QXmlStreamReader::StartElement:
                startElement();
                break;
            case QXmlStreamReader::EndElement:
                if (m_inValue)
                    m_inValue = false;
                else
                    m_open.pop_back();
                break;
            case QXmlStreamReader::Characters:
                if (!m_xml.isWhitespace())
                    fail(QStringLiteral("text is not allowed here"));
                break;
            default:
                break;
            }
        }
        if (m_error.isEmpty() && m_xml.hasError())
            fail(m_xml.errorString());
        if (m_error.isEmpty() && !m_root)
            fail(QStringLiteral("no <resources> element"));
        if (!m_error.isEmpty()) {
            if (error)
                *error = m_error;
            return nullptr;
        }
        return std::move(m_root);
    }

private:
    void fail(const QString& message)
    {
        if (m_error.isEmpty())
            m_error = QStringLiteral("%1:%2: %3")
                          .arg(m_fileName, QString::number(m_xml.lineNumber()), message);
    }

    void startElement()
    {
        const QString element = m_xml.name().toString();
        if (!m_root) {
            startRoot(element);
            return;
        }
        if (m_inValue) {
            fail(QStringLiteral("<%1> cannot stand inside a value").arg(element));
            return;
        }
        if (!m_xml.attributes().hasAttribute(QLatin1String("name"))) {
            fail(QStringLiteral("<%1> has no name attribute").arg(element));
            return;
        }
        const QString name = m_xml.attributes().value(QLatin1String("name")).toString();
        std::unique_ptr<QARes> res = createValue(element, name);
        if (!res)
            return;
        QARes* added = m_open.back()->append(std::move(res));
        if (QAResGroup* group = added->toResGroup())
            m_open.push_back(group);
        else
            m_inValue = true;
    }

    void startRoot(const QString& element)
    {
        if (element != rootElement) {
            fail(QStringLiteral("the document is <%1>, not a settings file (<resources>)")
                     .arg(element));
            return;
        }
        const QStringView raw = m_xml.attributes().value(QLatin1String("version"));
        bool ok = false;
        const int fileVersion = raw.toInt(&ok);
        if (!ok || fileVersion < 1) {
            fail(QStringLiteral("<resources> needs a version (1), not '%1'").arg(raw));
            return;
        }
        if (fileVersion > QAResFile::version) {
            fail(QStringLiteral("written in settings format %1, newer than this program reads (%2)")
                     .arg(fileVersion)
                     .arg(QAResFile::version));
            return;
        }
        m_root = std::make_unique<QAResGroup>();
        m_open.push_back(m_root.get());
    }

    std::unique_ptr<QARes> createValue(const QString& element, const QString& name)
    {
        if (element == QLatin1String("group"))
            return std::make_unique<QAResGroup>(name);
        if (element == QLatin1String("rgb")) {
            int parts[3];
            const char* const partNames[] = {"r", "g", "b"};
            for (int i = 0; i < 3; ++i) {
                if (!integer(element, name, partNames[i], 0, 255, &parts[i]))
                    return nullptr;
            }
            return std::make_unique<QAResRGB>(name, parts[0], parts[1], parts[2]);
        }
        if (element == QLatin1String("boolean")) {
            const QStringView raw = m_xml.attributes().value(QLatin1String("value"));
            if (raw == QLatin1String("true") || raw == QLatin1String("1"))
                return std::make_unique<QAResBoolean>(name, true);
            if (raw == QLatin1String("false") || raw == QLatin1String("0"))
                return std::make_unique<QAResBoolean>(name, false);
            fail(QStringLiteral("<boolean name=\"%1\">: value '%2' is neither true nor false")
                     .arg(name, raw));
            return nullptr;
        }
        if (element == QLatin1String("int")) {
            int value = 0;
            if (!integer(element, name, "value", INT_MIN, INT_MAX, &value))
                return nullptr;
            return std::make_unique<QAResInt>(name, value);
        }
        if (element == QLatin1String("string"))
            return string(name);
        fail(QStringLiteral("unknown element <%1>").arg(element));
        return nullptr;
    }

    bool integer(const QString& element, const QString& name, const char* attribute, int low,
                 int high, int* value)
    {
        const QStringView raw = m_xml.attributes().value(QLatin1String(attribute));
        bool ok = false;
        const qlonglong number = raw.trimmed().toLongLong(&ok);
        if (ok && number >= low && number <= high) {
            *value = int(number);
            return true;
        }
        fail(QStringLiteral("<%1 name=\"%2\">: %3 '%4' is not a whole number from %5 to %6")
                 .arg(element, name, QLatin1String(attribute), raw, QString::number(low),
                      QString::number(high)));
        return false;
    }

    std::unique_ptr<QARes> string(const QString& name)
    {
        const QXmlStreamAttributes attributes = m_xml.attributes();
        if (!attributes.hasAttribute(QLatin1String("value"))) {
            fail(QStringLiteral("<string name=\"%1\"> has no value").arg(name));
            return nullptr;
        }
        QString value = attributes.value(QLatin1String("value")).toString();
        const QStringView encoding = attributes.value(QLatin1String("encoding"));
        if (encoding == QLatin1String("base64")) {
            if (!decodeBase64(QString(value), &value)) {
                fail(QStringLiteral("<string name=\"%1\">: the value is not valid base64 text")
                         .arg(name));
                return nullptr;
            }
        } else if (!encoding.isEmpty()) {
            fail(QStringLiteral("<string name=\"%1\">: unknown encoding '%2'").arg(name, encoding));
            return nullptr;
        }
        return std::make_unique<QAResString>(name, value);
    }

    QXmlStreamReader m_xml;
    QString m_fileName;
    QString m_error;
    std::unique_ptr<QAResGroup> m_root;
    std::vector<QAResGroup*> m_open;
    bool m_inValue = false;
};

} // namespace

QByteArray QAResFile::toXml(const QAResGroup& root, QString* error)
{
    XmlWriter xml;
    xml.startElement(rootElement, 0);
    xml.attribute("version", QString::number(version));

    struct Level
    {
        const QAResGroup* group;
        int next;
    };
    std::vector<Level> levels{{&root, 0}};
    QStringList groupNames; // of the open groups below the root, for messages
    while (!levels.empty()) {
        Level& level = levels.back();
        if (level.next == level.group->count()) {
            xml.endElement(int(levels.size()) - 1);
            levels.pop_back();
            if (!groupNames.isEmpty())
                groupNames.removeLast();
            continue;
        }
        const QARes* res = level.group->child(level.next++);
        if (!fitsXml(res->name())) {
            if (error)
                *error = QStringLiteral("the name of setting '%1' holds characters that cannot "
                                        "be stored")
                             .arg(pathOf(groupNames, res->name()));
            return QByteArray();
        }
        const int depth = int(levels.size());
        xml.startElement(QARes::kindName(res->kind()), depth);
        xml.attribute("name", res->name());
        if (const QAResGroup* group = res->toResGroup()) {
            groupNames.append(res->name());
            levels.push_back({group, 0}); // `level` is not used past this point
            continue;
        }
        if (const QAResRGB* rgb = res->toResRGB()) {
            xml.attribute("r", QString::number(rgb->red()));
            xml.attribute("g", QString::number(rgb->green()));
            xml.attribute("b", QString::number(rgb->blue()));
        } else if (const QAResBoolean* boolean = res->toResBoolean()) {
            xml.attribute("value",
                          boolean->value() ? QStringLiteral("true") : QStringLiteral("false"));
        } else if (const QAResInt* integer = res->toResInt()) {
            xml.attribute("value", QString::number(integer->value()));
        } else if (const QAResString* string = res->toResString()) {
            if (fitsXml(string->value())) {
                xml.attribute("value", string->value());
            } else {
                xml.attribute("encoding", QStringLiteral("base64"));
                xml.attribute("value", encodeBase64(string->value()));
            }
        }
        xml.endElement(depth);
    }
    return xml.bytes();
}

bool QAResFile::write(const QAResGroup& root, const QString& path, QString* error)
{
    auto fail = [&](const QString& message) {
        if (error)
            *error = QStringLiteral("%1: %2").arg(path, message);
        return false;
    };
    QString problem;
    const QByteArray bytes = toXml(root, &problem);
    if (bytes.isEmpty())
        return fail(problem);
    const QString directory = QFileInfo(path).absolutePath();
    if (!QDir().mkpath(directory))
        return fail(QStringLiteral("cannot create the directory %1").arg(directory));
    QString reason;
    if (!QASafeWrite::writeFile(path, bytes, &reason)) {
        if (error)
            *error = reason;
        return false;
    }
    return true;
}

std::unique_ptr<QAResGroup> QAResFile::fromXml(QIODevice* input, const QString& fileName,
                                               QString* error)
{
    return Reader(input, fileName).read(error);
}

std::unique_ptr<QAResGroup> QAResFile::read(const QString& path, QString* error)
{
    QFile file(path);
    QString reason;
    if (!QASafeWrite::openRegularFile(file, &reason)) {
        if (error)
            *error = QStringLiteral("%1: cannot be read: %2").arg(path, reason);
        return nullptr;
    }
    return fromXml(&file, path, error);
}

QAResStore::QAResStore(const QString& path) : m_path(path), m_root(std::make_unique<QAResGroup>())
{
}

bool QAResStore::load()
{
    m_loadError.clear();
    m_fileIsBroken = false;
    m_root = std::make_unique<QAResGroup>();
    if (!QFileInfo::exists(m_path))
        return true;
    std::unique_ptr<QAResGroup> root = QAResFile::read(m_path, &m_loadError);
    if (!root) {
        m_fileIsBroken = true;
        return false;
    }
    m_root = std::move(root);
    return true;
}

void QAResStore::addProducer(QAResProducer* producer)
{
    if (producer && !m_producers.contains(producer))
        m_producers.append(producer);
}

void QAResStore::removeProducer(QAResProducer* producer)
{
    m_producers.removeAll(producer);
}

void QAResStore::replaceChild(std::unique_ptr<QARes> res)
{
    if (!res)
        return;
    int found = -1;
    for (int i = 0; i < m_root->count();) {
        if (m_root->child(i)->name() != res->name()) {
            ++i;
        } else if (found < 0) {
            found = i++;
        } else {
            m_root->take(i);
        }
    }
    if (found < 0) {
        m_root->append(std::move(res));
    } else {
        m_root->take(found);
        m_root->insert(found, std::move(res));
    }
}

QByteArray QAResStore::producedValues() const
{
    QAResGroup values;
    for (QAResProducer* producer : std::as_const(m_producers)) {
        if (std::unique_ptr<QARes> res = producer->toResources(nullptr))
            values.append(std::move(res));
    }
    return QAResFile::toXml(values, nullptr);
}

bool QAResStore::save(QString* error)
{
    for (QAResProducer* producer : std::as_const(m_producers))
        replaceChild(producer->toResources(nullptr));
    m_brokenCopy.clear();
    if (m_fileIsBroken && QFileInfo::exists(m_path)) {
        const QString copy = m_path + QStringLiteral(".broken");
        if (!QASafeWrite::copyFile(m_path, copy, nullptr)) {
            if (error)
                *error = QStringLiteral("%1: cannot keep a copy of the unreadable settings as %2; "
                                        "the file is left as it is")
                             .arg(m_path, copy);
            return false;
        }
        m_brokenCopy = copy;
    }
    if (!QAResFile::write(*m_root, m_path, error))
        return false;
    m_fileIsBroken = false;
    m_loadError.clear();
    return true;
}
