#include "folio/model/dstring.h"

#include <QAnyStringView>
#include <cstring>
#include <limits>
#include <new>

// Shared by every empty text; its count starts so high that it never drops to zero.
DString::Block DString::s_empty{{1u << 31}, 0};

DString::DString(std::string_view utf8)
{
    if (utf8.empty()) {
        m_block = &s_empty;
        retain();
        return;
    }
    if (utf8.size() > std::numeric_limits<std::uint32_t>::max())
        throw std::bad_alloc();
    void* memory = ::operator new(sizeof(Block) + utf8.size());
    m_block = new (memory) Block{{1}, std::uint32_t(utf8.size())};
    std::memcpy(m_block->bytes(), utf8.data(), utf8.size());
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
    other.retain();
    release();
    m_block = other.m_block;
    return *this;
}

DString& DString::operator=(DString&& other) noexcept
{
    if (this != &other) {
        release();
        m_block = other.m_block;
        other.m_block = nullptr;
    }
    return *this;
}

QString DString::toString() const
{
    if (!m_block)
        return QString();
    return m_block->size ? QString::fromUtf8(m_block->bytes(), qsizetype(m_block->size))
                         : QString(QLatin1String(""));
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
    if (m_block && m_block->references.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        m_block->~Block();
        ::operator delete(m_block);
    }
    m_block = nullptr;
}
