#pragma once

#include <QString>
#include <QUtf8StringView>
#include <atomic>
#include <cstdint>
#include <string_view>

// An immutable text kept as UTF-8 in one block shared by its copies: a pointer in the item that
// holds it, the bytes once however often the text is copied, and about half the memory of the
// UTF-16 a QString keeps for the mostly ASCII texts of result files. Converted when shown or
// written.
class DString
{
public:
    DString() = default;
    explicit DString(std::string_view utf8);
    explicit DString(const QString& text);
    DString(const DString& other) noexcept : m_block(other.m_block) { retain(); }
    DString(DString&& other) noexcept : m_block(other.m_block) { other.m_block = nullptr; }
    DString& operator=(const DString& other) noexcept;
    DString& operator=(DString&& other) noexcept;
    DString& operator=(const QString& text) { return *this = DString(text); }
    ~DString() { release(); }

    // As with QString, a text never set is null; one set to "" is empty but not null.
    bool isNull() const { return !m_block; }
    bool isEmpty() const { return !m_block || m_block->size == 0; }
    // The length in UTF-8 bytes.
    qsizetype size() const { return m_block ? qsizetype(m_block->size) : 0; }
    std::string_view utf8() const
    {
        return m_block ? std::string_view(m_block->bytes(), m_block->size) : std::string_view();
    }
    QUtf8StringView view() const { return QUtf8StringView(utf8().data(), size()); }
    QString toString() const;
    // Converted wherever a QString is wanted: to show, to write, to look up.
    operator QString() const { return toString(); }

    // Whether the text reads the same as `text`, without converting either.
    bool equals(QStringView text) const;
    bool equals(QLatin1String text) const;

    friend bool operator==(const DString& a, const DString& b)
    {
        return a.m_block == b.m_block || a.utf8() == b.utf8();
    }
    friend bool operator!=(const DString& a, const DString& b) { return !(a == b); }
    friend bool operator==(const DString& a, const QString& b) { return a.equals(b); }
    friend bool operator!=(const DString& a, const QString& b) { return !a.equals(b); }
    friend bool operator==(const QString& a, const DString& b) { return b.equals(a); }
    friend bool operator!=(const QString& a, const DString& b) { return !b.equals(a); }
    friend bool operator==(const DString& a, QLatin1String b) { return a.equals(b); }
    friend bool operator!=(const DString& a, QLatin1String b) { return !a.equals(b); }

private:
    struct Block
    {
        std::atomic<std::uint32_t> references;
        std::uint32_t size;
        char* bytes() { return reinterpret_cast<char*>(this + 1); }
    };

    void retain() const
    {
        if (m_block)
            m_block->references.fetch_add(1, std::memory_order_relaxed);
    }
    void release();

    static Block s_empty;
    Block* m_block = nullptr;
};
