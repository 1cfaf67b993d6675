#pragma once

#include <QString>
#include <QUtf8StringView>
#include <QtEndian>
#include <atomic>
#include <cstdint>
#include <string_view>

// An immutable text kept as UTF-8 in one word: up to seven bytes in the word itself (tags,
// numbers, short words), longer texts in a block shared by all copies. About half the memory of
// the UTF-16 a QString keeps for the mostly ASCII texts of result files, and no block at all for
// the many short ones. Converted when shown or written.
class DString
{
public:
    // Texts of up to this many bytes are kept in the DString itself, with no block.
    static constexpr std::size_t inlineCapacity = 7;

    DString() = default;
    explicit DString(std::string_view utf8);
    explicit DString(const QString& text);
    DString(const DString& other) noexcept : m_word(other.m_word) { retain(); }
    DString(DString&& other) noexcept : m_word(other.m_word) { other.m_word = 0; }
    DString& operator=(const DString& other) noexcept;
    DString& operator=(DString&& other) noexcept;
    DString& operator=(const QString& text) { return *this = DString(text); }
    ~DString() { release(); }

    // As with QString, a text never set is null; one set to "" is empty but not null.
    bool isNull() const { return m_word == 0; }
    bool isEmpty() const { return size() == 0; }
    // The length in UTF-8 bytes.
    qsizetype size() const
    {
        if (isInline())
            return qsizetype((m_word >> 1) & 7);
        return m_word ? qsizetype(block()->size) : 0;
    }
    // The length in UTF-16 code units, as the converted QString has it.
    qsizetype utf16Size() const;
    // The bytes; valid while this DString lives unchanged.
    std::string_view utf8() const
    {
        if (isInline())
            return std::string_view(reinterpret_cast<const char*>(&m_word) + 1, (m_word >> 1) & 7);
        return m_word ? std::string_view(block()->bytes(), block()->size) : std::string_view();
    }
    QUtf8StringView view() const
    {
        const std::string_view bytes = utf8();
        return QUtf8StringView(bytes.data(), qsizetype(bytes.size()));
    }
    QString toString() const;
    // Converted wherever a QString is wanted: to show, to write, to look up.
    operator QString() const { return toString(); }

    // Whether the text reads the same as `text`, without converting either.
    bool equals(QStringView text) const;
    bool equals(QLatin1String text) const;

    friend bool operator==(const DString& a, const DString& b)
    {
        return a.m_word == b.m_word || a.utf8() == b.utf8();
    }
    friend bool operator!=(const DString& a, const DString& b) { return !(a == b); }
    friend bool operator==(const DString& a, const QString& b) { return a.equals(b); }
    friend bool operator!=(const DString& a, const QString& b) { return !a.equals(b); }
    friend bool operator==(const QString& a, const DString& b) { return b.equals(a); }
    friend bool operator!=(const QString& a, const DString& b) { return !b.equals(a); }
    friend bool operator==(const DString& a, QLatin1String b) { return a.equals(b); }
    friend bool operator!=(const DString& a, QLatin1String b) { return !a.equals(b); }

private:
    // The word holds either 0 (null), a pointer to a Block (its low bit clear), or an inline
    // text: bit 0 set, bits 1-3 the length, bytes 1-7 the text (the word is little-endian).
    static_assert(Q_BYTE_ORDER == Q_LITTLE_ENDIAN, "inline texts are laid out little-endian");
    static_assert(sizeof(std::uintptr_t) == 8, "inline texts need a 64-bit word");
    struct Block
    {
        std::atomic<std::uint32_t> references;
        std::uint32_t size;
        char* bytes() { return reinterpret_cast<char*>(this + 1); }
    };

    bool isInline() const { return m_word & 1; }
    Block* block() const { return reinterpret_cast<Block*>(m_word); }
    void retain() const
    {
        if (m_word && !isInline())
            block()->references.fetch_add(1, std::memory_order_relaxed);
    }
    void release();

    std::uintptr_t m_word = 0;
};
