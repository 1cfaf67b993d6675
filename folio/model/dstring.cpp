#include "folio/model/dstring.h"

#include <QAnyStringView>
#include <cstring>
#include <limits>
#include <new>

DString::DString(std::string_view utf8)
{
    if (utf8.size() <= inlineCapacity) {
        m_word = 1 | (std::uintptr_t(utf8.size()) << 1);
        std::memcpy(reinterpret_cast<char*>(&m_word) + 1, utf8.data(), utf8.size());
        return;
    }
    if (utf8.size() > std::numeric_limits<std::uint32_t>::max())
        throw std::bad_alloc();
    void* memory = ::operator new(sizeof(Block) + utf8.size());
    Block* block = new (memory) Block{{1}, std::uint32_t(utf8.size())};
    std::memcpy(block->bytes(), utf8.data(), utf8.size());
    m_word = reinterpret_cast<std::uintptr_t>(block);
}

DString::DString(const QString& text)
{
    if (text.isNull())
        return;
    const QByteArray utf8 = text.toUtf8();
    *this = DString(std::string_view(utf8.constData(), std::size_t(utf8.size())));
}

DString& DString::operator=(const DString& other) noexcept
{
    const std::uintptr_t word = other.m_word; // `other` may be this very text
    other.retain();
    release();
    m_word = word;
    return *this;
}

DString& DString::operator=(DString&& other) noexcept
{
    if (this != &other) {
        release();
        m_word = other.m_word;
        other.m_word = 0;
    }
    return *this;
}

QString DString::toString() const
{
    if (isNull())
        return QString();
    const std::string_view bytes = utf8();
    return bytes.empty() ? QString(QLatin1String(""))
                         : QString::fromUtf8(bytes.data(), qsizetype(bytes.size()));
}

qsizetype DString::utf16Size() const
{
    // Each sequence is one unit but those of four bytes, which are two; continuations add none.
    qsizetype units = 0;
    for (const char byte : utf8()) {
        const auto c = static_cast<unsigned char>(byte);
        if ((c & 0xc0) != 0x80)
            units += c >= 0xf0 ? 2 : 1;
    }
    return units;
}

bool DString::equals(QStringView text) const
{
    return QAnyStringView::equal(view(), text);
}

bool DString::equals(QLatin1String text) const
{
    return QAnyStringView::equal(view(), text);
}

void DString::release()
{
    if (m_word && !isInline() && block()->references.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        Block* dead = block();
        dead->~Block();
        ::operator delete(dead);
    }
    m_word = 0;
}
